#include "KelvaneSDK/Functions/FastRows.h"
#include "KelvaneSDK/Functions/FunctionFamilies.h"

namespace KelvaneSDK {

namespace {

struct Toggled {
    bool operator()(bool a) {
        const bool toggled = a != previous.value_or(a);
        previous = a;
        return toggled;
    }
    std::optional<bool> previous;
};

}  // namespace

NodeFamily logicFunctions() {
    return functionFamily(
        "Logic",
        {
            pure(
                "And", {{"a"}, {"b"}}, [](bool a, bool b) { return a && b; },
                "true when a and b are both true"),
            pure(
                "Or", {{"a"}, {"b"}}, [](bool a, bool b) { return a || b; },
                "true when a or b is true, or both"),
            pure(
                "Xor", {{"a"}, {"b"}}, [](bool a, bool b) { return a != b; },
                "true when exactly one of a and b is true")
                .keywords("exclusive or different"),
            pure(
                "Not", {{"a"}}, [](bool a) { return !a; }, "true when a is false")
                .keywords("invert"),
            stateful<Toggled>("Toggled", {{"a"}},
                              "true when a differs from its previous value; false for the first value")
                .keywords("change edge flank"),
        });
}

}  // namespace KelvaneSDK
