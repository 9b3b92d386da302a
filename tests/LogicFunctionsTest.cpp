#include "support/FunctionTest.h"

namespace KelvaneSDK::testing_support {

const FunctionCase cases[] = {
    {"And(Boolean, Boolean) > Boolean: TruthTable", {{{false, false}, false}, {{false, true}, false}, {{true, false}, false}, {{true, true}, true}}},
    {"Or(Boolean, Boolean) > Boolean: TruthTable", {{{false, false}, false}, {{false, true}, true}, {{true, false}, true}, {{true, true}, true}}},
    {"Xor(Boolean, Boolean) > Boolean: TruthTable", {{{false, false}, false}, {{false, true}, true}, {{true, false}, true}, {{true, true}, false}}},
    {"Not(Boolean) > Boolean: Negates", {{{false}, true}, {{true}, false}}},
    {"Toggled(Boolean) > Boolean: MarksChanges", {{{true}, false}, {{true}, false}, {{false}, true}, {{false}, false}, {{true}, true}}},
    {"Toggled(Boolean) > Boolean: ForgetsOnReset", {{{true}, false}, resetStep, {{false}, false}, {{true}, true}}},
};

INSTANTIATE_TEST_SUITE_P(Logic, FunctionTest, testing::ValuesIn(cases), caseName);

}  // namespace KelvaneSDK::testing_support
