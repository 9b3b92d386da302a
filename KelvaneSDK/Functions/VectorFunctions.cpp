#include <cmath>

#include "KelvaneSDK/Functions/ElementArithmetic.h"
#include "KelvaneSDK/Functions/FastRows.h"
#include "KelvaneSDK/Functions/FunctionFamilies.h"

namespace KelvaneSDK {

namespace {

double dotProduct(const Vector& a, const Vector& b) { return a.x * b.x + a.y * b.y + a.z * b.z; }

double lengthOf(const Vector& v) { return std::sqrt(dotProduct(v, v)); }

Vector crossProduct(const Vector& a, const Vector& b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

}  // namespace

NodeFamily vectorFunctions() {
    return functionFamily(
        "Vector",
        {
            pure(
                "Vector length", {{"v"}}, [](Vector v) { return lengthOf(v); }, "the length of v")
                .keywords("norm magnitude absolute"),
            pure(
                "Make vector", {{"x"}, {"y"}, {"z"}},
                [](double x, double y, double z) {
                    return Vector{x, y, z};
                },
                "the vector (x, y, z)"),
            // One reciprocal, multiplied into each component: a quotient each would change last digits.
            pure(
                "Normalize vector", {{"v"}}, [](Vector v) { return v * (1 / lengthOf(v)); },
                "v scaled to length 1; NaN for the zero vector")
                .keywords("unit"),
            pure(
                "Vector x-coordinate", {{"v"}}, [](Vector v) { return v.x; }, "the x-coordinate of v"),
            pure(
                "Vector y-coordinate", {{"v"}}, [](Vector v) { return v.y; }, "the y-coordinate of v"),
            pure(
                "Vector z-coordinate", {{"v"}}, [](Vector v) { return v.z; }, "the z-coordinate of v"),
            pure(
                "Vector dot product", {{"a"}, {"b"}}, [](Vector a, Vector b) { return dotProduct(a, b); },
                "the dot product of a and b")
                .keywords("scalar inner"),
            pure(
                "Vector cross product", {{"a"}, {"b"}}, [](Vector a, Vector b) { return crossProduct(a, b); },
                "the cross product of a and b, with a on the left"),
            pure(
                "Distance", {{"a"}, {"b"}}, [](Vector a, Vector b) { return lengthOf(a - b); },
                "the distance between points a and b"),
            pure(
                "Vector angle", {{"a", "of length 1"}, {"b", "of length 1"}},
                [](Vector a, Vector b) { return std::acos(dotProduct(a, b)); },
                "the angle between a and b in radians; both must have length 1"),
        });
}

}  // namespace KelvaneSDK
