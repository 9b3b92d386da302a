#pragma once

#include "KelvaneSDK/ArrayVariables.h"
#include "KelvaneSDK/Kelvane/NodeRegistry.h"
#include "KelvaneSDK/Node.h"
#include "KelvaneSDK/ScalarVariables.h"
#include "KelvaneSDK/SequenceValue.h"
#include "KelvaneSDK/ValueKinds.h"

namespace KelvaneSDK {

/// The base of the constants: no inputs, and an output of a fixed type that is marked constant and always
/// holds a value. The value comes from the property "OutputValue" or from Kelvane::setConstant(), survives
/// resets, and reaches the connected slots at the start of every batch.
class ConstantNode : public Node {
public:
    void initialize() override;
    void setTypeString() override;
    void reset() override {}
    std::vector<Property> getProperties() const override;
};

/// A constant of one value class, with its type's default value at first.
template <class Slot>
class TypedConstantNode final : public ConstantNode {
public:
    void createOutput() override { makeOutput(Slot::slotClass, true).setIsConstant(true); }
};

#define KELVANE_KIND(name, Slot, description) using name##ConstantNode = TypedConstantNode<Slot>;
KELVANE_VALUE_KINDS(KELVANE_KIND)
#undef KELVANE_KIND

NodeFamily constantNodes();

}  // namespace KelvaneSDK
