#include "support/FunctionTest.h"

namespace KelvaneSDK::testing_support {

const FunctionCase cases[] = {
    {"Buffer(Integer, Float) > Float: DelaysByItsLength", {{{2, 10.}, none}, {{2, 20.}, none}, {{2, 30.}, 10.}, {{2, 40.}, 20.}}},
    {"Buffer(Integer, Float) > Float: AShrinkingLengthDropsTheRest", {{{2, 10.}, none}, {{2, 20.}, none}, {{0, 30.}, 30.}, {{1, 40.}, 30.}}},
    {"Buffer(Integer, Float) > Float: MinusOneEmptiesSilentlyAndLessStops",
     {{{-1, 10.}, none}, {{0, 20.}, 20.}, {{-2, 1.}, stops("drops more values")}}},
    {"Buffer(Integer, Float) > Float: HoldsManyValues",
     {{{6, 1.}, none},
      {{6, 2.}, none},
      {{6, 3.}, none},
      {{6, 4.}, none},
      {{6, 5.}, none},
      {{6, 6.}, none},
      {{6, 7.}, 1.},
      {{6, 8.}, 2.},
      {{9, 9.}, none},
      {{9, 10.}, none},
      {{9, 11.}, 2.},
      {{9, 12.}, 3.},
      {{1, 13.}, 12.}}},
    {"Buffer(Integer, String) > String: ResetEmptiesIt", {{{1, "a"}, none}, resetStep, {{1, "b"}, none}, {{1, "c"}, "b"}}},
    // The first batch's flags are gone, so that a value alone does not count.
    {"Buffer(Integer, Float) > Float: WaitingConsumesTheUpdates", {{{1, 10.}, none}, {{none, 20.}, none}, {{1, none}, 10.}}},
    {"Pass-through(Sequence) > Sequence: KeepsTheValue", {{{Sequence{{0, 1}, {1, 2}}}, Sequence{{0, 1}, {1, 2}}}, {{none}, none}}},
    {"Timestamp(String) > Float: IsThatOfTheInput", {{{"a"}, 2.5, 2.5}, {{none}, none, 3.}, {{"a"}, -5., -5.}}},
    {"Timestamp(String) > Timestamp > Float: TheOutputIsNeverStampedBelowZero", {{{"a"}, 2.5, 2.5}, {{"a"}, 0., -5.}}},
    {"Updated(Boolean) > Boolean: IsTrueWithEveryValue", {{{false}, true}, {{none}, none}, {{false}, true}}},
    {"Pass updated(Float, Float) > Float: PrefersTheFirst",
     {{{none, 1.}, 1.}, {{2., 3.}, 2.}, {{none, none}, none}, {{none, 4.}, 4.}, {{5., none}, 5.}}},
    {"Pass updated(Float, Float) > Timestamp > Float: TakesTheLatestStamp", {{{1., none}, 5., 5.}, {{none, 2.}, 5., 3.}, {{none, 2.}, 6., 6.}}},
    {"Gate(Boolean, Float) > Float: AClosedGateConsumesTheUpdates",
     {{{false, 1.}, none}, {{true, none}, none}, {{none, 2.}, 2.}, {{none, 3.}, none}}},
    {"Update counter(Vector) > Integer: StartsAgainAfterAReset", {{{Vector{}}, 1}, {{none}, none}, {{Vector{}}, 2}, resetStep, {{Vector{}}, 1}}},
    {"Trigger(Boolean, Float) > Float: FiresOnUpdatesToTrue",
     {{{true, none}, none}, {{none, 1.}, 1.}, {{none, 2.}, none}, {{true, none}, 2.}, {{false, 3.}, none}, {{none, 4.}, none}, {{true, 5.}, 5.}}},
    {"Switch(Boolean, Float, Float) > Float: FiresWithTheSelectedInputAlone",
     {{{false, none, 1.}, 1.},
      {{none, 2., none}, none},
      {{true, none, none}, 2.},
      {{false, none, none}, none},
      {{none, none, 3.}, 3.},
      {{true, none, 4.}, none},
      {{none, 5., none}, 5.}}},
    {"Switch(Boolean, Float, Float) > Timestamp > Float: TakesTheLatestStampOfAllThree",
     {{{none, none, 1.}, none, 9.}, {{true, 2., none}, 9., 4.}, {{none, 2., none}, 11., 11.}}},
};

INSTANTIATE_TEST_SUITE_P(Flow, FunctionTest, testing::ValuesIn(cases), caseName);

}  // namespace KelvaneSDK::testing_support
