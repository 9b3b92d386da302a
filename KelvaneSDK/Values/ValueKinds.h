#pragma once

// The fourteen types of values that constants, input streams and variable outputs come in.

#include <memory>

#include "KelvaneSDK/NodeClass.h"

namespace KelvaneSDK {

struct ValueKind {
    ValueClass slotClass;
    /// Of one value.
    const char* description;
};

/// In the order of the documentation.
inline constexpr ValueKind valueKinds[] = {
    {ValueClass::FloatValue, "a number"},
    {ValueClass::IntegerValue, "a whole number"},
    {ValueClass::BooleanValue, "true or false"},
    {ValueClass::VectorValue, "three numbers x, y, z"},
    {ValueClass::OrientationValue, "a rotation as a quaternion x, y, z, w"},
    {ValueClass::SequenceValue, "a time series of samples (t, f)"},
    {ValueClass::StringValue, "a text"},
    {ValueClass::FloatArrayVariable, "a list of numbers"},
    {ValueClass::IntegerArrayVariable, "a list of whole numbers"},
    {ValueClass::BooleanArrayVariable, "a list of true and false"},
    {ValueClass::VectorArrayVariable, "a list of vectors"},
    {ValueClass::OrientationArrayVariable, "a list of rotations"},
    {ValueClass::StringArrayVariable, "a list of texts"},
    {ValueClass::SequenceArrayVariable, "a list of time series"},
};

/// A class for each of them, whose nodes are made from the class of their value.
template <class NodeType>
NodeFamily valueNodes(NodeCategory category, std::string_view title) {
    NodeFamily family{category, title, {}};
    for (const auto& [slotClass, description] : valueKinds) {
        family.classes.push_back(
            NodeClass::declared({.output = slotClass, .description = description, .isDeclared = false},
                                [](const Declaration& declaration) -> std::unique_ptr<Node> {
                                    auto node = std::make_unique<NodeType>(declaration.output);
                                    node->initialize();
                                    return node;
                                }));
    }
    return family;
}

}  // namespace KelvaneSDK
