#include "KelvaneSDK/ConstantNode.h"

namespace KelvaneSDK {

void ConstantNode::initialize() {
    createOutput();
    classString = classStringOf(NodeCategory::Constant);
    setTypeString();
    setDescriptionString(typeString);
}

void ConstantNode::setTypeString() { typeString = output().typeString(); }

std::vector<Property> ConstantNode::getProperties() const {
    std::vector<Property> properties{{"Description", label()}, {"OutputValue", output().stringValue()}};
    for (auto& property : Node::getProperties()) properties.push_back(std::move(property));
    return properties;
}

NodeFamily constantNodes() {
#define KELVANE_KIND(name, Slot, description) entry<name##ConstantNode>(description),
    return {NodeCategory::Constant, "Constants", {KELVANE_VALUE_KINDS(KELVANE_KIND)}};
#undef KELVANE_KIND
}

}  // namespace KelvaneSDK
