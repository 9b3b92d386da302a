#include "KelvaneSDK/Nodes/VariableOutputNode.h"

#include "KelvaneSDK/Diagnostics.h"
#include "KelvaneSDK/Functions/FunctionFamilies.h"
#include "KelvaneSDK/Nodes/NodeState.h"
#include "KelvaneSDK/Values/ValueKinds.h"

namespace KelvaneSDK {

void VariableOutputNode::initialize() {
    createInputs();
    createOutput();
    category = NodeCategory::VariableOutput;
    setTypeString();
    setDescriptionString(typeString);
}

const TimestampedVariable& VariableOutputNode::input() const {
    if (inputValues().empty()) stop("the variable output has no input slot");
    return *inputValues().front();
}

void VariableOutputNode::setTypeString() { typeString = input().typeString(); }

void VariableOutputNode::connectOutput(TimestampedVariable&) {
    printDiagnostic("ERROR: cannot connect to the output of a Variable Output node!");
}

void VariableOutputNode::setProperty(std::string_view propertyString, std::string_view valueString) {
    if (propertyString == "Hidden") {
        setHidden(valueString == "true");
    } else {
        Node::setProperty(propertyString, valueString);
    }
}

std::vector<Property> VariableOutputNode::getProperties() const {
    std::vector<Property> properties{{"Description", std::string(label())},
                                     {"Hidden", isHidden ? "true" : "false"}};
    for (auto& property : Node::getProperties()) properties.push_back(std::move(property));
    return properties;
}

void VariableOutputNode::setHidden(bool hidden) {
    isHidden = hidden;
    NodeState::of(*this).noteVisibility();
}

void VariableOutputNode::passOn(ValueType admitted) {
    const Value* brought = input().payload();
    if (brought == nullptr) stop("a variable output was evaluated without a value");
    consumeInputs();
    if (brought->type() == admitted) {
        NodeState::of(*this).give(*brought, latestInputTimestamp());
    } else {
        output().clearValue();
    }
}

namespace {

/// A variable output of one value class.
template <ValueClass slotClass>
class TypedVariableOutputNode final : public VariableOutputNode {
public:
    void createInputs() override { appendInput(slotClass, "value"); }
    void createOutput() override { makeOutput(slotClass); }
    void process() override { passOn(*plainType()); }
    std::optional<ValueType> plainType() const override { return payloadType(slotClass); }
};

#define KELVANE_KIND(name, slotClass, description) \
    using name##VariableOutputNode = TypedVariableOutputNode<ValueClass::slotClass>;
KELVANE_VALUE_KINDS(KELVANE_KIND)
#undef KELVANE_KIND

}  // namespace

NodeFamily variableOutputNodes() {
#define KELVANE_KIND(name, slotClass, description) entry<name##VariableOutputNode>(description),
    return {NodeCategory::VariableOutput, "Variable outputs", {KELVANE_VALUE_KINDS(KELVANE_KIND)}};
#undef KELVANE_KIND
}

}  // namespace KelvaneSDK
