#include "support/FunctionTest.h"

namespace KelvaneSDK::testing_support {

INSTANTIATE_TEST_SUITE_P(
    Buffer, FunctionTest,
    testing::Values(
        FunctionCase{
            "DelaysByItsLength", "Buffer", {"Integer", "Float"}, "Float", {{{2, 10.}, none}, {{2, 20.}, none}, {{2, 30.}, 10.}, {{2, 40.}, 20.}}},
        FunctionCase{"AShrinkingLengthDropsTheRest",
                     "Buffer",
                     {"Integer", "Float"},
                     "Float",
                     {{{2, 10.}, none}, {{2, 20.}, none}, {{0, 30.}, 30.}, {{1, 40.}, 30.}}},
        FunctionCase{"MinusOneEmptiesAndIsSilent", "Buffer", {"Integer", "Float"}, "Float", {{{-1, 10.}, none}, {{0, 20.}, 20.}}},
        FunctionCase{"StopsBelowMinusOne", "Buffer", {"Integer", "Float"}, "Float", {{{-2, 1.}, stops("drops more values")}}}),
    caseName);

INSTANTIATE_TEST_SUITE_P(
    BufferState, FunctionTest,
    testing::Values(
        FunctionCase{"ResetEmptiesIt", "Buffer", {"Integer", "String"}, "String", {{{1, "a"}, none}, resetStep, {{1, "b"}, none}, {{1, "c"}, "b"}}},
        // The first batch's flags are gone, so that a value alone does not count.
        FunctionCase{
            "WaitingConsumesTheUpdates", "Buffer", {"Integer", "Float"}, "Float", {{{1, 10.}, none}, {{none, 20.}, none}, {{1, none}, 10.}}}),
    caseName);

INSTANTIATE_TEST_SUITE_P(
    Flow, FunctionTest,
    testing::Values(
        FunctionCase{"PassThroughKeepsTheValue",
                     "Pass-through",
                     {"Sequence"},
                     "Sequence",
                     {{{Sequence{{0, 1}, {1, 2}}}, Sequence{{0, 1}, {1, 2}}}, {{none}, none}}},
        FunctionCase{"TimestampIsThatOfTheInput", "Timestamp", {"String"}, "Float", {{{"a"}, 2.5, 2.5}, {{none}, none, 3.}, {{"a"}, -5., -5.}}},
        FunctionCase{"TheOutputIsNeverStampedBelowZero", "Timestamp", {"String"}, "Float", {{{"a"}, 2.5, 2.5}, {{"a"}, 0., -5.}}, "Timestamp"},
        FunctionCase{"UpdatedIsTrueWithEveryValue", "Updated", {"Boolean"}, "Boolean", {{{false}, true}, {{none}, none}, {{false}, true}}},
        FunctionCase{"PassUpdatedPrefersTheFirst",
                     "Pass updated",
                     {"Float", "Float"},
                     "Float",
                     {{{none, 1.}, 1.}, {{2., 3.}, 2.}, {{none, none}, none}, {{none, 4.}, 4.}, {{5., none}, 5.}}},
        FunctionCase{"PassUpdatedTakesTheLatestStamp",
                     "Pass updated",
                     {"Float", "Float"},
                     "Float",
                     {{{1., none}, 5., 5.}, {{none, 2.}, 5., 3.}, {{none, 2.}, 6., 6.}},
                     "Timestamp"},
        FunctionCase{"AClosedGateConsumesTheUpdates",
                     "Gate",
                     {"Boolean", "Float"},
                     "Float",
                     {{{false, 1.}, none}, {{true, none}, none}, {{none, 2.}, 2.}, {{none, 3.}, none}}},
        FunctionCase{"UpdateCounterStartsAgainAfterAReset",
                     "Update counter",
                     {"Vector"},
                     "Integer",
                     {{{Vector{}}, 1}, {{none}, none}, {{Vector{}}, 2}, resetStep, {{Vector{}}, 1}}},
        FunctionCase{"TriggerFiresOnUpdatesToTrue",
                     "Trigger",
                     {"Boolean", "Float"},
                     "Float",
                     {{{true, none}, none},
                      {{none, 1.}, 1.},
                      {{none, 2.}, none},
                      {{true, none}, 2.},
                      {{false, 3.}, none},
                      {{none, 4.}, none},
                      {{true, 5.}, 5.}}},
        FunctionCase{"SwitchFiresWithTheSelectedInputAlone",
                     "Switch",
                     {"Boolean", "Float", "Float"},
                     "Float",
                     {{{false, none, 1.}, 1.},
                      {{none, 2., none}, none},
                      {{true, none, none}, 2.},
                      {{false, none, none}, none},
                      {{none, none, 3.}, 3.},
                      {{true, none, 4.}, none},
                      {{none, 5., none}, 5.}}},
        FunctionCase{"SwitchTakesTheLatestStampOfAllThree",
                     "Switch",
                     {"Boolean", "Float", "Float"},
                     "Float",
                     {{{none, none, 1.}, none, 9.}, {{true, 2., none}, 9., 4.}, {{none, 2., none}, 11., 11.}},
                     "Timestamp"}),
    caseName);

}  // namespace KelvaneSDK::testing_support
