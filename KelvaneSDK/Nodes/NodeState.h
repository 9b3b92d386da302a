#pragma once

// Internal: what a node holds besides its description, and how it gives values.

#include <memory>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "KelvaneSDK/Node.h"
#include "KelvaneSDK/Nodes/DiagramState.h"
#include "KelvaneSDK/Values/GivenValue.h"
#include "KelvaneSDK/Values/SlotList.h"

namespace KelvaneSDK {

class NodeState {
public:
    static NodeState& of(const Node& node) {
        return *std::launder(reinterpret_cast<NodeState*>(const_cast<std::byte*>(node.stateSpace)));
    }
    static std::uint32_t& placeOf(Node& node) { return node.place; }
    static constexpr std::uint32_t noPlace = Node::noPlace;

    NodeState() = default;
    NodeState(const NodeState&) = delete;
    NodeState& operator=(const NodeState&) = delete;
    ~NodeState();

    /// Makes the node part of a diagram, whose state must outlive it; without one nothing is limited.
    void join(DiagramState& state) { diagram = &state; }
    /// Notes for the diagram that what it knows of this node is out of date.
    void noteChange() const {
        if (diagram != nullptr) ++diagram->changes;
    }
    void noteVisibility() const {
        if (diagram != nullptr) ++diagram->visibility;
    }
    void noteHandWritten() const {
        if (diagram != nullptr) ++diagram->handWritten;
    }
    /// Says why this step gives nothing, for who asks.
    void noteSilence(const char* reason) const {
        if (diagram != nullptr) diagram->silence = reason;
    }
    void checkElements(const Value& value, const Node& node) const {
        if (diagram != nullptr && diagram->budget.limitsElements()) node.checkElements(value.contentCount());
    }

    /// Gives a value that was produced at `timestamp` to every slot that the output feeds; the output shows
    /// it.
    template <class T>
    void give(T&& value, double timestamp) {
        given.set(std::forward<T>(value));
        publish(timestamp);
    }
    /// Ends giving: what was put into `given` counts from now on, as produced at `timestamp`.
    void publish(double timestamp) {
        given.publish(timestamp);
        if (given.special != 0) publishSpecially();
    }

    void consumeInputs() {
        for (auto* input : inputSlots) input->consume();
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
    void copyShownInput();
    /// The rest of giving, for what slots keep copies of, values written by hand, and constants.
    void publishSpecially();
    void takeHandWritten();
    /// Brings what was written to the output by hand, and what slots keep copies of, up to date without
    /// counting it as given: the engine does so for constants, which share its clock.
    void refreshGiven();
    /// Lets the output share the clock of the engine's batches.
    void shareClock(const std::uint64_t& batches) {
        given.clock = &batches;
        given.special |= GivenValue::hasSharedClock;
    }

    ValueClass requiredOutputClass(const Node& node) const;
    void showOutput(Node& node);
    TimestampedVariable& replaceInput(Node& node, TimestampedVariable& old, ValueClass slotClass,
                                      std::optional<ValueClass> specializedFrom);
    void replaceOutput(ValueClass slotClass, std::optional<ValueClass> specializedFrom);
    bool isFixedByNothing() const;

    // Containers present slots that other nodes own.
    void presentInputs(std::span<TimestampedVariable* const> slots);
    void presentOutput(TimestampedVariable* slot);

    /// What few nodes have.
    struct Extras {
        std::string label;
        // An outputType() that names no class.
        std::optional<std::string> unknownType;
        // Replaced slots that something still refers to; in a container the replacements.
        std::vector<std::unique_ptr<TimestampedVariable>> slots;
    };
    enum class LabelState : std::uint8_t { absent, isTypeString, isOwn };
    Extras& withExtras();

    // What ordering and compiling a diagram looks at stands together.
    SlotList inputSlots, connectedSlots;
    LabelState labelState : 2 = LabelState::absent;
    // The slots are this node's own, as they are but in containers.
    bool ownsSlots : 1 = true;
    bool showsInput : 1 = false;
    std::optional<ValueClass> knownOutputType;
    // The class of the output, and the generic one that it was specialised from; the slot is made on demand.
    std::optional<ValueClass> outputClass, outputSpecializedFrom;
    TimestampedVariable* outputSlot = nullptr;
    /// What the node last gave to the slots that it feeds.
    GivenValue given;
    DiagramState* diagram = nullptr;
    std::unique_ptr<Extras> extras;
};

}  // namespace KelvaneSDK
