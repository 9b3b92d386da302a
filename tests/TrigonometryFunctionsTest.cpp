#include <limits>
#include <numbers>

#include "support/FunctionTest.h"

namespace KelvaneSDK::testing_support {

namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

FunctionCase ofFloat(std::string name, std::string function, std::vector<Step> steps) {
    return {std::move(name), std::move(function), {"Float"}, "Float", std::move(steps)};
}

// Mathematics libraries may differ in the last place.
Expectation about(double value) { return approximately(value, 4e-16); }

}  // namespace

INSTANTIATE_TEST_SUITE_P(Trigonometry, FunctionTest,
                         testing::Values(ofFloat("CosineOfRadians", "Cosine", {{{1.}, about(0.5403023058681398)}, {{infinity}, nan}}),
                                         ofFloat("SineOfRadians", "Sine", {{{1.}, about(0.8414709848078965)}, {{-0.}, -0.}}),
                                         ofFloat("TangentOfRadians", "Tangent", {{{1.}, about(1.5574077246549023)}}),
                                         ofFloat("InverseCosineInRadians", "Inverse cosine", {{{0.5}, about(1.0471975511965979)}, {{2.}, nan}}),
                                         ofFloat("InverseSineInRadians", "Inverse sine", {{{0.5}, about(0.5235987755982989)}, {{2.}, nan}}),
                                         ofFloat("InverseTangentInRadians", "Inverse tangent",
                                                 {{{2.}, about(1.1071487177940904)}, {{-infinity}, about(-std::numbers::pi / 2)}}),
                                         // The last values differ in the last place when the ratio is formed first.
                                         ofFloat("RadiansTimes180ByPi", "Radians to degrees",
                                                 {{{std::numbers::pi}, 180.}, {{2.75}, 157.5633936609764}, {{5.5}, 315.1267873219528}}),
                                         ofFloat("DegreesTimesPiBy180", "Degrees to radians",
                                                 {{{180.}, std::numbers::pi}, {{4.75}, 0.08290313946973064}})),
                         caseName);

}  // namespace KelvaneSDK::testing_support
