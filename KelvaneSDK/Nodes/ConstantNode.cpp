#include "KelvaneSDK/Functions/FunctionFamilies.h"
#include "KelvaneSDK/Nodes/NodeState.h"
#include "KelvaneSDK/Values/ValueKinds.h"

namespace KelvaneSDK {

namespace {

/// A constant of one value class, with its type's default value at first: no inputs, and an output of a fixed
/// type that is marked constant and always holds a value. The value comes from the property "OutputValue" or
/// from Kelvane::setConstant(), survives resets, and reaches the connected slots at the start of every batch.
class ConstantNode final : public Node {
public:
    explicit ConstantNode(ValueClass valueClass) : slotClass(valueClass) {}
    void initialize() override;
    void createOutput() override;
    void setTypeString() override;
    void reset() override {}
    std::vector<Property> getProperties() const override;

private:
    ValueClass slotClass;
};

void ConstantNode::createOutput() {
    makeOutput(slotClass, true);
    NodeState::of(*this).given.isConstant = true;
}

void ConstantNode::initialize() {
    createOutput();
    category = NodeCategory::Constant;
    setTypeString();
    setDescriptionString(typeString);
}

void ConstantNode::setTypeString() { typeString = output().typeString(); }

std::vector<Property> ConstantNode::getProperties() const {
    std::vector<Property> properties{{"Description", std::string(label())},
                                     {"OutputValue", output().stringValue()}};
    for (auto& property : Node::getProperties()) properties.push_back(std::move(property));
    return properties;
}

}  // namespace

NodeFamily constantNodes() { return valueNodes<ConstantNode>(NodeCategory::Constant, "Constants"); }

}  // namespace KelvaneSDK
