#include "KelvaneSDK/ConstantNode.h"

namespace KelvaneSDK {

void ConstantNode::initialize() {
    createOutput();
    classString = classStringOf(NodeCategory::Constant);
    setTypeString();
    descriptionString = typeString;
}

void ConstantNode::setTypeString() { typeString = output().typeString(); }

std::vector<Property> ConstantNode::getProperties() const {
    std::vector<Property> properties{{"Description", label()}, {"OutputValue", output().stringValue()}};
    for (auto& property : Node::getProperties()) properties.push_back(std::move(property));
    return properties;
}

NodeFamily constantNodes() {
    return {NodeCategory::Constant,
            "Constants",
            {
                entry<FloatConstantNode>("a number"),
                entry<IntegerConstantNode>("a whole number"),
                entry<BooleanConstantNode>("true or false"),
                entry<VectorConstantNode>("three numbers x, y, z"),
                entry<OrientationConstantNode>("a rotation as a quaternion x, y, z, w"),
                entry<SequenceConstantNode>("a time series of samples (t, f)"),
                entry<StringConstantNode>("a text"),
                entry<FloatArrayConstantNode>("a list of numbers"),
                entry<IntegerArrayConstantNode>("a list of whole numbers"),
                entry<BooleanArrayConstantNode>("a list of true and false"),
                entry<StringArrayConstantNode>("a list of texts"),
                entry<OrientationArrayConstantNode>("a list of rotations"),
                entry<VectorArrayConstantNode>("a list of vectors"),
                entry<SequenceArrayConstantNode>("a list of time series"),
            }};
}

}  // namespace KelvaneSDK
