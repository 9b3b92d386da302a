#include <numbers>

#include "support/FunctionTest.h"

namespace KelvaneSDK::testing_support {

// Mathematics libraries may differ in the last place.
static Expectation about(double value) { return approximately(value, 4e-16); }

const FunctionCase cases[] = {
    {"Cosine(Float) > Float: CosineOfRadians", {{{1.}, about(0.5403023058681398)}, {{infinity}, nan}}},
    {"Sine(Float) > Float: SineOfRadians", {{{1.}, about(0.8414709848078965)}, {{-0.}, -0.}}},
    {"Tangent(Float) > Float: TangentOfRadians", {{{1.}, about(1.5574077246549023)}}},
    {"Inverse cosine(Float) > Float: InverseCosineInRadians", {{{0.5}, about(1.0471975511965979)}, {{2.}, nan}}},
    {"Inverse sine(Float) > Float: InverseSineInRadians", {{{0.5}, about(0.5235987755982989)}, {{2.}, nan}}},
    {"Inverse tangent(Float) > Float: InverseTangentInRadians", {{{2.}, about(1.1071487177940904)}, {{-infinity}, about(-std::numbers::pi / 2)}}},
    // The last values differ in the last place when the ratio is formed first.
    {"Radians to degrees(Float) > Float: RadiansTimes180ByPi", {{{std::numbers::pi}, 180.}, {{2.75}, 157.5633936609764}, {{5.5}, 315.1267873219528}}},
    {"Degrees to radians(Float) > Float: DegreesTimesPiBy180", {{{180.}, std::numbers::pi}, {{4.75}, 0.08290313946973064}}},
};

INSTANTIATE_TEST_SUITE_P(Trigonometry, FunctionTest, testing::ValuesIn(cases), caseName);

}  // namespace KelvaneSDK::testing_support
