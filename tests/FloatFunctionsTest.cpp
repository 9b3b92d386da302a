#include <cmath>
#include <cstdint>
#include <limits>

#include "support/FunctionTest.h"

namespace KelvaneSDK::testing_support {

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double nan = std::numeric_limits<double>::quiet_NaN();

FunctionCase ofFloat(std::string name, std::string function, std::vector<Step> steps) {
    return {std::move(name), std::move(function), {"Float"}, "Float", std::move(steps)};
}

FunctionCase ofTwo(std::string name, std::string function, std::string first, std::vector<Step> steps) {
    return {std::move(name), std::move(function), {std::move(first), "Float"}, "Float", std::move(steps)};
}

FunctionCase interpolation(std::string name, std::vector<Step> steps) {
    return {std::move(name), "Float interpolation", {"Float", "Float", "Float"}, "Float", std::move(steps)};
}

FunctionCase rounding(std::string name, std::vector<Step> steps) {
    return {std::move(name), "Round", {"Float", "Integer"}, "Float", std::move(steps)};
}

FunctionCase toInteger(std::string name, std::vector<Step> steps) { return {std::move(name), "Integer", {"Float"}, "Integer", std::move(steps)}; }

}  // namespace

INSTANTIATE_TEST_SUITE_P(
    FloatSignal, FunctionTest,
    testing::Values(
        ofFloat("AbsoluteDropsTheSign", "Absolute", {{{-3.5}, 3.5}, {{-0.}, 0.}, {{-infinity}, infinity}}),
        ofTwo("PowerOfFloats", "Power", "Float", {{{2., 10.}, 1024.}, {{4., -0.5}, 0.5}, {{-8., 0.5}, nan}}),
        ofTwo("LimiterBoundsFromAbove", "Limiter", "Float", {{{1., 2.}, 1.}, {{3., 2.}, 2.}, {{-9., 2.}, -9.}, {{nan, 2.}, 2.}, {{1., nan}, nan}}),
        ofTwo("ModuloHasTheSignOfX", "Modulo", "Float", {{{-7., 3.}, -1.}, {{7., -3.}, 1.}, {{5.5, 2.}, 1.5}}),
        ofTwo("ModuloByZeroConsumesBothInputs", "Modulo", "Float", {{{5., 0.}, none}, {{none, 3.}, none}, {{7., none}, 1.}}),
        FunctionCase{"FloatOfAnInteger", "Float", {"Integer"}, "Float", {{{-3}, -3.}, {{std::int64_t{9007199254740993}}, 9007199254740992.}}}),
    caseName);

INSTANTIATE_TEST_SUITE_P(
    FloatInterpolation, FunctionTest,
    testing::Values(
        interpolation("BetweenTheTimestamps", {{{none, 10., none}, none, 1.}, {{none, none, 20.}, none, 3.}, {{1.5, none, none}, 12.5, 4.}}),
        // At the ends the line's formula would give NaN here and 0 there.
        interpolation("IsExactlyAUpToItsTimestamp", {{{none, 30., none}, none, 1.}, {{1., none, infinity}, 30., 3.}}),
        interpolation("IsExactlyBFromItsTimestampOn", {{{none, 1e16, none}, none, 1.}, {{3., none, 1.}, 1., 3.}}),
        interpolation("GivesBWhenTheTimestampsAreEqual", {{{-5., 10., 20.}, 20., 1.}}),
        interpolation("GivesAOnlyBeforeAnEarlierB",
                      {{{none, none, 20.}, none, 1.}, {{2., 10., none}, 20., 3.}, {{none, none, 40.}, none, 4.}, {{3.5, 30., none}, 30., 5.}})),
    caseName);

INSTANTIATE_TEST_SUITE_P(Round, FunctionTest,
                         testing::Values(rounding("HalvesAwayFromZero", {{{2.5, 0}, 3.}, {{-2.5, 0}, -3.}, {{1234.5, -2}, 1200.}, {{26., -1}, 30.}}),
                                         // Powers of ten that are off in the last place would show in these.
                                         rounding("TheFactorIsExact", {{{1.234, 3}, 1.234}, {{0.12345678901, 9}, 0.123456789}, {{1.005, 2}, 1.}}),
                                         rounding("DigitsBeyondTheRange",
                                                  {{{1.5, 400}, nan}, {{1.5, -400}, nan}, {{1e300, 20}, infinity}, {{1.5, INT64_MIN}, nan}})),
                         caseName);

INSTANTIATE_TEST_SUITE_P(Integer, FunctionTest,
                         testing::Values(toInteger("TruncatesTowardZero", {{{2.9}, 2}, {{-2.9}, -2}, {{-9223372036854775808.}, INT64_MIN}}),
                                         toInteger("StopsOnNaN", {{{nan}, stops("nan does not fit")}}),
                                         toInteger("StopsAboveTheRange", {{{9223372036854775808.}, stops("does not fit")}})),
                         caseName);

INSTANTIATE_TEST_SUITE_P(Averager, FunctionTest,
                         testing::Values(ofTwo("RestartsAfterFalse", "Averager", "Boolean",
                                               {{{true, 2.}, 2.}, {{true, 4.}, 3.}, {{false, 9.}, none}, {{true, 6.}, 6.}}),
                                         ofTwo("RestartsOnReset", "Averager", "Boolean", {{{true, 2.}, 2.}, resetStep, {{true, 6.}, 6.}})),
                         caseName);

INSTANTIATE_TEST_SUITE_P(
    MovingAverager, FunctionTest,
    testing::Values(ofTwo("AveragesTheLastValues", "Moving averager", "Integer",
                          {{{3, 1.}, none}, {{3, 2.}, none}, {{3, 3.}, 2.}, {{3, 4.}, 3.}, {{1, 9.}, 9.}, {{2, 5.}, 7.}}),
                    ofTwo("ALengthBelowOneLeavesTheBuffer", "Moving averager", "Integer", {{{2, 1.}, none}, {{0, 50.}, none}, {{2, 3.}, 2.}}),
                    ofTwo("KeepsTheSumStepByStep", "Moving averager", "Integer", {{{1, 1e16}, 1e16}, {{1, 1.}, 0.}}),
                    ofTwo("ResetEmptiesIt", "Moving averager", "Integer", {{{2, 1.}, none}, resetStep, {{2, 3.}, none}, {{2, 5.}, 4.}})),
    caseName);

INSTANTIATE_TEST_SUITE_P(
    Delay, FunctionTest,
    testing::Values(
        ofTwo("DelaysInTime", "Delay", "Float", {{{1., 0.}, none, 0.}, {{1., 10.}, none, 0.5}, {{1., 20.}, 0., 1.}, {{1., 30.}, 10., 1.5}}),
        ofTwo("InterpolatesAndDropsWhatLiesFurtherBack", "Delay", "Float",
              {{{1., 0.}, none, 0.}, {{1., 10.}, none, 0.5}, {{.25, 20.}, 15., 1.}, {{1.25, 30.}, none, 1.5}, {{1.25, 40.}, 15., 2.}}),
        ofTwo("KeepsTheFlagOfTheDelayUntilItEmits", "Delay", "Float",
              {{{1., 0.}, none, 0.}, {{none, 10.}, none, .5}, {{none, 20.}, 0., 1.}, {{none, 30.}, none, 2.}, {{1., none}, 20., 2.5}}),
        ofTwo("ADelayOfZeroNeedsAnEarlierSample", "Delay", "Float", {{{1., 5.}, none}, {{0., 7.}, 7.}}),
        ofTwo("StopsOnAFirstDelayOfZero", "Delay", "Float", {{{0., 5.}, stops("no earlier sample lies 0.0 seconds")}}),
        ofTwo("StopsOnANegativeDelay", "Delay", "Float", {{{1., 5.}, none}, {{-1., 5.}, stops("no earlier sample")}}),
        ofTwo("ResetEmptiesIt", "Delay", "Float", {{{1., 1.}, none, 0.}, resetStep, {{1., 3.}, none, 1.}, {{1., 4.}, 3., 2.}}),
        FunctionCase{"StampsWithTheCurrentTime", "Delay", {"Float", "Float"}, "Float", {{{1., 0.}, none, 3.}, {{1., 10.}, 5., 5.}}, "Timestamp"}),
    caseName);

INSTANTIATE_TEST_SUITE_P(
    Derivative, FunctionTest,
    testing::Values(ofFloat("SlopeSinceThePreviousValue", "Derivative", {{{1.}, none, 0.}, {{5.}, 2., 2.}, {{6.}, infinity, 2.}, {{4.}, -4., 2.5}}),
                    ofFloat("NaNIsEmittedAndThenStartsAnew", "Derivative", {{{1.}, none, 0.}, {{nan}, nan, 1.}, {{5.}, none, 2.}, {{8.}, 3., 3.}}),
                    ofFloat("ResetForgetsThePreviousValue", "Derivative", {{{1.}, none, 0.}, resetStep, {{5.}, none, 2.}, {{8.}, 3., 3.}})),
    caseName);

INSTANTIATE_TEST_SUITE_P(
    Integral, FunctionTest,
    testing::Values(
        // The step from 3 to -1 has the area 0.5 * (3 * 0.25 - 1 * 0.75) = 0: its c is 1 + 3 / -4, not 1 + 3
        // / 4.
        ofFloat("TakesTheSignChangeWithItsAbsoluteTime", "Integral", {{{1.}, none, 0.}, {{3.}, 2., 1.}, {{-1.}, 2., 2.}, {{-3.}, 0., 3.}}),
        ofFloat("ZeroIsASignOfItsOwn", "Integral", {{{0.}, none, 0.}, {{0.}, 0., 1.}, {{2.}, 0., 2.}, {{0.}, 1., 3.}}),
        ofFloat("ResetForgetsTheSum", "Integral", {{{1.}, none, 0.}, {{3.}, 2., 1.}, resetStep, {{1.}, none, 2.}, {{1.}, 1., 3.}})),
    caseName);

INSTANTIATE_TEST_SUITE_P(
    PeakDetector, FunctionTest,
    testing::Values(ofTwo("EmitsNewAndEqualPeaks", "Peak detector", "Float", {{{0., 1.}, 1.}, {{0., 3.}, 3.}, {{0., 2.}, none}, {{0., 3.}, 3.}}),
                    ofTwo("ALevelAboveThePeakRestarts", "Peak detector", "Float", {{{0., 5.}, 5.}, {{7., 6.}, none}, {{0., 4.}, 4.}, {{9., 9.}, 9.}}),
                    ofTwo("ValuesBelowZeroAreNoPeaks", "Peak detector", "Float", {{{-5., -1.}, none}, {{-5., 0.}, 0.}}),
                    ofTwo("ResetForgetsThePeak", "Peak detector", "Float", {{{0., 5.}, 5.}, resetStep, {{0., 4.}, 4.}})),
    caseName);

}  // namespace KelvaneSDK::testing_support
