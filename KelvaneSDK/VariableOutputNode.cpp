#include "KelvaneSDK/VariableOutputNode.h"

#include "KelvaneSDK/Diagnostics.h"

namespace KelvaneSDK {

void VariableOutputNode::initialize() {
    createInputs();
    createOutput();
    classString = classStringOf(NodeCategory::VariableOutput);
    setTypeString();
    descriptionString = typeString;
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
        hidden = valueString == "true";
    } else {
        Node::setProperty(propertyString, valueString);
    }
}

std::vector<Property> VariableOutputNode::getProperties() const {
    std::vector<Property> properties{{"Description", label()}, {"Hidden", hidden ? "true" : "false"}};
    for (auto& property : Node::getProperties()) properties.push_back(std::move(property));
    return properties;
}

void VariableOutputNode::passOn(ValueType admitted) {
    if (!input().hasValue()) stop("a variable output was evaluated without a value");
    if (input().payload()->type() == admitted) {
        output().copyValue(input());
    } else {
        output().clearValue();
    }
    completeStep();
}

NodeFamily variableOutputNodes() {
    return {NodeCategory::VariableOutput,
            "Variable outputs",
            {
                entry<FloatVariableOutputNode>("numbers"),
                entry<IntegerVariableOutputNode>("whole numbers"),
                entry<BooleanVariableOutputNode>("true or false"),
                entry<VectorVariableOutputNode>("vectors x, y, z"),
                entry<OrientationVariableOutputNode>("rotations as quaternions x, y, z, w"),
                entry<SequenceVariableOutputNode>("whole time series"),
                entry<StringVariableOutputNode>("texts"),
                entry<FloatArrayVariableOutputNode>("lists of numbers"),
                entry<IntegerArrayVariableOutputNode>("lists of whole numbers"),
                entry<BooleanArrayVariableOutputNode>("lists of true and false"),
                entry<VectorArrayVariableOutputNode>("lists of vectors"),
                entry<OrientationArrayVariableOutputNode>("lists of rotations"),
                entry<StringArrayVariableOutputNode>("lists of texts"),
                entry<SequenceArrayVariableOutputNode>("lists of time series"),
            }};
}

}  // namespace KelvaneSDK
