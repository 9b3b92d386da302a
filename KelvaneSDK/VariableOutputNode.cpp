#include "KelvaneSDK/VariableOutputNode.h"

#include "KelvaneSDK/Diagnostics.h"

namespace KelvaneSDK {

void VariableOutputNode::initialize() {
    createInputs();
    createOutput();
    classString = classStringOf(NodeCategory::VariableOutput);
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
    std::vector<Property> properties{{"Description", label()}, {"Hidden", isHidden ? "true" : "false"}};
    for (auto& property : Node::getProperties()) properties.push_back(std::move(property));
    return properties;
}

void VariableOutputNode::passOn(ValueType admitted) {
    const Value* brought = input().payload();
    if (brought == nullptr) stop("a variable output was evaluated without a value");
    consumeInputs();
    if (brought->type() == admitted) {
        give(*brought, latestInputTimestamp());
    } else {
        output().clearValue();
    }
}

NodeFamily variableOutputNodes() {
#define KELVANE_KIND(name, Slot, description) entry<name##VariableOutputNode>(description),
    return {NodeCategory::VariableOutput, "Variable outputs", {KELVANE_VALUE_KINDS(KELVANE_KIND)}};
#undef KELVANE_KIND
}

}  // namespace KelvaneSDK
