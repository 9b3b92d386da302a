#include "KelvaneSDK/FunctionFamilies.h"
#include "KelvaneSDK/FunctionNode.h"

namespace KelvaneSDK {

namespace {

class AndFunction final : public FunctionNode {
public:
    void createInputs() override { addInputs<BooleanValue, BooleanValue>("a", "b"); }
    void createOutput() override { setOutput<BooleanValue>(); }
    void setTypeString() override { typeString = "And"; }
    void process() override {
        // Both are read, so that a wrong payload is never passed over.
        const bool a = boolean(0), b = boolean(1);
        finish(a && b);
    }
};

class OrFunction final : public FunctionNode {
public:
    void createInputs() override { addInputs<BooleanValue, BooleanValue>("a", "b"); }
    void createOutput() override { setOutput<BooleanValue>(); }
    void setTypeString() override { typeString = "Or"; }
    void process() override {
        const bool a = boolean(0), b = boolean(1);
        finish(a || b);
    }
};

class XorFunction final : public FunctionNode {
public:
    void createInputs() override { addInputs<BooleanValue, BooleanValue>("a", "b"); }
    void createOutput() override { setOutput<BooleanValue>(); }
    void setTypeString() override { typeString = "Xor"; }
    void process() override { finish(boolean(0) != boolean(1)); }
};

class NotFunction final : public FunctionNode {
public:
    void createInputs() override { addInputs<BooleanValue>("a"); }
    void createOutput() override { setOutput<BooleanValue>(); }
    void setTypeString() override { typeString = "Not"; }
    void process() override { finish(!boolean(0)); }
};

class ToggledFunction final : public FunctionNode {
public:
    void createInputs() override { addInputs<BooleanValue>("a"); }
    void createOutput() override { setOutput<BooleanValue>(); }
    void setTypeString() override { typeString = "Toggled"; }
    void process() override {
        const bool x = boolean(0);
        const bool toggled = x != previousValue.value_or(x);
        previousValue = x;
        finish(toggled);
    }
    void reset() override {
        previousValue.reset();
        FunctionNode::reset();
    }

private:
    std::optional<bool> previousValue;
};

}  // namespace

NodeFamily logicFunctions() {
    return functionFamily(
        "Logic",
        {
            entry<AndFunction>("true when a and b are both true"),
            entry<OrFunction>("true when a or b is true, or both"),
            entry<XorFunction>("true when exactly one of a and b is true"),
            entry<NotFunction>("true when a is false"),
            entry<ToggledFunction>("true when a differs from its previous value; false for the first value"),
        });
}

}  // namespace KelvaneSDK
