#include "support/FunctionTest.h"

namespace KelvaneSDK::testing_support {

const FunctionCase cases[] = {
    {"Absolute(Float) > Float: DropsTheSign", {{{-3.5}, 3.5}, {{-0.}, 0.}, {{-infinity}, infinity}}},
    {"Power(Float, Float) > Float: PowerOfFloats", {{{2., 10.}, 1024.}, {{4., -0.5}, 0.5}, {{-8., 0.5}, nan}}},
    {"Limiter(Float, Float) > Float: BoundsFromAbove", {{{1., 2.}, 1.}, {{3., 2.}, 2.}, {{-9., 2.}, -9.}, {{nan, 2.}, 2.}, {{1., nan}, nan}}},
    {"Modulo(Float, Float) > Float: HasTheSignOfX", {{{-7., 3.}, -1.}, {{7., -3.}, 1.}, {{5.5, 2.}, 1.5}}},
    {"Modulo(Float, Float) > Float: ByZeroConsumesBothInputs", {{{5., 0.}, none}, {{none, 3.}, none}, {{7., none}, 1.}}},
    {"Float(Integer) > Float: FloatOfAnInteger", {{{-3}, -3.}, {{std::int64_t{9007199254740993}}, 9007199254740992.}}},
    {"Float interpolation(Float, Float, Float) > Float: BetweenTheTimestamps",
     {{{none, 10., none}, none, 1.}, {{none, none, 20.}, none, 3.}, {{1.5, none, none}, 12.5, 4.}}},
    // At the ends the line's formula would give NaN here and 0 there.
    {"Float interpolation(Float, Float, Float) > Float: IsExactlyAUpToItsTimestamp",
     {{{none, 30., none}, none, 1.}, {{1., none, infinity}, 30., 3.}}},
    {"Float interpolation(Float, Float, Float) > Float: IsExactlyBFromItsTimestampOn", {{{none, 1e16, none}, none, 1.}, {{3., none, 1.}, 1., 3.}}},
    {"Float interpolation(Float, Float, Float) > Float: GivesBWhenTheTimestampsAreEqual", {{{-5., 10., 20.}, 20., 1.}}},
    {"Float interpolation(Float, Float, Float) > Float: GivesAOnlyBeforeAnEarlierB",
     {{{none, none, 20.}, none, 1.}, {{2., 10., none}, 20., 3.}, {{none, none, 40.}, none, 4.}, {{3.5, 30., none}, 30., 5.}}},
    {"Round(Float, Integer) > Float: HalvesAwayFromZero", {{{2.5, 0}, 3.}, {{-2.5, 0}, -3.}, {{1234.5, -2}, 1200.}, {{26., -1}, 30.}}},
    // Powers of ten that are off in the last place would show in these.
    {"Round(Float, Integer) > Float: TheFactorIsExact", {{{1.234, 3}, 1.234}, {{0.12345678901, 9}, 0.123456789}, {{1.005, 2}, 1.}}},
    {"Round(Float, Integer) > Float: DigitsBeyondTheRange",
     {{{1.5, 400}, nan}, {{1.5, -400}, nan}, {{1.6e23, -23}, 2.0000000000000002e+23}, {{1e300, 20}, infinity}, {{1.5, INT64_MIN}, nan}}},
    {"Integer(Float) > Integer: TruncatesTowardZeroOrStops",
     {{{2.9}, 2},
      {{-2.9}, -2},
      {{-9223372036854775808.}, INT64_MIN},
      {{nan}, stops("nan does not fit")},
      {{9223372036854775808.}, stops("does not fit")}}},
    {"Averager(Boolean, Float) > Float: RestartsAfterFalseAndOnReset",
     {{{true, 2.}, 2.}, {{true, 4.}, 3.}, {{false, 9.}, none}, {{true, 6.}, 6.}, resetStep, {{true, 8.}, 8.}}},
    {"Moving averager(Integer, Float) > Float: AveragesTheLastValues",
     {{{3, 1.}, none}, {{3, 2.}, none}, {{3, 3.}, 2.}, {{3, 4.}, 3.}, {{1, 9.}, 9.}, {{2, 5.}, 7.}}},
    {"Moving averager(Integer, Float) > Float: OnlyAResetEmptiesTheBuffer",
     {{{2, 1.}, none}, {{0, 50.}, none}, {{2, 3.}, 2.}, resetStep, {{2, 3.}, none}, {{2, 5.}, 4.}}},
    {"Moving averager(Integer, Float) > Float: KeepsTheSumStepByStep", {{{1, 1e16}, 1e16}, {{1, 1.}, 0.}}},
    {"Delay(Float, Float) > Float: DelaysInTime", {{{1., 0.}, none, 0.}, {{1., 10.}, none, 0.5}, {{1., 20.}, 0., 1.}, {{1., 30.}, 10., 1.5}}},
    {"Delay(Float, Float) > Float: InterpolatesAndDropsWhatLiesFurtherBack",
     {{{1., 0.}, none, 0.}, {{1., 10.}, none, 0.5}, {{.25, 20.}, 15., 1.}, {{1.25, 30.}, none, 1.5}, {{1.25, 40.}, 15., 2.}}},
    {"Delay(Float, Float) > Float: KeepsTheFlagOfTheDelayUntilItEmits",
     {{{1., 0.}, none, 0.}, {{none, 10.}, none, .5}, {{none, 20.}, 0., 1.}, {{none, 30.}, none, 2.}, {{1., none}, 20., 2.5}}},
    {"Delay(Float, Float) > Float: NeedsAnEarlierSample",
     {{{1., 5.}, none}, {{0., 7.}, 7.}, {{-1., 5.}, stops("no earlier sample")}, {{0., 5.}, stops("no earlier sample lies 0.0 seconds")}}},
    {"Delay(Float, Float) > Float: ResetEmptiesIt", {{{1., 1.}, none, 0.}, resetStep, {{1., 3.}, none, 1.}, {{1., 4.}, 3., 2.}}},
    {"Delay(Float, Float) > Timestamp > Float: StampsWithTheCurrentTime", {{{1., 0.}, none, 3.}, {{1., 10.}, 5., 5.}}},
    {"Derivative(Float) > Float: SlopeSinceThePreviousValue", {{{1.}, none, 0.}, {{5.}, 2., 2.}, {{6.}, infinity, 2.}, {{4.}, -4., 2.5}}},
    {"Derivative(Float) > Float: NaNIsEmittedAndThenStartsAnew", {{{1.}, none, 0.}, {{nan}, nan, 1.}, {{5.}, none, 2.}, {{8.}, 3., 3.}}},
    {"Derivative(Float) > Float: ResetForgetsThePreviousValue", {{{1.}, none, 0.}, resetStep, {{5.}, none, 2.}, {{8.}, 3., 3.}}},
    // The step from 3 to -1 has the area 0.5 * (3 * 0.25 - 1 * 0.75) = 0: its c is 1 + 3 / -4, not 1 + 3 / 4.
    {"Integral(Float) > Float: TakesTheSignChangeWithItsAbsoluteTime", {{{1.}, none, 0.}, {{3.}, 2., 1.}, {{-1.}, 2., 2.}, {{-3.}, 0., 3.}}},
    {"Integral(Float) > Float: ZeroIsASignOfItsOwn", {{{0.}, none, 0.}, {{0.}, 0., 1.}, {{2.}, 0., 2.}, {{0.}, 1., 3.}}},
    {"Integral(Float) > Float: ResetForgetsTheSum", {{{1.}, none, 0.}, {{3.}, 2., 1.}, resetStep, {{1.}, none, 2.}, {{1.}, 1., 3.}}},
    {"Peak detector(Float, Float) > Float: EmitsNewAndEqualPeaks", {{{0., 1.}, 1.}, {{0., 3.}, 3.}, {{0., 2.}, none}, {{0., 3.}, 3.}}},
    {"Peak detector(Float, Float) > Float: ALevelAboveThePeakRestarts", {{{0., 5.}, 5.}, {{7., 6.}, none}, {{0., 4.}, 4.}, {{9., 9.}, 9.}}},
    {"Peak detector(Float, Float) > Float: StartsAtZeroAndAfterAReset",
     {{{-5., -1.}, none}, {{-5., 0.}, 0.}, resetStep, {{0., 5.}, 5.}, resetStep, {{0., 4.}, 4.}}},
};

INSTANTIATE_TEST_SUITE_P(Float, FunctionTest, testing::ValuesIn(cases), caseName);

}  // namespace KelvaneSDK::testing_support
