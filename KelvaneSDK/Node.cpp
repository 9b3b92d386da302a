#include "KelvaneSDK/Node.h"

#include <algorithm>

#include "KelvaneSDK/Diagnostics.h"
#include "KelvaneSDK/FileProcessing/NumberText.h"

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

Node::~Node() {
    if (!ownsSlots) return;
    for (auto* input : inputSlots) delete input;
    delete outputSlot;
}

void Node::reset() {
    takeShownInput();
    for (auto* input : inputSlots) input->empty();
    noteChange();
    if (outputSlot != nullptr) {
        outputSlot->checked = false;
        outputSlot->setUpdated(false);
        if (auto* handWritten = outputSlot->handWritten()) {
            handWritten->timestamp = 0;
            return;
        }
    }
    givenValue.outputState &= GivenValue::holdsValue;
}

std::optional<std::string_view> Node::outputType() const {
    if (knownOutputType) return KelvaneSDK::typeString(*knownOutputType);
    return extras != nullptr ? std::optional<std::string_view>(extras->unknownType) : std::nullopt;
}

void Node::setOutputType(std::optional<std::string_view> typeName) {
    knownOutputType = typeName ? concreteClassNamed(*typeName) : std::nullopt;
    if (typeName && !knownOutputType) {
        withExtras().unknownType = *typeName;
    } else if (extras != nullptr) {
        extras->unknownType.reset();
    }
}

void Node::resolveOutputType() {
    const auto slotClass = requiredOutputClass();
    if (!isGeneric(slotClass)) {
        setOutputType(std::nullopt);
        knownOutputType = slotClass;
        return;
    }
    if (!outputType()) return printDiagnostic("ERROR: unexpected outputType == nil!");
    if (!knownOutputType) return printDiagnostic("ERROR: setting output type!");
    specializeGenericTypes(*knownOutputType);
}

void Node::specializeGenericTypes(ValueClass from) {
    if (outputClass && isGeneric(*outputClass)) {
        const auto generic = *outputClass;
        replaceOutput(adopted(generic, from, *this), generic);
        resolveOutputType();
    }
    for (std::size_t i = 0; i < inputSlots.size(); ++i) {
        auto& input = inputSlots[i];
        const auto generic = input.valueClass();
        if (isGeneric(generic)) replaceInput(input, adopted(generic, from, *input.owner), generic);
    }
}

void Node::connectOutput(TimestampedVariable& input) {
    Node* const receiver = input.owner;
    if (receiver == nullptr) stop("the slot to connect to has no owner");
    if (isGeneric(requiredOutputClass())) {
        const Pin pin(input);
        specializeGenericTypes(input.valueClass());
    }
    auto& connectedSlot = receiver->connectInput(input, *outputClass);
    connectedSlot.pinned = true;
    connectedSlots.append(connectedSlot);
    connectedSlot.feedFrom(givenValue);
    noteChange();
}

TimestampedVariable& Node::connectInput(TimestampedVariable& input, ValueClass from) {
    const auto generic = input.valueClass();
    if (!isGeneric(generic)) {
        input.connectable = false;
        return input;
    }
    if (std::find(inputSlots.begin(), inputSlots.end(), &input) == inputSlots.end()) {
        stop("a generic slot to connect is not among its node's inputs");
    }
    auto& specialized = replaceInput(input, adopted(generic, from, *input.owner), generic);
    specialized.connectable = false;
    specialized.pinned = true;
    specializeGenericTypes(specialized.valueClass());
    return specialized;
}

void Node::disconnect(TimestampedVariable& input) {
    connectedSlots.remove(input);
    input.unfeed(givenValue);
    noteChange();
    input.connectable = true;
    if (input.owner == nullptr) stop("the slot to disconnect has no owner");
    input.owner->revertIfNothingFixesTypes();
    revertIfNothingFixesTypes();
}

void Node::revertIfNothingFixesTypes() {
    bool anyTyped = false;
    for (const auto* input : inputSlots) {
        if (!input->isTyped) continue;
        if (!input->connectable) return;
        anyTyped = true;
    }
    if (!anyTyped) return;
    if (outputSpecializedFrom && connectedSlots.size() != 0) return;
    revertGenericTypes();
}

void Node::revertGenericTypes() {
    if (outputSpecializedFrom) replaceOutput(*outputSpecializedFrom, std::nullopt);
    for (std::size_t i = 0; i < inputSlots.size(); ++i) {
        auto& input = inputSlots[i];
        if (!input.isTyped) continue;
        replaceInput(input, *input.isTyped, std::nullopt);
        setOutputType(std::nullopt);
    }
}

bool Node::allInputsUpdated() const {
    return std::all_of(inputSlots.begin(), inputSlots.end(),
                       [](const auto* input) { return input->updated(); });
}

bool Node::allInputsHaveValues() const {
    return std::all_of(inputSlots.begin(), inputSlots.end(),
                       [](const auto* input) { return input->hasValue(); });
}

void Node::takeHandWritten() {
    auto* const written = outputSlot != nullptr ? outputSlot->handWritten() : nullptr;
    if (written == nullptr) return;
    if (written->hasValue()) {
        givenValue.set(std::move(written->value));
    } else {
        givenValue.clear();
    }
    givenValue.timestamp = written->timestamp;
    givenValue.isConstant = written->isConstant;
    givenValue.outputState = static_cast<std::uint8_t>(GivenValue::isStamped |
                                                       (givenValue.hasValue() ? GivenValue::holdsValue : 0) |
                                                       (outputSlot->updated() ? GivenValue::isUpdated : 0));
    outputSlot->dropHandWritten(givenValue);
}

void Node::forwardOutput() {
    takeHandWritten();
    if (!output().hasValue()) givenValue.clear();
    givenValue.timestamp = outputSlot->timestamp();
    ++givenValue.stamp;
    if (givenValue.special != 0) publishSpecially();
}

void Node::publishSpecially() {
    if (auto* written = outputSlot != nullptr ? outputSlot->handWritten() : nullptr) {
        // The value given just now is the later one.
        written->clear();
        outputSlot->dropHandWritten(givenValue);
    }
    if (givenValue.clock != &givenValue.stamp) {
        // A constant that gives its value within a batch has a clock of its own from now on.
        givenValue.stamp = *givenValue.clock + 1;
        givenValue.clock = &givenValue.stamp;
        givenValue.special &= static_cast<std::uint8_t>(~GivenValue::hasSharedClock);
        noteChange();
    }
    if ((givenValue.special & GivenValue::isCopied) == 0) return;
    for (auto* slot : connectedSlots) slot->take(givenValue);
}

void Node::refreshGiven() {
    takeHandWritten();
    if ((givenValue.special & GivenValue::isCopied) == 0) return;
    for (auto* slot : connectedSlots) slot->take(givenValue);
}

void Node::shareClock(const std::uint64_t& batches) {
    givenValue.clock = &batches;
    givenValue.special |= GivenValue::hasSharedClock;
}

double Node::latestInputTimestamp() const {
    double latest = 0;
    for (const auto* input : inputSlots) {
        const double timestamp = input->timestamp();
        if (latest <= timestamp) latest = timestamp;
    }
    return latest;
}

void Node::completeStep() {
    consumeInputs();
    if (outputPayload() == nullptr) return;
    takeHandWritten();
    checkElements(givenValue.value);
    publish(latestInputTimestamp());
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
    switch (labelState) {
        case LabelState::absent:
            return std::nullopt;
        case LabelState::isTypeString:
            return typeString;
        case LabelState::isOwn:
            break;
    }
    return extras->label;
}

void Node::setDescriptionString(std::optional<std::string_view> newLabel) {
    const bool isOwn = newLabel && *newLabel != typeString;
    if (isOwn) withExtras().label = *newLabel;
    labelState = isOwn ? LabelState::isOwn : newLabel ? LabelState::isTypeString : LabelState::absent;
    noteChange();
}

TimestampedVariable& Node::output() const {
    requiredOutputClass();
    return *outputValue();
}

ValueClass Node::requiredOutputClass() const {
    if (!outputClass) stop("the node has no output slot");
    return *outputClass;
}

void Node::stopOverElements(std::size_t count) const {
    stop("a list of " + std::to_string(count) + " elements is beyond the limit of " +
         std::to_string(state->budget.maxElements()));
}

void Node::stopWhenOver() const {
    const auto& budget = state->budget;
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

Node::Extras& Node::withExtras() {
    if (extras == nullptr) extras = std::make_unique<Extras>();
    return *extras;
}

TimestampedVariable& Node::appendInput(ValueClass slotClass, const char* label) {
    auto slot = makeSlot(slotClass);
    slot->owner = this;
    slot->label = label;
    slot->index = static_cast<std::uint32_t>(inputSlots.size());
    inputSlots.append(*slot);
    return *slot.release();
}

void Node::makeOutput(ValueClass slotClass, bool withDefault) {
    outputClass = slotClass;
    if (!withDefault) return;
    givenValue.set(defaultValue(*payloadType(slotClass)));
    givenValue.outputState |= GivenValue::holdsValue;
}

void Node::showOutput() {
    takeShownInput();
    auto slot = makeSlot(*outputClass);
    slot->owner = this;
    slot->isTyped = outputSpecializedFrom;
    slot->showGiven(givenValue);
    auto* const shown = slot.get();
    if (ownsSlots) {
        static_cast<void>(slot.release());
    } else {
        withExtras().slots.push_back(std::move(slot));
    }
    outputSlot = shown;
}

const Value* Node::outputPayload() const {
    if (outputSlot != nullptr) return outputSlot->payload();
    if (showsInput) return inputSlots[0].payload();
    const bool isHeld = givenValue.hasValue() && (givenValue.outputState & GivenValue::holdsValue) != 0;
    return outputClass && isHeld ? &givenValue.value : nullptr;
}

void Node::copyShownInput() {
    showsInput = false;
    const auto& input = inputSlots[0];
    if (const Value* const held = input.payload()) {
        givenValue.set(*held);
        givenValue.publish(0 <= input.timestamp() ? input.timestamp() : 0);
    }
    // So that the engine takes notice.
    noteHandWritten();
}

void Node::presentInputs(std::span<TimestampedVariable* const> slots) {
    ownsSlots = false;
    inputSlots.assign(slots);
}

void Node::presentOutput(TimestampedVariable* slot) {
    ownsSlots = false;
    outputSlot = slot;
    outputClass.reset();
    outputSpecializedFrom.reset();
    if (slot == nullptr) return;
    outputClass = slot->valueClass();
    outputSpecializedFrom = slot->isTyped;
}

TimestampedVariable& Node::replaceInput(TimestampedVariable& old, ValueClass slotClass,
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
    replacement->owner = this;
    replacement->label = label;
    replacement->index = index;
    replacement->isTyped = specializedFrom;
    noteChange();
    return *replacement;
}

void Node::replaceOutput(ValueClass slotClass, std::optional<ValueClass> specializedFrom) {
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
    givenValue.outputState = 0;
    noteChange();
}

}  // namespace KelvaneSDK
