#include "KelvaneSDK/Node.h"

#include <algorithm>
#include <utility>

#include "KelvaneSDK/Diagnostics.h"
#include "KelvaneSDK/FileProcessing/NumberText.h"
#include "KelvaneSDK/Nodes/NodeState.h"
#include "KelvaneSDK/Values/SlotClasses.h"

namespace KelvaneSDK {

namespace {

using enum BodyColor;
constexpr std::array bodyColors{blue,  red,     black,  brown,  cyan,   gray,
                                green, magenta, orange, purple, yellow, white};
constexpr std::array<std::string_view, bodyColors.size()> bodyColorNames{
    "blue",  "red",     "black",  "brown",  "cyan",   "gray",
    "green", "magenta", "orange", "purple", "yellow", "white"};

// Keeps a slot alive while an operation may replace it.
class Pin {
public:
    explicit Pin(const TimestampedVariable& slot)
        : pinnedSlot(const_cast<TimestampedVariable&>(slot)), before(slot.pinned) {
        pinnedSlot.pinned = true;
    }
    ~Pin() { pinnedSlot.pinned = before; }
    Pin(const Pin&) = delete;
    Pin& operator=(const Pin&) = delete;

private:
    TimestampedVariable& pinnedSlot;
    bool before;
};

ValueClass adopted(ValueClass generic, ValueClass from, const Node& owner) {
    const auto slotClass = adoptedClass(generic, from);
    if (!slotClass) {
        owner.stop("a slot of type \"" + std::string(typeString(generic)) +
                   "\" cannot adopt a type from one of type \"" + std::string(typeString(from)) + "\"");
    }
    return *slotClass;
}

}  // namespace

std::string_view classStringOf(NodeCategory category) {
    switch (category) {
        case NodeCategory::Constant:
            return "Constant";
        case NodeCategory::InputStream:
            return "Input stream";
        case NodeCategory::Function:
            return "Function";
        case NodeCategory::VariableOutput:
            return "Variable output";
    }
    return {};
}

std::optional<NodeCategory> categoryNamed(std::string_view classString) {
    for (const auto category : allNodeCategories) {
        if (classStringOf(category) == classString) return category;
    }
    return std::nullopt;
}

std::span<const BodyColor> allBodyColors() { return bodyColors; }

std::string_view bodyColorName(BodyColor color) { return bodyColorNames[static_cast<std::size_t>(color)]; }

std::optional<BodyColor> bodyColorNamed(std::string_view name) {
    for (const auto color : bodyColors) {
        if (bodyColorName(color) == name) return color;
    }
    return std::nullopt;
}

Node::Node() {
    static_assert(sizeof(NodeState) == stateSize && alignof(NodeState) == 8);
    new (stateSpace) NodeState;
}

Node::~Node() { NodeState::of(*this).~NodeState(); }

NodeState::~NodeState() {
    if (!ownsSlots) return;
    for (auto* input : inputSlots) delete input;
    delete outputSlot;
}

void Node::reset() {
    auto& own = NodeState::of(*this);
    own.takeShownInput();
    for (auto* input : own.inputSlots) input->empty();
    own.noteChange();
    if (own.outputSlot != nullptr) {
        own.outputSlot->checked = false;
        own.outputSlot->setUpdated(false);
        if (auto* handWritten = own.outputSlot->handWritten()) {
            handWritten->timestamp = 0;
            return;
        }
    }
    own.given.outputState &= GivenValue::holdsValue;
}

std::optional<std::string_view> Node::outputType() const {
    auto& own = NodeState::of(*this);
    if (own.knownOutputType) return KelvaneSDK::typeString(*own.knownOutputType);
    return own.extras != nullptr ? std::optional<std::string_view>(own.extras->unknownType) : std::nullopt;
}

void Node::setOutputType(std::optional<std::string_view> typeName) {
    auto& own = NodeState::of(*this);
    own.knownOutputType = typeName ? concreteClassNamed(*typeName) : std::nullopt;
    if (typeName && !own.knownOutputType) {
        own.withExtras().unknownType = *typeName;
    } else if (own.extras != nullptr) {
        own.extras->unknownType.reset();
    }
}

void Node::resolveOutputType() {
    auto& own = NodeState::of(*this);
    const auto slotClass = own.requiredOutputClass(*this);
    if (!isGeneric(slotClass)) {
        setOutputType(std::nullopt);
        own.knownOutputType = slotClass;
        return;
    }
    if (!outputType()) return printDiagnostic("ERROR: unexpected outputType == nil!");
    if (!own.knownOutputType) return printDiagnostic("ERROR: setting output type!");
    specializeGenericTypes(*own.knownOutputType);
}

void Node::specializeGenericTypes(ValueClass from) {
    auto& own = NodeState::of(*this);
    if (own.outputClass && isGeneric(*own.outputClass)) {
        const auto generic = *own.outputClass;
        own.replaceOutput(adopted(generic, from, *this), generic);
        resolveOutputType();
    }
    for (std::size_t i = 0; i < own.inputSlots.size(); ++i) {
        auto& input = own.inputSlots[i];
        const auto generic = input.valueClass();
        if (isGeneric(generic)) own.replaceInput(*this, input, adopted(generic, from, *input.owner), generic);
    }
}

void Node::connectOutput(TimestampedVariable& input) {
    auto& own = NodeState::of(*this);
    Node* const receiver = input.owner;
    if (receiver == nullptr) stop("the slot to connect to has no owner");
    if (isGeneric(own.requiredOutputClass(*this))) {
        const Pin pin(input);
        specializeGenericTypes(input.valueClass());
    }
    auto& connectedSlot = receiver->connectInput(input, *own.outputClass);
    connectedSlot.pinned = true;
    own.connectedSlots.append(connectedSlot);
    connectedSlot.feedFrom(own.given);
    own.noteChange();
}

TimestampedVariable& Node::connectInput(TimestampedVariable& input, ValueClass from) {
    auto& own = NodeState::of(*this);
    const auto generic = input.valueClass();
    if (!isGeneric(generic)) {
        input.connectable = false;
        return input;
    }
    if (std::find(own.inputSlots.begin(), own.inputSlots.end(), &input) == own.inputSlots.end()) {
        stop("a generic slot to connect is not among its node's inputs");
    }
    auto& specialized = own.replaceInput(*this, input, adopted(generic, from, *input.owner), generic);
    specialized.connectable = false;
    specialized.pinned = true;
    specializeGenericTypes(specialized.valueClass());
    return specialized;
}

void Node::disconnect(TimestampedVariable& input) {
    auto& own = NodeState::of(*this);
    own.connectedSlots.remove(input);
    input.unfeed(own.given);
    own.noteChange();
    input.connectable = true;
    if (input.owner == nullptr) stop("the slot to disconnect has no owner");
    if (NodeState::of(*input.owner).isFixedByNothing()) input.owner->revertGenericTypes();
    if (own.isFixedByNothing()) revertGenericTypes();
}

void Node::revertGenericTypes() {
    auto& own = NodeState::of(*this);
    if (own.outputSpecializedFrom) own.replaceOutput(*own.outputSpecializedFrom, std::nullopt);
    for (std::size_t i = 0; i < own.inputSlots.size(); ++i) {
        auto& input = own.inputSlots[i];
        if (!input.isTyped) continue;
        own.replaceInput(*this, input, *input.isTyped, std::nullopt);
        setOutputType(std::nullopt);
    }
}

// Generic slots have taken on types, and no connection keeps them.
bool NodeState::isFixedByNothing() const {
    bool anyTyped = false;
    for (const auto* input : inputSlots) {
        if (!input->isTyped) continue;
        if (!input->connectable) return false;
        anyTyped = true;
    }
    return anyTyped && !(outputSpecializedFrom && connectedSlots.size() != 0);
}

bool Node::allInputsUpdated() const {
    auto& own = NodeState::of(*this);
    return std::all_of(own.inputSlots.begin(), own.inputSlots.end(),
                       [](const auto* input) { return input->updated(); });
}

bool Node::allInputsHaveValues() const {
    auto& own = NodeState::of(*this);
    return std::all_of(own.inputSlots.begin(), own.inputSlots.end(),
                       [](const auto* input) { return input->hasValue(); });
}

void NodeState::takeHandWritten() {
    auto* const written = outputSlot != nullptr ? outputSlot->handWritten() : nullptr;
    if (written == nullptr) return;
    if (written->hasValue()) {
        given.set(std::move(written->value));
    } else {
        given.clear();
    }
    given.timestamp = written->timestamp;
    given.isConstant = written->isConstant;
    given.outputState =
        static_cast<std::uint8_t>(GivenValue::isStamped | (given.hasValue() ? GivenValue::holdsValue : 0) |
                                  (outputSlot->updated() ? GivenValue::isUpdated : 0));
    outputSlot->dropHandWritten(given);
}

void Node::forwardOutput() {
    auto& own = NodeState::of(*this);
    own.takeHandWritten();
    if (!output().hasValue()) own.given.clear();
    own.given.timestamp = own.outputSlot->timestamp();
    ++own.given.stamp;
    if (own.given.special != 0) own.publishSpecially();
}

void NodeState::publishSpecially() {
    if (auto* written = outputSlot != nullptr ? outputSlot->handWritten() : nullptr) {
        // The value given just now is the later one.
        written->clear();
        outputSlot->dropHandWritten(given);
    }
    if (given.clock != &given.stamp) {
        // A constant that gives its value within a batch has a clock of its own from now on.
        given.stamp = *given.clock + 1;
        given.clock = &given.stamp;
        given.special &= static_cast<std::uint8_t>(~GivenValue::hasSharedClock);
        noteChange();
    }
    if ((given.special & GivenValue::isCopied) == 0) return;
    for (auto* slot : connectedSlots) slot->take(given);
}

void NodeState::refreshGiven() {
    takeHandWritten();
    if ((given.special & GivenValue::isCopied) == 0) return;
    for (auto* slot : connectedSlots) slot->take(given);
}

std::span<TimestampedVariable* const> Node::inputValues() const {
    return std::as_const(NodeState::of(*this).inputSlots);
}

TimestampedVariable* Node::outputValue() const {
    auto& own = NodeState::of(*this);
    if (own.outputSlot == nullptr && own.outputClass) own.showOutput(const_cast<Node&>(*this));
    return own.outputSlot;
}

std::span<TimestampedVariable* const> Node::connectedInputValues() const {
    return std::as_const(NodeState::of(*this).connectedSlots);
}

void Node::consumeInputs() { NodeState::of(*this).consumeInputs(); }

double Node::latestInputTimestamp() const {
    auto& own = NodeState::of(*this);
    double latest = 0;
    for (const auto* input : own.inputSlots) {
        const double timestamp = input->timestamp();
        if (latest <= timestamp) latest = timestamp;
    }
    return latest;
}

void Node::completeStep() {
    auto& own = NodeState::of(*this);
    own.consumeInputs();
    if (own.outputPayload() == nullptr) return;
    own.takeHandWritten();
    checkElements(own.given.value);
    own.publish(latestInputTimestamp());
}

void Node::setProperty(std::string_view propertyString, std::string_view valueString) {
    if (propertyString == "Description") {
        setDescriptionString(valueString);
    } else if (propertyString == "OutputValue") {
        output().setValueFromString(valueString);
    } else if (propertyString == "Color") {
        color = bodyColorNamed(valueString);
    } else {
        printDiagnostic("ERROR: unknown propertyName " + std::string(propertyString) + "!");
    }
}

std::vector<Property> Node::getProperties() const {
    if (!color) return {};
    return {{"Color", std::string(bodyColorName(*color))}};
}

std::string_view Node::label() const {
    const auto label = descriptionString();
    if (!label) stop("the node has no label");
    return *label;
}

std::optional<std::string_view> Node::descriptionString() const {
    auto& own = NodeState::of(*this);
    switch (own.labelState) {
        case NodeState::LabelState::absent:
            return std::nullopt;
        case NodeState::LabelState::isTypeString:
            return typeString;
        case NodeState::LabelState::isOwn:
            break;
    }
    return own.extras->label;
}

void Node::setDescriptionString(std::optional<std::string_view> newLabel) {
    auto& own = NodeState::of(*this);
    const bool isOwn = newLabel && *newLabel != typeString;
    if (isOwn) own.withExtras().label = *newLabel;
    own.labelState = isOwn      ? NodeState::LabelState::isOwn
                     : newLabel ? NodeState::LabelState::isTypeString
                                : NodeState::LabelState::absent;
    own.noteChange();
}

TimestampedVariable& Node::output() const {
    NodeState::of(*this).requiredOutputClass(*this);
    return *outputValue();
}

ValueClass NodeState::requiredOutputClass(const Node& node) const {
    if (!outputClass) node.stop("the node has no output slot");
    return *outputClass;
}

void Node::checkElements(std::size_t count) const {
    const auto* diagram = NodeState::of(*this).diagram;
    if (diagram == nullptr || count <= diagram->budget.maxElements()) return;
    stop("a list of " + std::to_string(count) + " elements is beyond the limit of " +
         std::to_string(diagram->budget.maxElements()));
}

void Node::checkElements(const Value& value) const { NodeState::of(*this).checkElements(value, *this); }

void Node::checkTime() const {
    const auto* diagram = NodeState::of(*this).diagram;
    if (diagram == nullptr || !diagram->budget.isLimited()) return;
    const auto& budget = diagram->budget;
    if (budget.isInterrupted()) stop("the batch was interrupted");
    if (!budget.isOutOfTime()) return;
    stop("the batch has taken longer than the limit of " + doubleText(budget.maxBatchSeconds()) + " seconds");
}

void Node::stop(std::string_view reason) const {
    stopProgram(nameInMessages() + ": " + std::string(reason), id);
}

std::string Node::nameInMessages() const {
    std::string name = id ? "node " + std::to_string(*id) : "a node without id";
    name += " (\"" + std::string(typeString) + "\"";
    if (const auto label = descriptionString()) name += ", \"" + std::string(*label) + "\"";
    return name + ")";
}

NodeState::Extras& NodeState::withExtras() {
    if (extras == nullptr) extras = std::make_unique<Extras>();
    return *extras;
}

TimestampedVariable& Node::appendInput(ValueClass slotClass, const char* label) {
    auto& own = NodeState::of(*this);
    auto slot = makeSlot(slotClass);
    slot->owner = this;
    slot->label = label;
    slot->index = static_cast<std::uint32_t>(own.inputSlots.size());
    own.inputSlots.append(*slot);
    return *slot.release();
}

void Node::makeOutput(ValueClass slotClass, bool withDefault) {
    auto& own = NodeState::of(*this);
    own.outputClass = slotClass;
    if (!withDefault) return;
    own.given.set(defaultValue(*payloadType(slotClass)));
    own.given.outputState |= GivenValue::holdsValue;
}

void NodeState::showOutput(Node& node) {
    takeShownInput();
    auto slot = makeSlot(*outputClass);
    slot->owner = &node;
    slot->isTyped = outputSpecializedFrom;
    slot->showGiven(given);
    auto* const shown = slot.get();
    if (ownsSlots) {
        static_cast<void>(slot.release());
    } else {
        withExtras().slots.push_back(std::move(slot));
    }
    outputSlot = shown;
}

const Value* NodeState::outputPayload() const {
    if (outputSlot != nullptr) return outputSlot->payload();
    if (showsInput) return inputSlots[0].payload();
    const bool isHeld = given.hasValue() && (given.outputState & GivenValue::holdsValue) != 0;
    return outputClass && isHeld ? &given.value : nullptr;
}

void NodeState::copyShownInput() {
    showsInput = false;
    const auto& input = inputSlots[0];
    if (const Value* const held = input.payload()) {
        given.set(*held);
        given.publish(0 <= input.timestamp() ? input.timestamp() : 0);
    }
    // So that the engine takes notice.
    noteHandWritten();
}

void NodeState::presentInputs(std::span<TimestampedVariable* const> slots) {
    ownsSlots = false;
    inputSlots.assign(slots);
}

void NodeState::presentOutput(TimestampedVariable* slot) {
    ownsSlots = false;
    outputSlot = slot;
    outputClass.reset();
    outputSpecializedFrom.reset();
    if (slot == nullptr) return;
    outputClass = slot->valueClass();
    outputSpecializedFrom = slot->isTyped;
}

TimestampedVariable& NodeState::replaceInput(Node& node, TimestampedVariable& old, ValueClass slotClass,
                                             std::optional<ValueClass> specializedFrom) {
    const auto* const label = old.label;
    const auto index = old.index;
    TimestampedVariable* replacement = nullptr;
    if (old.pinned) {
        auto& kept = withExtras().slots;
        kept.push_back(makeSlot(slotClass));
        replacement = kept.back().get();
        // By identity: a container presents slots that are numbered within their own nodes.
        inputSlots.replace(old, *replacement);
        if (ownsSlots) {
            static_cast<void>(kept.back().release());
            kept.back().reset(&old);
        }
    } else {
        replacement = &remakeSlot(old, slotClass);
    }
    replacement->owner = &node;
    replacement->label = label;
    replacement->index = index;
    replacement->isTyped = specializedFrom;
    noteChange();
    return *replacement;
}

void NodeState::replaceOutput(ValueClass slotClass, std::optional<ValueClass> specializedFrom) {
    if (outputSlot != nullptr) {
        // A slot that something refers to stays as it is; another one is made when it is asked for.
        if (ownsSlots && outputSlot->pinned) {
            withExtras().slots.emplace_back().reset(outputSlot);
        } else if (ownsSlots) {
            delete outputSlot;
        }
        outputSlot = nullptr;
    }
    outputClass = slotClass;
    outputSpecializedFrom = specializedFrom;
    // The new output is empty; what the old one gave stays with the slots that it feeds.
    given.outputState = 0;
    noteChange();
}

}  // namespace KelvaneSDK
