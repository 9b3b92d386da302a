#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "KelvaneSDK/EvaluationLimits.h"
#include "KelvaneSDK/SlotList.h"
#include "KelvaneSDK/TimestampedVariable.h"

namespace [[gnu::visibility("default")]] KelvaneSDK {

/// The four kinds of node that a diagram lists, in the order in which the engine walks them.
enum class NodeCategory : std::uint8_t { Constant, InputStream, Function, VariableOutput };

inline constexpr std::array<NodeCategory, 4> allNodeCategories{
    NodeCategory::Constant, NodeCategory::InputStream, NodeCategory::Function, NodeCategory::VariableOutput};

/// The category's name in documents: "Constant", "Input stream", "Function", "Variable output".
std::string_view classStringOf(NodeCategory category);
/// The category with this name, or absent.
std::optional<NodeCategory> categoryNamed(std::string_view classString);

/// The colour of a node's body. The text form of a case is its name.
enum class BodyColor : std::uint8_t {
    blue,
    red,
    black,
    brown,
    cyan,
    gray,
    green,
    magenta,
    orange,
    purple,
    yellow,
    white,
};

/// Every colour, in order.
std::span<const BodyColor> allBodyColors();
std::string_view bodyColorName(BodyColor color);
/// The colour with exactly this name, or absent.
std::optional<BodyColor> bodyColorNamed(std::string_view name);

/// A place on the designer's canvas; y grows downwards.
struct Position {
    double x = 0, y = 0;

    friend bool operator==(const Position&, const Position&) = default;
};

/// A property of a node in its text form, as documents hold it.
struct Property {
    std::string propertyString;
    std::string valueString;

    friend bool operator==(const Property&, const Property&) = default;
};

/// The base of every node: ordered input slots, at most one output slot, the slots that the output feeds, and
/// the descriptive data of the document. Also makes the connections, and lets generic slots take on a type
/// when they are connected and fall back when the last such connection goes.
///
/// Nodes belong to the thread that drives their engine. A slot may be replaced by one of another class when
/// it is connected or disconnected: read it from the node again afterwards.
class Node {
    // What ordering and compiling a diagram looks at stands together.
    SlotList inputSlots, connectedSlots;

public:
    /// Where the engine keeps the node in what it is about; of no meaning to others.
    static constexpr std::uint32_t noPlace = ~std::uint32_t{0};
    std::uint32_t place = noPlace;
    std::optional<NodeCategory> category;
    std::optional<BodyColor> color;

    Node() = default;
    virtual ~Node();
    Node(const Node&) = delete;
    Node& operator=(const Node&) = delete;

    /// Builds the slots and names of a new node; createNode() calls it once.
    virtual void initialize() {}

    /// Appends the input slots, in the order of their indices.
    virtual void createInputs() {}
    virtual void createOutput() {}
    virtual void setTypeString() {}

    /// Returns to the state before any input arrived: inputs lose their value, flags and timestamp, the
    /// output its flags and timestamp.
    virtual void reset();

    /// Fixes a generic output to the class that outputType() names, or sets outputType() to the type of a
    /// concrete output. Prints "ERROR: unexpected outputType == nil!" or "ERROR: setting output type!" and
    /// changes nothing when there is no such class.
    void resolveOutputType();

    /// Makes the output feed an input slot of another node; generic slots on both sides take on types first.
    /// Whether the types fit is not checked, and a slot may be fed twice.
    virtual void connectOutput(TimestampedVariable& input);

    /// Called on the owner of `input`: marks it connected, after a generic input took on the type of an
    /// output of class `from`, and returns the slot that now stands in its place.
    TimestampedVariable& connectInput(TimestampedVariable& input, ValueClass from);

    /// Replaces the generic output and then every generic input by slots of the class that each adopts from a
    /// slot of class `from`.
    void specializeGenericTypes(ValueClass from);

    /// Stops feeding `input`, and lets both nodes fall back to their generic slots when nothing fixes them
    /// any more.
    virtual void disconnect(TimestampedVariable& input);

    void revertGenericTypes();

    /// Readiness: the engine processes a node when both return true. A class may have rules of its own.
    virtual bool allInputsUpdated() const;
    virtual bool allInputsHaveValues() const;

    /// Copies the output's value, constant flag and timestamp into every slot that it feeds and marks them
    /// updated.
    void forwardOutput();

    /// The evaluation step. A class computes its output and ends with completeStep().
    virtual void process() { completeStep(); }

    /// Applies a property: "Description", "OutputValue" or "Color"; any other name prints
    /// "ERROR: unknown propertyName <name>!".
    virtual void setProperty(std::string_view propertyString, std::string_view valueString);

    /// The properties for export, in order.
    virtual std::vector<Property> getProperties() const;

    /// The category's name in documents; empty for nodes of no category.
    std::string_view classString() const { return category ? classStringOf(*category) : std::string_view(); }
    /// The type name chosen for the output.
    std::optional<std::string_view> outputType() const;
    void setOutputType(std::optional<std::string_view> typeName);
    /// Value classes that the node's generic slots do not support; connections do not consult it.
    virtual std::span<const ValueClass> unsupportedTypes() const { return {}; }

    std::span<TimestampedVariable* const> inputValues() const { return inputSlots; }
    /// The output slot, or null. It is made when it is first asked for.
    TimestampedVariable* outputValue() const {
        if (outputSlot == nullptr && outputClass) const_cast<Node*>(this)->showOutput();
        return outputSlot;
    }
    /// The output slot, where one is needed; a node without one stops the program.
    TimestampedVariable& output() const;
    /// The slots that the output feeds, in the order of their connection; a slot fed twice stands twice.
    std::span<TimestampedVariable* const> connectedInputValues() const { return connectedSlots; }

    /// The label; a node without one stops the program.
    std::string_view label() const;
    /// The label, or absent. Valid until it is set anew.
    std::optional<std::string_view> descriptionString() const;
    void setDescriptionString(std::optional<std::string_view> newLabel);
    /// Makes the node part of a diagram, whose state must outlive it; without one nothing is limited.
    void join(DiagramState& diagramState) { state = &diagramState; }
    /// Notes for the diagram that what it knows of this node is out of date.
    void noteChange() const {
        if (state != nullptr) ++state->changes;
    }
    /// Stops the program when a list of this many elements is beyond the limit.
    void checkElements(std::size_t count) const {
        if (state != nullptr && count > state->budget.maxElements()) stopOverElements(count);
    }
    /// The same for a value that is a list, with the texts and sequences in it.
    void checkElements(const Value& value) const {
        if (state != nullptr && state->budget.limitsElements()) checkElements(value.contentCount());
    }
    /// Stops the program when the batch takes longer than the limit, or was interrupted. For loops whose
    /// length a value decides: ask every few thousand steps.
    void checkTime() const {
        if (state != nullptr && state->budget.isLimited()) stopWhenOver();
    }
    void noteVisibility() const {
        if (state != nullptr) ++state->visibility;
    }
    void noteHandWritten() const {
        if (state != nullptr) ++state->handWritten;
    }
    /// The value in the output, in place, or null.
    const Value* outputPayload() const;
    /// From now on the output shows what the first input holds, for an engine that spares copying it: until
    /// someone looks, or the input changes otherwise than by its feeder. Only for outputs without a slot yet.
    void showInput() { showsInput = true; }
    /// Ends showInput(): the output has the value as its own.
    void takeShownInput() {
        if (showsInput) copyShownInput();
    }
    bool hasOutputSlot() const { return outputSlot != nullptr; }
    /// What the node last gave to the slots that it feeds.
    GivenValue& given() { return givenValue; }
    const GivenValue& given() const { return givenValue; }
    /// Gives a value that was produced at `timestamp` to every slot that the output feeds; the output shows
    /// it.
    template <class T>
    void give(T&& value, double timestamp) {
        givenValue.set(std::forward<T>(value));
        publish(timestamp);
    }
    /// Ends giving: what was put into given() counts from now on, as produced at `timestamp`.
    void publish(double timestamp) {
        givenValue.publish(timestamp);
        if (givenValue.special != 0) publishSpecially();
    }
    /// The rest of giving, for what slots keep copies of, values written by hand, and constants.
    void publishSpecially();
    /// Brings what was written to the output by hand, and what slots keep copies of, up to date without
    /// counting it as given: the engine does so for constants, which share its clock.
    void refreshGiven();
    /// Lets the output share the clock of the engine's batches.
    void shareClock(const std::uint64_t& batches);

    /// Stops the program with a reason that begins with this node's id, type and label.
    [[noreturn]] void stop(std::string_view reason) const;
    /// `node 7 ("Add", "left foot")`, as messages name the node.
    std::string nameInMessages() const;

    std::optional<std::int64_t> id;
    /// The type within the category: a function's name, or a value type's. Static text.
    std::string_view typeString;
    Position position;

protected:
    /// Ends an evaluation step: consumes every input's `updated` flag and, when the output holds a value,
    /// marks it updated, stamps it with the latest input timestamp (0.0 at least) and forwards it.
    void completeStep();
    /// Consumes every input's `updated` flag.
    void consumeInputs() {
        for (auto* input : inputSlots) input->consume();
    }
    /// The latest timestamp of the inputs, 0.0 at least; NaN timestamps are passed over.
    double latestInputTimestamp() const;

    /// Appends an input slot, or gives the node an output, of a class; the node owns it.
    TimestampedVariable& appendInput(ValueClass slotClass, const char* label);
    void makeOutput(ValueClass slotClass, bool withDefault = false);

    // Containers present slots that other nodes own.
    void presentInputs(std::span<TimestampedVariable* const> slots);
    void presentOutput(TimestampedVariable* slot);
    void presentConnected(std::span<TimestampedVariable* const> slots) { connectedSlots.assign(slots); }

private:
    // What few nodes have.
    struct Extras {
        std::string label;
        // An outputType() that names no class.
        std::optional<std::string> unknownType;
        // Replaced slots that something still refers to; in a container the replacements.
        std::vector<std::unique_ptr<TimestampedVariable>> slots;
    };
    enum class LabelState : std::uint8_t { absent, isTypeString, isOwn };

    Extras& withExtras();
    void showOutput();
    ValueClass requiredOutputClass() const;
    void copyShownInput();
    TimestampedVariable& replaceInput(TimestampedVariable& old, ValueClass slotClass,
                                      std::optional<ValueClass> specializedFrom);
    void replaceOutput(ValueClass slotClass, std::optional<ValueClass> specializedFrom);
    void revertIfNothingFixesTypes();
    void takeHandWritten();
    [[noreturn]] void stopOverElements(std::size_t count) const;
    void stopWhenOver() const;

    LabelState labelState = LabelState::absent;
    // The slots are this node's own, as they are but in containers.
    bool ownsSlots = true;
    bool showsInput = false;
    std::optional<ValueClass> knownOutputType;
    // The class of the output, and the generic one that it was specialised from; the slot is made on demand.
    std::optional<ValueClass> outputClass, outputSpecializedFrom;
    TimestampedVariable* outputSlot = nullptr;
    GivenValue givenValue;
    DiagramState* state = nullptr;
    std::unique_ptr<Extras> extras;
};

/// A new, initialised node of a class.
template <class NodeType>
std::unique_ptr<Node> createNode() {
    auto node = std::make_unique<NodeType>();
    node->initialize();
    return node;
}

}  // namespace KelvaneSDK
