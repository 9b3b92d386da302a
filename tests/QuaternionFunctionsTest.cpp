#include <cmath>

#include "support/FunctionTest.h"

namespace KelvaneSDK::testing_support {

namespace {

constexpr double half = 0.70710678118654752;  // the sine of 45 degrees
const Orientation identity{0, 0, 0, 1};

Orientation aboutZ(double degrees) {
    const double radians = degrees / 180 * 3.141592653589793;
    return {0, 0, std::sin(radians / 2), std::cos(radians / 2)};
}
Expectation about(const Value& value) { return approximately(value, 1e-15); }

// a arrives at 1 s, b at 3 s, the time after both.
std::vector<Step> interpolation(double time, Orientation a, Orientation b, const Expectation& q) {
    return {{{none, a, none}, none, 1.}, {{none, none, b}, none, 3.}, {{time, none, none}, q, 9.}};
}
// A uniform turn that passes 30 degrees at 1 s and 60 degrees at 3 s, its inner orientations.
std::vector<Step> spline(double time, const Expectation& q) {
    return {{{none, aboutZ(0), none, none, none}, none, 0.5},
            {{none, none, aboutZ(30), none, none}, none, 1.},
            {{none, none, none, aboutZ(60), none}, none, 3.},
            {{time, none, none, none, aboutZ(90)}, q, 4.}};
}

}  // namespace

const FunctionCase cases[] = {
    {"Euler to quaternion(Vector) > Orientation: EulerAnglesStartWithZ",
     {{{Vector{90, 0, 0}}, about(Orientation{0, 0, half, half})},
      {{Vector{0, 90, 0}}, about(Orientation{0, half, 0, half})},
      {{Vector{0, 0, 90}}, about(Orientation{half, 0, 0, half})}}},
    {"Quaternion to Euler(Orientation) > Vector: EulerAnglesInDegrees",
     {{{Orientation{0, 0, half, half}}, approximately(Vector{90, 0, 0}, 1e-13)}, {{Orientation{0, 1, 0, 1}}, Vector{0, nan, 0}}}},
    {"Make quaternion(Float, Vector) > Orientation: AnAxisIsTakenAsItIs",
     {{{3.141592653589793, Vector{0, 0, 2}}, Orientation{0, 0, 2, 6.123233995736766e-17}}}},
    {"Normalize quaternion(Orientation) > Orientation: NormalizesAndZeroIsTheIdentity",
     {{{Orientation{1, 2, 2, 4}}, Orientation{.2, .4, .4, .8}}, {{Orientation{0, 0, 0, 0}}, identity}}},
    {"Quaternion axis(Orientation) > Vector: TheAxisHasUnitLength",
     {{{Orientation{0, -4, 0, 1}}, Vector{0, -1, 0}}, {{identity}, Vector{nan, nan, nan}}}},
    {"Quaternion angle(Orientation) > Float: TheAngleIsInRadians",
     {{{identity}, 0.}, {{Orientation{0, 0, 1, 0}}, 3.141592653589793}, {{Orientation{0, 0, 3, -3}}, approximately(4.71238898038469, 1e-14)}}},
    {"Quaternion(Float, Float, Float, Float) > Orientation: FourNumbersAreNormalized",
     {{{1., 2., 2., 4.}, Orientation{.2, .4, .4, .8}}, {{0., 0., 0., 0.}, identity}}},
    {"Rotation matrix to quaternion(Vector, Vector, Vector) > Orientation: VectorsAreTheRowsOfAMatrix",
     {{{Vector{0, -1, 0}, Vector{1, 0, 0}, Vector{0, 0, 1}}, about(aboutZ(90))},
      {{Vector{1, 0, 0}, Vector{0, -1, 0}, Vector{0, 0, -1}}, Orientation{1, 0, 0, 0}},
      {{Vector{-1, 0, 0}, Vector{0, 1, 0}, Vector{0, 0, -1}}, Orientation{0, 1, 0, 0}},
      {{Vector{-1, 0, 0}, Vector{0, -1, 0}, Vector{0, 0, 1}}, Orientation{0, 0, 1, 0}},
      {{Vector{0, 0, 1}, Vector{1, 0, 0}, Vector{0, 1, 0}}, Orientation{.5, .5, .5, .5}}}},
    {"Quaternion interpolation(Float, Orientation, Orientation) > Orientation: TurnsWithTime",
     interpolation(2, identity, aboutZ(90), about(aboutZ(45)))},
    {"Quaternion interpolation(Float, Orientation, Orientation) > Orientation: TakesTheShorterArc",
     interpolation(1.5, identity, {0, 0, -half, -half}, about(aboutZ(22.5)))},
    {"Quaternion interpolation(Float, Orientation, Orientation) > Orientation: IsAItselfUpToItsTime",
     interpolation(1, {0, 0, 0, 2}, aboutZ(90), Orientation{0, 0, 0, 2})},
    {"Quaternion interpolation(Float, Orientation, Orientation) > Orientation: IsBItselfFromItsTime",
     interpolation(3, aboutZ(90), {0, 0, 0, 2}, Orientation{0, 0, 0, 2})},
    {"Quaternion interpolation(Float, Orientation, Orientation) > Orientation: IsBForEqualTimes", {{{0., identity, aboutZ(90)}, aboutZ(90)}}},
    {"Quaternion spline(Float, Orientation, Orientation, Orientation, Orientation) > Orientation: RunsBetweenTheInnerTimes",
     spline(1.5, about(aboutZ(37.5)))},
    {"Quaternion spline(Float, Orientation, Orientation, Orientation, Orientation) > Orientation: StaysAtABeforeItsTime",
     spline(-9, about(aboutZ(30)))},
    {"Quaternion spline(Float, Orientation, Orientation, Orientation, Orientation) > Orientation: StaysAtBAfterItsTime",
     spline(9, about(aboutZ(60)))},
    {"Quaternion spline(Float, Orientation, Orientation, Orientation, Orientation) > Orientation: IsBForEqualTimes",
     {{{0., aboutZ(0), aboutZ(10), aboutZ(40), aboutZ(90)}, aboutZ(40)}}},
};

INSTANTIATE_TEST_SUITE_P(Quaternion, FunctionTest, testing::ValuesIn(cases), caseName);

}  // namespace KelvaneSDK::testing_support
