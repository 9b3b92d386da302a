#pragma once

#include "KelvaneSDK/ArrayVariables.h"
#include "KelvaneSDK/Kelvane/NodeRegistry.h"
#include "KelvaneSDK/Node.h"
#include "KelvaneSDK/ScalarVariables.h"
#include "KelvaneSDK/SequenceValue.h"

namespace KelvaneSDK {

/// The base of the variable outputs, where values leave a diagram: one input of a fixed type, whose value the
/// engine hands to the application under the node's label. The output cannot feed other nodes.
class VariableOutputNode : public Node {
public:
    void initialize() override;
    void setTypeString() override;
    /// Refuses with "ERROR: cannot connect to the output of a Variable Output node!".
    void connectOutput(TimestampedVariable& input) override;
    /// Besides the properties of every node: "Hidden", true for exactly the text "true".
    void setProperty(std::string_view propertyString, std::string_view valueString) override;
    std::vector<Property> getProperties() const override;

    /// How many input streams have this output as the first of their label. Maintained while a diagram is
    /// built.
    std::int64_t numLinks = 0;
    /// Another variable output bears the same label. Maintained while a diagram is built.
    bool duplications = false;
    /// The output is evaluated but left out of the results.
    bool hidden = false;

protected:
    /// The evaluation step: passes a value of exactly the admitted type on and anything else as absent. An
    /// input without a value stops the program.
    void passOn(ValueType admitted);

private:
    const TimestampedVariable& input() const;
};

/// A variable output of one value class.
template <class Slot>
class TypedVariableOutputNode final : public VariableOutputNode {
public:
    void createInputs() override { appendInput(Slot::slotClass, "value"); }
    void createOutput() override { makeOutput(Slot::slotClass); }
    void process() override { passOn(*payloadType(Slot::slotClass)); }
};

using FloatVariableOutputNode = TypedVariableOutputNode<FloatValue>;
using IntegerVariableOutputNode = TypedVariableOutputNode<IntegerValue>;
using BooleanVariableOutputNode = TypedVariableOutputNode<BooleanValue>;
using VectorVariableOutputNode = TypedVariableOutputNode<VectorValue>;
using OrientationVariableOutputNode = TypedVariableOutputNode<OrientationValue>;
using SequenceVariableOutputNode = TypedVariableOutputNode<SequenceValue>;
using StringVariableOutputNode = TypedVariableOutputNode<StringValue>;
using FloatArrayVariableOutputNode = TypedVariableOutputNode<FloatArrayVariable>;
using IntegerArrayVariableOutputNode = TypedVariableOutputNode<IntegerArrayVariable>;
using BooleanArrayVariableOutputNode = TypedVariableOutputNode<BooleanArrayVariable>;
using VectorArrayVariableOutputNode = TypedVariableOutputNode<VectorArrayVariable>;
using OrientationArrayVariableOutputNode = TypedVariableOutputNode<OrientationArrayVariable>;
using StringArrayVariableOutputNode = TypedVariableOutputNode<StringArrayVariable>;
using SequenceArrayVariableOutputNode = TypedVariableOutputNode<SequenceArrayVariable>;

NodeFamily variableOutputNodes();

}  // namespace KelvaneSDK
