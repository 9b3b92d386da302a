#include <algorithm>

#include "KelvaneSDK/Functions/FastRows.h"
#include "KelvaneSDK/Functions/FunctionFamilies.h"
#include "KelvaneSDK/Functions/QuaternionMath.h"

namespace KelvaneSDK {

namespace {

using TimedOrientation = Timed<Orientation>;

Orientation interpolated(double t, TimedOrientation a, TimedOrientation b) {
    if (a.timestamp == b.timestamp) return b.value;
    if (t <= a.timestamp) return a.value;
    if (b.timestamp <= t) return b.value;
    return slerp(a.value, b.value, (t - a.timestamp) / (b.timestamp - a.timestamp));
}

Orientation onSpline(double t, Orientation before, TimedOrientation a, TimedOrientation b,
                     Orientation after) {
    if (a.timestamp == b.timestamp) return b.value;
    const double fraction = std::clamp((t - a.timestamp) / (b.timestamp - a.timestamp), 0.0, 1.0);
    return quaternionSpline(before, a.value, b.value, after, fraction);
}

}  // namespace

NodeFamily quaternionFunctions() {
    return functionFamily(
        "Quaternion",
        {
            pure(
                "Euler to quaternion", {{"angles", "about z, y and x in degrees"}},
                [](Vector angles) { return quaternionFromEuler(angles); },
                "the rotation about z, then y, then x by the vector's x, y and z, in degrees")
                .keywords("yaw pitch roll orientation"),
            pure(
                "Quaternion to Euler", {{"q"}}, [](Orientation q) { return eulerFromQuaternion(q); },
                "the angles about z, y and x, in degrees, that \"Euler to quaternion\" takes")
                .keywords("yaw pitch roll orientation"),
            pure(
                "Make quaternion", {{"angle", "in radians"}, {"axis", "of length 1"}},
                [](double angle, Vector axis) { return quaternionFromAxis(angle, axis); },
                "the rotation by the angle, in radians, about the axis, which should be of unit length"),
            pure(
                "Normalize quaternion", {{"q"}}, [](Orientation q) { return normalized(q); },
                "q at unit length; the identity when q is zero"),
            pure(
                "Quaternion interpolation", {{"time", "in seconds"}, {"a"}, {"b"}},
                [](double time, TimedOrientation a, TimedOrientation b) { return interpolated(time, a, b); },
                "the orientation at `time`, in seconds, on the shorter arc from a to b at their timestamps")
                .keywords("slerp"),
            pure(
                "Quaternion spline", {{"time", "in seconds"}, {"before"}, {"a"}, {"b"}, {"after"}},
                [](double time, Orientation before, TimedOrientation a, TimedOrientation b,
                   Orientation after) { return onSpline(time, before, a, b, after); },
                "the orientation at `time`, in seconds, on a smooth curve through all four, between the "
                "timestamps of a and b")
                .keywords("squad smooth"),
            pure(
                "Quaternion axis", {{"q"}}, [](Orientation q) { return rotationAxis(q); },
                "the axis of the rotation, of unit length"),
            pure(
                "Quaternion angle", {{"q"}}, [](Orientation q) { return rotationAngle(q); },
                "the angle of the rotation, in radians, from 0 to 2 pi"),
            pure(
                "Quaternion", {{"x"}, {"y"}, {"z"}, {"w"}},
                [](double x, double y, double z, double w) {
                    return normalized({x, y, z, w});
                },
                "the quaternion (x, y, z, w), w the real part, at unit length"),
            pure(
                "Rotation matrix to quaternion", {{"row 1"}, {"row 2"}, {"row 3"}},
                [](Vector row1, Vector row2, Vector row3) { return quaternionFromMatrix(row1, row2, row3); },
                "the rotation of a 3 by 3 matrix that turns column vectors, given by its rows"),
        });
}

}  // namespace KelvaneSDK
