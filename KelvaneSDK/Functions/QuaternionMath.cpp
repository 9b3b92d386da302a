#include "KelvaneSDK/Functions/QuaternionMath.h"

#include <cmath>

#include "KelvaneSDK/Functions/ElementArithmetic.h"

namespace KelvaneSDK {

namespace {

constexpr double radiansPerDegree = 0.017453292519943295;
constexpr double degreesPerRadian = 57.29577951308232;

double length(const Vector& v) { return std::sqrt(v.x * v.x + v.y * v.y + v.z * v.z); }
double length(const Orientation& q) { return std::sqrt(squaredLength(q)); }
Vector vectorPart(const Orientation& q) { return {q.x, q.y, q.z}; }

// sin(x) / x, continued over zero.
double sinc(double x) { return x == 0 ? 1 : std::sin(x) / x; }

double dot(const Orientation& a, const Orientation& b) {
    return a.x * b.x + a.y * b.y + a.z * b.z + a.w * b.w;
}

// Of the two quaternions of q's rotation, the one nearer to `reference`.
Orientation inHemisphereOf(const Orientation& reference, const Orientation& q) {
    return dot(reference, q) < 0 ? -q : q;
}

// The control point beside q that gives the curves on both of its sides the same tangent there.
Orientation splineControl(const Orientation& previous, const Orientation& q, const Orientation& next) {
    const Orientation back = inverse(q);
    const Vector sum = quaternionLogarithm(back * inHemisphereOf(q, next)) +
                       quaternionLogarithm(back * inHemisphereOf(q, previous));
    return q * quaternionExponential(sum * -0.25);
}

}  // namespace

Orientation normalized(const Orientation& q) {
    const double m = squaredLength(q);
    if (m == 0) return {0, 0, 0, 1};
    return q * (1 / std::sqrt(m));
}

Orientation quaternionFromEuler(const Vector& angles) {
    const double ha = angles.x * radiansPerDegree * 0.5;
    const double hb = angles.y * radiansPerDegree * 0.5;
    const double hc = angles.z * radiansPerDegree * 0.5;
    const double sa = std::sin(ha), ca = std::cos(ha);
    const double sb = std::sin(hb), cb = std::cos(hb);
    const double sc = std::sin(hc), cc = std::cos(hc);
    return {ca * cb * sc - sa * sb * cc,  //
            ca * sb * cc + sa * cb * sc,  //
            sa * cb * cc - ca * sb * sc,  //
            ca * cb * cc + sa * sb * sc};
}

Vector eulerFromQuaternion(const Orientation& q) {
    const auto [x, y, z, w] = q;
    return {std::atan2(2 * (x * y + z * w), w * w + x * x - y * y - z * z) * degreesPerRadian,
            std::asin(-2 * (x * z - y * w)) * degreesPerRadian,
            std::atan2(2 * (y * z + x * w), w * w - x * x - y * y + z * z) * degreesPerRadian};
}

Orientation quaternionFromAxis(double angle, const Vector& axis) {
    const Vector v = axis * std::sin(angle / 2);
    return {v.x, v.y, v.z, std::cos(angle / 2)};
}

Vector rotationAxis(const Orientation& q) {
    const Vector v = vectorPart(q);
    return v * (1 / length(v));
}

double rotationAngle(const Orientation& q) { return 2 * std::atan2(length(vectorPart(q)), q.w); }

Orientation quaternionFromMatrix(const Vector& row0, const Vector& row1, const Vector& row2) {
    const auto [m00, m01, m02] = row0;
    const auto [m10, m11, m12] = row1;
    const auto [m20, m21, m22] = row2;
    const double trace = m00 + m11 + m22;
    if (trace > 0) {
        const double s = 2 * std::sqrt(trace + 1.0);
        return {(m21 - m12) / s, (m02 - m20) / s, (m10 - m01) / s, s * 0.25};
    }
    if (m00 >= m11 && m00 >= m22) {
        const double s = 2 * std::sqrt(1.0 + m00 - m11 - m22);
        return {s * 0.25, (m01 + m10) / s, (m02 + m20) / s, (m21 - m12) / s};
    }
    if (m11 >= m22) {
        const double s = 2 * std::sqrt(1.0 + m11 - m00 - m22);
        return {(m01 + m10) / s, s * 0.25, (m12 + m21) / s, (m02 - m20) / s};
    }
    const double s = 2 * std::sqrt(1.0 + m22 - m00 - m11);
    return {(m02 + m20) / s, (m12 + m21) / s, s * 0.25, (m10 - m01) / s};
}

Vector quaternionLogarithm(const Orientation& q) {
    const Vector v = vectorPart(q);
    const double sine = length(v);
    return sine == 0 ? Vector() : v * (std::atan2(sine, q.w) / sine);
}

Orientation quaternionExponential(const Vector& halfRotation) {
    const double angle = length(halfRotation);
    const Vector v = halfRotation * sinc(angle);
    return {v.x, v.y, v.z, std::cos(angle)};
}

Orientation slerp(const Orientation& a, const Orientation& b, double fraction) {
    const Orientation end = inHemisphereOf(a, b);
    const double angle = 2 * std::atan2(length(a - end), length(a + end));
    // sin(k angle) / sin(angle), in a form without a singular point: the angle is a quarter turn at most.
    const auto weight = [angle](double k) { return k * sinc(k * angle) / sinc(angle); };
    return normalized(a * weight(1 - fraction) + end * weight(fraction));
}

Orientation quaternionSpline(const Orientation& before, const Orientation& a, const Orientation& b,
                             const Orientation& after, double fraction) {
    return slerp(slerp(a, b, fraction),  //
                 slerp(splineControl(before, a, b), splineControl(a, b, after), fraction),
                 2 * fraction * (1 - fraction));
}

}  // namespace KelvaneSDK
