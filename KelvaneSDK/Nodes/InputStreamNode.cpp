#include "KelvaneSDK/Nodes/InputStreamNode.h"

#include "KelvaneSDK/Diagnostics.h"
#include "KelvaneSDK/Functions/FunctionFamilies.h"
#include "KelvaneSDK/Nodes/NodeState.h"
#include "KelvaneSDK/Values/ValueKinds.h"

namespace KelvaneSDK {

void InputStreamNode::initialize() {
    createOutput();
    category = NodeCategory::InputStream;
    setTypeString();
    setDescriptionString(typeString);
}

void InputStreamNode::setTypeString() { typeString = output().typeString(); }

void InputStreamNode::setProperty(std::string_view propertyString, std::string_view valueString) {
    if (propertyString == "Forwarding") {
        setForwarding(valueString == "true");
    } else {
        Node::setProperty(propertyString, valueString);
    }
}

std::vector<Property> InputStreamNode::getProperties() const {
    std::vector<Property> properties{{"Description", std::string(label())},
                                     {"Forwarding", isForwarding ? "true" : "false"}};
    for (auto& property : Node::getProperties()) properties.push_back(std::move(property));
    return properties;
}

void InputStreamNode::setForwarding(bool forwarding) {
    isForwarding = forwarding;
    NodeState::of(*this).noteVisibility();
}

void InputStreamNode::setValue(const Value& value, double timestamp) {
    for (auto* slot : connectedInputValues()) slot->checked = true;
    take(value, timestamp);
}

void InputStreamNode::take(const Value& value, double timestamp) {
    const Value* held = output().payload();
    if (held == nullptr) stop("the input stream holds no value");
    if (held->type() != value.type()) {
        return printDiagnostic(wrongTypeLine(descriptionString().value_or("")));
    }
    NodeState::of(*this).give(value, timestamp);
}

namespace {

/// An input stream of one value class, with its type's default value at first.
class TypedInputStream final : public InputStreamNode {
public:
    explicit TypedInputStream(ValueClass valueClass) : slotClass(valueClass) {}
    void createOutput() override { makeOutput(slotClass, true); }

private:
    ValueClass slotClass;
};

}  // namespace

NodeFamily inputStreamNodes() {
    return valueNodes<TypedInputStream>(NodeCategory::InputStream, "Input streams");
}

}  // namespace KelvaneSDK
