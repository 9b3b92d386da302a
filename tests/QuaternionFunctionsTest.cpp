#include <cmath>

#include "support/FunctionTest.h"

namespace KelvaneSDK::testing_support {

namespace {

constexpr double notANumber = NAN;
constexpr double half = 0.70710678118654752;  // the sine of 45 degrees
const Orientation identity{0, 0, 0, 1};

Orientation aboutZ(double degrees) {
    const double radians = degrees / 180 * 3.141592653589793;
    return {0, 0, std::sin(radians / 2), std::cos(radians / 2)};
}
Expectation about(const Value& value) { return approximately(value, 1e-15); }

FunctionCase single(const std::string& name, const std::string& function, const std::string& inputType, const std::string& outputType,
                    const std::vector<Step>& steps) {
    return {name, function, {inputType}, outputType, steps};
}
// a arrives at 1 s, b at 3 s, the time after both.
FunctionCase interpolation(const std::string& name, double time, Orientation a, Orientation b, const Expectation& q) {
    return {name,
            "Quaternion interpolation",
            {"Float", "Orientation", "Orientation"},
            "Orientation",
            {{{none, a, none}, none, 1.}, {{none, none, b}, none, 3.}, {{time, none, none}, q, 9.}}};
}
// A uniform turn that passes 30 degrees at 1 s and 60 degrees at 3 s, its inner orientations.
FunctionCase spline(const std::string& name, double time, const Expectation& q) {
    return {name,
            "Quaternion spline",
            {"Float", "Orientation", "Orientation", "Orientation", "Orientation"},
            "Orientation",
            {{{none, aboutZ(0), none, none, none}, none, 0.5},
             {{none, none, aboutZ(30), none, none}, none, 1.},
             {{none, none, none, aboutZ(60), none}, none, 3.},
             {{time, none, none, none, aboutZ(90)}, q, 4.}}};
}

}  // namespace

INSTANTIATE_TEST_SUITE_P(QuaternionConversions, FunctionTest,
                         testing::Values(single("EulerAnglesStartWithZ", "Euler to quaternion", "Vector", "Orientation",
                                                {{{Vector{90, 0, 0}}, about(Orientation{0, 0, half, half})},
                                                 {{Vector{0, 90, 0}}, about(Orientation{0, half, 0, half})},
                                                 {{Vector{0, 0, 90}}, about(Orientation{half, 0, 0, half})}}),
                                         single("EulerAnglesInDegrees", "Quaternion to Euler", "Orientation", "Vector",
                                                {{{Orientation{0, 0, half, half}}, approximately(Vector{90, 0, 0}, 1e-13)},
                                                 {{Orientation{0, 1, 0, 1}}, Vector{0, notANumber, 0}}}),
                                         FunctionCase{"AnAxisIsTakenAsItIs",
                                                      "Make quaternion",
                                                      {"Float", "Vector"},
                                                      "Orientation",
                                                      {{{3.141592653589793, Vector{0, 0, 2}}, Orientation{0, 0, 2, 6.123233995736766e-17}}}},
                                         single("NormalizesAndZeroIsTheIdentity", "Normalize quaternion", "Orientation", "Orientation",
                                                {{{Orientation{1, 2, 2, 4}}, Orientation{.2, .4, .4, .8}}, {{Orientation{0, 0, 0, 0}}, identity}}),
                                         single("TheAxisHasUnitLength", "Quaternion axis", "Orientation", "Vector",
                                                {{{Orientation{0, -4, 0, 1}}, Vector{0, -1, 0}},
                                                 {{identity}, Vector{notANumber, notANumber, notANumber}}}),
                                         single("TheAngleIsInRadians", "Quaternion angle", "Orientation", "Float",
                                                {{{identity}, 0.},
                                                 {{Orientation{0, 0, 1, 0}}, 3.141592653589793},
                                                 {{Orientation{0, 0, 3, -3}}, approximately(4.71238898038469, 1e-14)}}),
                                         FunctionCase{"FourNumbersAreNormalized",
                                                      "Quaternion",
                                                      {"Float", "Float", "Float", "Float"},
                                                      "Orientation",
                                                      {{{1., 2., 2., 4.}, Orientation{.2, .4, .4, .8}}, {{0., 0., 0., 0.}, identity}}},
                                         FunctionCase{"VectorsAreTheRowsOfAMatrix",
                                                      "Rotation matrix to quaternion",
                                                      {"Vector", "Vector", "Vector"},
                                                      "Orientation",
                                                      {{{Vector{0, -1, 0}, Vector{1, 0, 0}, Vector{0, 0, 1}}, about(aboutZ(90))},
                                                       {{Vector{1, 0, 0}, Vector{0, -1, 0}, Vector{0, 0, -1}}, Orientation{1, 0, 0, 0}},
                                                       {{Vector{-1, 0, 0}, Vector{0, 1, 0}, Vector{0, 0, -1}}, Orientation{0, 1, 0, 0}},
                                                       {{Vector{-1, 0, 0}, Vector{0, -1, 0}, Vector{0, 0, 1}}, Orientation{0, 0, 1, 0}},
                                                       {{Vector{0, 0, 1}, Vector{1, 0, 0}, Vector{0, 1, 0}}, Orientation{.5, .5, .5, .5}}}}),
                         caseName);

INSTANTIATE_TEST_SUITE_P(QuaternionInterpolation, FunctionTest,
                         testing::Values(interpolation("TurnsWithTime", 2, identity, aboutZ(90), about(aboutZ(45))),
                                         interpolation("TakesTheShorterArc", 1.5, identity, {0, 0, -half, -half}, about(aboutZ(22.5))),
                                         interpolation("IsAItselfUpToItsTime", 1, {0, 0, 0, 2}, aboutZ(90), Orientation{0, 0, 0, 2}),
                                         interpolation("IsBItselfFromItsTime", 3, aboutZ(90), {0, 0, 0, 2}, Orientation{0, 0, 0, 2}),
                                         FunctionCase{"IsBForEqualTimes",
                                                      "Quaternion interpolation",
                                                      {"Float", "Orientation", "Orientation"},
                                                      "Orientation",
                                                      {{{0., identity, aboutZ(90)}, aboutZ(90)}}}),
                         caseName);

INSTANTIATE_TEST_SUITE_P(QuaternionSpline, FunctionTest,
                         testing::Values(spline("RunsBetweenTheInnerTimes", 1.5, about(aboutZ(37.5))),
                                         spline("StaysAtABeforeItsTime", -9, about(aboutZ(30))), spline("StaysAtBAfterItsTime", 9, about(aboutZ(60))),
                                         FunctionCase{"IsBForEqualTimes",
                                                      "Quaternion spline",
                                                      {"Float", "Orientation", "Orientation", "Orientation", "Orientation"},
                                                      "Orientation",
                                                      {{{0., aboutZ(0), aboutZ(10), aboutZ(40), aboutZ(90)}, aboutZ(40)}}}),
                         caseName);

}  // namespace KelvaneSDK::testing_support
