#include "KelvaneSDK/Functions/QuaternionMath.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <random>
#include <vector>

#include "KelvaneSDK/Functions/ElementArithmetic.h"

namespace KelvaneSDK {

namespace {

constexpr double pi = std::numbers::pi;
constexpr double tolerance = 1e-13;

double dot(const Vector& a, const Vector& b) { return a.x * b.x + a.y * b.y + a.z * b.z; }
Vector cross(const Vector& a, const Vector& b) { return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x}; }
double distance(const Orientation& a, const Orientation& b) { return std::sqrt(squaredLength(a - b)); }
// Of rotations: q and -q are one.
double rotationDistance(const Orientation& a, const Orientation& b) { return std::min(distance(a, b), distance(a, -b)); }
Vector rotated(const Orientation& q, const Vector& v) {
    const Orientation turned = q * Orientation{v.x, v.y, v.z, 0} * inverse(q);
    return {turned.x, turned.y, turned.z};
}
void expectNear(const Vector& a, const Vector& b) {
    EXPECT_NEAR(0, std::sqrt(dot(a - b, a - b)), tolerance) << a.description() << " and " << b.description();
}

struct Turn {
    double angle;
    Vector axis;
    Orientation q = quaternionFromAxis(angle, axis);
};

// Turns by 0 to 2 pi about axes all over the sphere; with those near a half turn, every component leads in
// turn.
std::vector<Turn> turns() {
    std::vector<Turn> all;
    std::mt19937 random(1);
    const auto uniform = [&random](double from, double to) { return from + (to - from) * (static_cast<double>(random()) / 4294967296.0); };
    for (int i = 0; i < 300; ++i) {
        const double z = uniform(-1, 1), around = uniform(0, 2 * pi), r = std::sqrt(1 - z * z);
        const double angle = i % 3 == 0 ? pi - 1e-3 * uniform(-1, 1) : uniform(0.01, 2 * pi - 0.01);
        all.push_back({angle, {r * std::cos(around), r * std::sin(around), z}});
    }
    return all;
}
const std::vector<Vector> basis{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};

TEST(QuaternionMath, EveryFormOfARotationGivesTheSame) {
    for (const auto& [angle, axis, q] : turns()) {
        SCOPED_TRACE(q.description());
        for (const Vector& v : basis) {
            expectNear(rotated(q, v), v * std::cos(angle) + cross(axis, v) * std::sin(angle) + axis * (dot(axis, v) * (1 - std::cos(angle))));
        }
        expectNear(rotationAxis(q), axis);
        EXPECT_NEAR(rotationAngle(q), angle, tolerance);
        const Vector x = rotated(q, basis[0]), y = rotated(q, basis[1]), z = rotated(q, basis[2]);
        EXPECT_LT(rotationDistance(q, quaternionFromMatrix({x.x, y.x, z.x}, {x.y, y.y, z.y}, {x.z, y.z, z.z})), tolerance);
        expectNear(quaternionLogarithm(q), axis * (angle / 2));
        EXPECT_LT(distance(quaternionExponential(quaternionLogarithm(q)), q), tolerance);
    }
    EXPECT_EQ(quaternionLogarithm({0, 0, 0, 1}), Vector());
    EXPECT_EQ(quaternionExponential({}), Orientation());
}

TEST(QuaternionMath, EulerAnglesTurnAboutZThenYThenX) {
    for (double a = -170; a < 180; a += 35) {
        for (double b = -85; b < 90; b += 17) {
            for (double c = -165; c < 180; c += 55) {
                const Orientation q = quaternionFromEuler({a, b, c});
                const auto about = [](const Vector& axis, double degrees) { return quaternionFromAxis(degrees / 180 * pi, axis); };
                const Orientation product = about(basis[2], a) * about(basis[1], b) * about(basis[0], c);
                EXPECT_LT(distance(q, product), tolerance);
                expectNear(eulerFromQuaternion(q) * (pi / 180), Vector{a, b, c} * (pi / 180));
            }
        }
    }
}

TEST(QuaternionMath, SlerpTurnsAtConstantSpeedOnTheShorterArc) {
    const auto list = turns();
    for (std::size_t i = 1; i < list.size(); ++i) {
        // An unrelated pair, one that differs by a turn that gets ever smaller, and an equal one.
        const Orientation a = list[i].q;
        for (const Orientation& b : {list[i - 1].q, a * quaternionFromAxis(std::pow(0.9, i), list[i - 1].axis), a}) {
            const Orientation step = inverse(a) * b;
            const double whole = std::min(rotationAngle(step), 2 * pi - rotationAngle(step));
            EXPECT_LT(distance(slerp(a, b, 0), a), tolerance);
            for (const double f : {0.1, 0.5, 0.8, 1.}) {
                const Orientation q = slerp(a, b, f);
                EXPECT_NEAR(squaredLength(q), 1, tolerance);
                EXPECT_NEAR(rotationAngle(inverse(a) * q), f * whole, tolerance);
                EXPECT_LT(rotationDistance(q, slerp(b, a, 1 - f)), tolerance);
                EXPECT_LT(distance(q, slerp(a, -b, f)), tolerance);
            }
        }
    }
}

TEST(QuaternionMath, SplinesMeetTheirInnerOrientationsJoinWithoutAKinkAndReadTheSameBackwards) {
    const double h = 1e-5;
    const auto list = turns();
    for (std::size_t i = 5; i < list.size(); i += 5) {
        // A moderate turn apart, as a spline is made for.
        std::vector<Orientation> p{list[i].q};
        for (std::size_t k = 1; k < 5; ++k) p.push_back(p.back() * quaternionFromAxis(0.2 * static_cast<double>(k), list[i - k].axis));
        EXPECT_LT(distance(quaternionSpline(p[0], p[1], p[2], p[3], 0), p[1]), tolerance);
        EXPECT_LT(distance(quaternionSpline(p[0], p[1], p[2], p[3], 1), p[2]), tolerance);
        const Vector arriving = quaternionLogarithm(inverse(quaternionSpline(p[0], p[1], p[2], p[3], 1 - h)) * p[2]) * (1 / h);
        const Vector leaving = quaternionLogarithm(inverse(p[2]) * quaternionSpline(p[1], p[2], p[3], p[4], h)) * (1 / h);
        EXPECT_LT(dot(leaving - arriving, leaving - arriving), 1e-8);
        for (const double f : {0.1, 0.5, 0.7}) {
            const Orientation q = quaternionSpline(p[0], p[1], p[2], p[3], f);
            EXPECT_NEAR(squaredLength(q), 1, tolerance);
            EXPECT_LT(rotationDistance(q, quaternionSpline(p[3], p[2], p[1], p[0], 1 - f)), tolerance);
            EXPECT_LT(rotationDistance(q, quaternionSpline(-p[0], p[1], -p[2], -p[3], f)), tolerance);
        }
    }
}

}  // namespace

}  // namespace KelvaneSDK
