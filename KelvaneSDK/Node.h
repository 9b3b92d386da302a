#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "KelvaneSDK/TimestampedVariable.h"

namespace [[gnu::visibility("default")]] KelvaneSDK {

/// The four kinds of node that a diagram lists, in the order in which the engine walks them.
enum class NodeCategory : std::uint8_t {
    /// Gives the same value in every batch: no inputs, and an output of a fixed type.
    Constant,
    /// Where the application's values enter: no inputs, and an output of a fixed type that always holds a
    /// value.
    InputStream,
    /// Computes: inputs, and an output.
    Function,
    /// Where results leave: one input of a fixed type. The output feeds nothing.
    VariableOutput,
};
inline constexpr std::array<NodeCategory, 4> allNodeCategories{
    NodeCategory::Constant, NodeCategory::InputStream, NodeCategory::Function, NodeCategory::VariableOutput};

/// The category's name in documents: "Constant", "Input stream", "Function", "Variable output". Static text.
std::string_view classStringOf(NodeCategory category);
/// The category with this name, or absent.
std::optional<NodeCategory> categoryNamed(std::string_view classString);

/// The colour of a node's body. The text form of a case is its name.
// clang-format off
enum class BodyColor : std::uint8_t {
    blue, red, black, brown, cyan, gray, green, magenta, orange, purple, yellow, white,
};
// clang-format on

/// Every colour, in order.
std::span<const BodyColor> allBodyColors();
/// "blue", "red", ...
std::string_view bodyColorName(BodyColor color);
/// The colour with exactly this name, or absent.
std::optional<BodyColor> bodyColorNamed(std::string_view name);

/// A place on the designer's canvas, in the designer's units; y grows downwards.
struct Position {
    double x = 0, y = 0;

    friend bool operator==(const Position&, const Position&) = default;
};

/// A property of a node in its text form, as documents hold it: "Description" and the label, "OutputValue"
/// and a constant's value, "Color", "Forwarding", "Hidden".
struct Property {
    std::string propertyString, valueString;

    friend bool operator==(const Property&, const Property&) = default;
};

/// The base of every node: ordered input slots, at most one output slot, the slots that the output feeds, and
/// the descriptive data of the document. Also makes the connections, and lets generic slots take on a type
/// when they are connected and fall back when the last such connection goes.
///
/// An application meets nodes in the lists of its engine (Kelvane::nodeList()), where it may look at them,
/// and change their labels, properties, places and connections between batches; the engine sees to the rest
/// at the next one. Functions of an application's own derive from FunctionNode, or are rows.
///
///     Node& adder = *engine.nodeList(NodeCategory::Function)[0];
///     Node& limit = *engine.nodeList(NodeCategory::Constant)[0];
///     limit.connectOutput(*adder.inputValues()[1]);
///     adder.setDescriptionString("sum");
///     for (const auto* slot : adder.inputValues()) std::cout << slot->label << ": " << slot->typeString();
///
/// Nodes belong to the thread that drives their engine. A slot may be replaced by one of another class when
/// it is connected or disconnected: read it from the node again afterwards.
class Node {
    // First, because all of the evaluation looks at it: what NodeState.h says. Without an allocation of its
    // own, for diagrams have many nodes.
    static constexpr std::size_t stateSize = 144;
    alignas(8) std::byte stateSpace[stateSize];
    // Where the engine keeps the node in what it is about.
    static constexpr std::uint32_t noPlace = ~std::uint32_t{0};
    std::uint32_t place = noPlace;

public:
    /// Which list of its diagram the node belongs to; absent for containers.
    std::optional<NodeCategory> category;
    /// What a designer paints it with, where that is not left to the designer.
    std::optional<BodyColor> color;

    /// Without slots, id or label. A node stays where it is, for slots and nodes point to each other.
    Node();
    virtual ~Node();
    Node(const Node&) = delete;
    Node& operator=(const Node&) = delete;

    // What a class overrides; FunctionNode does so from its declaration.

    /// Builds the slots and names of a new node, by the operations below. Called once, by what makes nodes,
    /// before the node is in a diagram.
    virtual void initialize() {}
    /// Appends the input slots, in the order of their indices.
    virtual void createInputs() {}
    /// Makes the output slot, if the class has one.
    virtual void createOutput() {}
    /// Sets `typeString`.
    virtual void setTypeString() {}
    /// Value classes that the node's generic slots do not support. The checker reports them; connections do
    /// not consult it.
    virtual std::span<const ValueClass> unsupportedTypes() const { return {}; }
    /// Readiness: the engine processes a node when both return true, which by this rule is when every input
    /// is updated and has a value. A class may have rules of its own.
    ///
    ///     bool allInputsUpdated() const override { return inputValues()[0]->updated(); }
    virtual bool allInputsUpdated() const;
    /// Asked when the former is true.
    virtual bool allInputsHaveValues() const;
    /// The evaluation step. A class computes its output and ends with completeStep().
    virtual void process() { completeStep(); }
    /// Returns to the state before any input arrived: inputs lose their value, flags and timestamp, the
    /// output its flags and timestamp.
    virtual void reset();

    // Connections.

    /// Makes the output feed an input slot of another node, from the next batch on; generic slots on both
    /// sides take on types first. Whether the types fit is not checked, and a slot may be fed twice. Types
    /// that cannot be taken on stop.
    virtual void connectOutput(TimestampedVariable& input);
    /// Stops feeding `input`, and lets both nodes fall back to their generic slots when nothing fixes them
    /// any more.
    virtual void disconnect(TimestampedVariable& input);
    /// The half of connectOutput() that is done by the owner of `input`: marks it connected, after a generic
    /// input took on the type of an output of class `from`, and returns the slot that now stands in its
    /// place.
    TimestampedVariable& connectInput(TimestampedVariable& input, ValueClass from);
    /// Replaces the generic output and then every generic input by slots of the class that each adopts from a
    /// slot of class `from`: a scalar class or its arrays, as the generic slot asks.
    void specializeGenericTypes(ValueClass from);
    /// Puts the generic slots back in place of those that were specialised.
    void revertGenericTypes();
    /// The type name chosen for the output: where it is generic, the one that a document fixes it to.
    std::optional<std::string_view> outputType() const;
    /// Chooses it. A name that no class bears is kept, and exported, as it is.
    void setOutputType(std::optional<std::string_view> typeName);
    /// Fixes a generic output to the class that outputType() names, or sets outputType() to the type of a
    /// concrete output. Prints "ERROR: unexpected outputType == nil!" or "ERROR: setting output type!" and
    /// changes nothing when there is no such class.
    void resolveOutputType();
    /// Copies the output's value, constant flag and timestamp into every slot that it feeds and marks them
    /// updated.
    void forwardOutput();

    // Slots. The spans are good until slots come, go or are replaced, which connections do.

    /// The input slots in the order of their indices.
    std::span<TimestampedVariable* const> inputValues() const;
    /// The output slot, or null. It is made when it is first asked for.
    TimestampedVariable* outputValue() const;
    /// The output slot, where one is needed; a node without one stops the program.
    TimestampedVariable& output() const;
    /// The slots that the output feeds, in the order of their connection; a slot fed twice stands twice.
    std::span<TimestampedVariable* const> connectedInputValues() const;

    // Description.

    /// Applies a property, as documents hold them:
    ///
    ///     node.setProperty("Color", "cyan");
    ///     node.setProperty("OutputValue", "0.5");
    ///
    /// These are "Description" (the label), "OutputValue" (the text of a constant's value) or
    /// "Color"; input streams also have "Forwarding", variable outputs "Hidden", both true for exactly the
    /// text "true". Any other name prints "ERROR: unknown propertyName <name>!".
    virtual void setProperty(std::string_view propertyString, std::string_view valueString);
    /// The properties for export, in order: what setProperty() would make of a new node what this one is.
    virtual std::vector<Property> getProperties() const;
    /// The category's name in documents; empty for nodes of no category.
    std::string_view classString() const { return category ? classStringOf(*category) : std::string_view(); }
    /// The label; a node without one stops the program.
    std::string_view label() const;
    /// The label, or absent. Valid until it is set anew.
    std::optional<std::string_view> descriptionString() const;
    /// Streams, outputs and constants are known to the application by it; it need not be unique.
    void setDescriptionString(std::optional<std::string_view> newLabel);
    /// `node 7 ("Add", "left foot")`, as messages name the node.
    std::string nameInMessages() const;

    // Stops and limits, for what a node computes. A stop leaves by an exception or not at all, so what stands
    // on the stack must be safe to destroy.

    /// Stops the program with a reason that begins with this node's id, type and label; the application may
    /// have chosen that the engine's call fails instead.
    ///
    ///     if (window < 1) stop("the window has no length");
    [[noreturn]] void stop(std::string_view reason) const;
    /// Stops when a list of this many elements is beyond EvaluationLimits::maxElements. For nodes that keep
    /// or make lists: ask before the list grows. What finishes a step asks for the output.
    void checkElements(std::size_t count) const;
    /// The same for a value that is a list, with the texts and sequences in it.
    void checkElements(const Value& value) const;
    /// Stops when the batch takes longer than the limit, or was interrupted. For loops whose length a value
    /// decides: ask every few thousand rounds.
    void checkTime() const;

    /// By which documents name the node; the engine numbers anew when it appends and exports.
    std::optional<std::int64_t> id;
    /// The type within the category: a function's name, or a value type's. Static text.
    std::string_view typeString;
    /// Where a designer draws it.
    Position position;

protected:
    /// Ends an evaluation step, with the output that stands in the slot: consumes every input's `updated`
    /// flag and, when the output holds a value, marks it updated, stamps it with the latest input timestamp
    /// (0.0 at least) and forwards it.
    void completeStep();
    /// Consumes every input's `updated` flag.
    void consumeInputs();
    /// The latest timestamp of the inputs in seconds, 0.0 at least; NaN timestamps are passed over.
    double latestInputTimestamp() const;
    /// Appends an input slot, or gives the node an output, of a class; the node owns it. Labels are static
    /// text. With `withDefault` the output holds its type's default value: zero, the identity, the empty
    /// list.
    TimestampedVariable& appendInput(ValueClass slotClass, const char* label);
    void makeOutput(ValueClass slotClass, bool withDefault = false);

private:
    friend class DiagramBuilder;
    friend class Evaluation;
    friend class NodeState;
    friend class StepGroups;
    friend class TimestampedVariable;
};

}  // namespace KelvaneSDK
