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
        return printDiagnostic("ERROR: trying to set input stream '" +
                               std::string(descriptionString().value_or("")) + "' with wrong type!");
    }
    NodeState::of(*this).give(value, timestamp);
}

namespace {

/// An input stream of one value class, with its type's default value at first.
template <ValueClass slotClass>
class TypedInputStream final : public InputStreamNode {
public:
    void createOutput() override { makeOutput(slotClass, true); }
};

#define KELVANE_KIND(name, slotClass, description) \
    using name##InputStream = TypedInputStream<ValueClass::slotClass>;
KELVANE_VALUE_KINDS(KELVANE_KIND)
#undef KELVANE_KIND

}  // namespace

NodeFamily inputStreamNodes() {
#define KELVANE_KIND(name, slotClass, description) entry<name##InputStream>(description),
    return {NodeCategory::InputStream, "Input streams", {KELVANE_VALUE_KINDS(KELVANE_KIND)}};
#undef KELVANE_KIND
}

}  // namespace KelvaneSDK
