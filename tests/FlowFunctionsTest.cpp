#include "support/FunctionTest.h"

namespace KelvaneSDK::testing_support {

INSTANTIATE_TEST_SUITE_P(
    Buffer, FunctionTest,
    testing::Values(
        FunctionCase{"DelaysByItsLength",
                     "Buffer",
                     {"Integer", "Float"},
                     "Float",
                     {{{2, 10.}, none}, {{2, 20.}, none}, {{2, 30.}, 10.}, {{2, 40.}, 20.}}},
        FunctionCase{"AShrinkingLengthDropsTheRest",
                     "Buffer",
                     {"Integer", "Float"},
                     "Float",
                     {{{2, 10.}, none}, {{2, 20.}, none}, {{0, 30.}, 30.}, {{1, 40.}, 30.}}},
        FunctionCase{"MinusOneEmptiesAndIsSilent",
                     "Buffer",
                     {"Integer", "Float"},
                     "Float",
                     {{{-1, 10.}, none}, {{0, 20.}, 20.}}},
        FunctionCase{"StopsBelowMinusOne",
                     "Buffer",
                     {"Integer", "Float"},
                     "Float",
                     {{{-2, 1.}, stops("drops more values")}}}),
    caseName);

}  // namespace KelvaneSDK::testing_support
