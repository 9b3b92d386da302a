#include "KelvaneSDK/Functions/FunctionFamilies.h"
#include "KelvaneSDK/Nodes/NodeState.h"
#include "KelvaneSDK/Values/ValueKinds.h"

namespace KelvaneSDK {

namespace {

/// The base of the constants: no inputs, and an output of a fixed type that is marked constant and always
/// holds a value. The value comes from the property "OutputValue" or from Kelvane::setConstant(), survives
/// resets, and reaches the connected slots at the start of every batch.
class ConstantNode : public Node {
public:
    void initialize() override;
    void setTypeString() override;
    void reset() override {}
    std::vector<Property> getProperties() const override;
};

/// A constant of one value class, with its type's default value at first.
template <ValueClass slotClass>
class TypedConstantNode final : public ConstantNode {
public:
    void createOutput() override {
        makeOutput(slotClass, true);
        NodeState::of(*this).given.isConstant = true;
    }
};

#define KELVANE_KIND(name, slotClass, description) \
    using name##ConstantNode = TypedConstantNode<ValueClass::slotClass>;
KELVANE_VALUE_KINDS(KELVANE_KIND)
#undef KELVANE_KIND

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

NodeFamily constantNodes() {
#define KELVANE_KIND(name, slotClass, description) entry<name##ConstantNode>(description),
    return {NodeCategory::Constant, "Constants", {KELVANE_VALUE_KINDS(KELVANE_KIND)}};
#undef KELVANE_KIND
}

}  // namespace KelvaneSDK
