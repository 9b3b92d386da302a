#include "KelvaneSDK/InputStreamNode.h"

#include "KelvaneSDK/Diagnostics.h"

namespace KelvaneSDK {

void InputStreamNode::initialize() {
    createOutput();
    classString = classStringOf(NodeCategory::InputStream);
    setTypeString();
    descriptionString = typeString;
}

void InputStreamNode::setTypeString() { typeString = output().typeString(); }

void InputStreamNode::setProperty(std::string_view propertyString, std::string_view valueString) {
    if (propertyString == "Forwarding") {
        forwarding = valueString == "true";
    } else {
        Node::setProperty(propertyString, valueString);
    }
}

std::vector<Property> InputStreamNode::getProperties() const {
    std::vector<Property> properties{{"Description", label()}, {"Forwarding", forwarding ? "true" : "false"}};
    for (auto& property : Node::getProperties()) properties.push_back(std::move(property));
    return properties;
}

void InputStreamNode::setValue(const Value& value, double timestamp) {
    auto& slot = output();
    if (!slot.hasValue()) stop("the input stream holds no value");
    markConnectedChecked();
    if (slot.payload()->type() != value.type()) {
        return printDiagnostic("ERROR: trying to set input stream '" + descriptionString.value_or("") +
                               "' with wrong type!");
    }
    slot.setValue(value);
    slot.updated = true;
    slot.timestamp = timestamp;
    forwardOutput();
}

void InputStreamNode::markConnectedChecked() {
    for (auto* slot : connectedInputValues()) slot->checked = true;
}

NodeFamily inputStreamNodes() {
    return {NodeCategory::InputStream,
            "Input streams",
            {
                entry<FloatInputStream>("numbers"),
                entry<IntegerInputStream>("whole numbers"),
                entry<BooleanInputStream>("true or false"),
                entry<VectorInputStream>("vectors x, y, z"),
                entry<OrientationInputStream>("rotations as quaternions x, y, z, w"),
                entry<SequenceInputStream>("whole time series"),
                entry<StringInputStream>("texts"),
                entry<FloatArrayInputStream>("lists of numbers"),
                entry<IntegerArrayInputStream>("lists of whole numbers"),
                entry<BooleanArrayInputStream>("lists of true and false"),
                entry<VectorArrayInputStream>("lists of vectors"),
                entry<OrientationArrayInputStream>("lists of rotations"),
                entry<StringArrayInputStream>("lists of texts"),
                entry<SequenceArrayInputStream>("lists of time series"),
            }};
}

}  // namespace KelvaneSDK
