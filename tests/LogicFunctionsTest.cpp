#include "support/FunctionTest.h"

namespace KelvaneSDK::testing_support {

namespace {

FunctionCase ofTwo(std::string function, std::vector<Step> steps) {
    return {"TruthTableOf" + function, function, {"Boolean", "Boolean"}, "Boolean", std::move(steps)};
}

FunctionCase ofOne(std::string name, std::string function, std::vector<Step> steps) {
    return {std::move(name), std::move(function), {"Boolean"}, "Boolean", std::move(steps)};
}

}  // namespace

INSTANTIATE_TEST_SUITE_P(
    Logic, FunctionTest,
    testing::Values(ofTwo("And", {{{false, false}, false}, {{false, true}, false}, {{true, false}, false}, {{true, true}, true}}),
                    ofTwo("Or", {{{false, false}, false}, {{false, true}, true}, {{true, false}, true}, {{true, true}, true}}),
                    ofTwo("Xor", {{{false, false}, false}, {{false, true}, true}, {{true, false}, true}, {{true, true}, false}}),
                    ofOne("NotNegates", "Not", {{{false}, true}, {{true}, false}}),
                    ofOne("ToggledMarksChanges", "Toggled", {{{true}, false}, {{true}, false}, {{false}, true}, {{false}, false}, {{true}, true}}),
                    ofOne("ToggledForgetsOnReset", "Toggled", {{{true}, false}, resetStep, {{false}, false}, {{true}, true}})),
    caseName);

}  // namespace KelvaneSDK::testing_support
