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
class TypedVariableOutput final : public VariableOutputNode {
public:
    explicit TypedVariableOutput(ValueClass valueClass) : slotClass(valueClass) {}
    void createInputs() override { appendInput(slotClass, "value"); }
    void createOutput() override { makeOutput(slotClass); }
    void process() override { passOn(*plainType()); }
    std::optional<ValueType> plainType() const override { return payloadType(slotClass); }

private:
    ValueClass slotClass;
};

}  // namespace

NodeFamily variableOutputNodes() {
    return valueNodes<TypedVariableOutput>(NodeCategory::VariableOutput, "Variable outputs");
}

}  // namespace KelvaneSDK
