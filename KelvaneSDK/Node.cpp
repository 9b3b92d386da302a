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

Node::~Node() = default;

void Node::reset() {
    for (auto* input : inputSlots) input->empty();
    noteChange();
    if (outputSlot == nullptr) return;
    outputSlot->checked = false;
    outputSlot->setUpdated(false);
    if (auto* handWritten = outputSlot->handWritten()) {
        handWritten->timestamp = 0;
    } else {
        givenValue.outputState &= GivenValue::holdsValue;
    }
}

void Node::resolveOutputType() {
    if (!output().isGenericSlot()) {
        outputType = std::string(outputSlot->typeString());
        return;
    }
    if (!outputType) return printDiagnostic("ERROR: unexpected outputType == nil!");
    const auto templateClass = concreteClassNamed(*outputType);
    if (!templateClass) return printDiagnostic("ERROR: setting output type!");
    specializeGenericTypes(*makeSlot(*templateClass));
}

void Node::specializeGenericTypes(const TimestampedVariable& variable) {
    const Pin pin(variable);
    if (outputSlot != nullptr && outputSlot->isGenericSlot()) {
        const auto genericClass = outputSlot->valueClass();
        replaceSlot(*outputSlot, outputSlot->adoptedType(variable), genericClass);
        resolveOutputType();
    }
    for (std::size_t i = 0; i < inputSlots.size(); ++i) {
        auto& input = *inputSlots[i];
        if (input.isGenericSlot()) replaceSlot(input, input.adoptedType(variable), input.valueClass());
    }
}

void Node::connectOutput(TimestampedVariable& input) {
    Node* const receiver = input.owner;
    if (receiver == nullptr) stop("the slot to connect to has no owner");
    TimestampedVariable* connectedSlot = nullptr;
    {
        const Pin pin(input);
        if (output().isGenericSlot()) specializeGenericTypes(input);
        connectedSlot = &receiver->connectInput(input, *outputSlot);
    }
    if (connectedSlot != &input) receiver->dropUnlessPinned(input);
    connectedSlot->pinned = true;
    connectedSlots.push_back(connectedSlot);
    connectedSlot->feedFrom(givenValue);
    noteChange();
}

TimestampedVariable& Node::connectInput(TimestampedVariable& input, const TimestampedVariable& from) {
    if (!input.isGenericSlot()) {
        input.connectable = false;
        return input;
    }
    if (std::find(inputSlots.begin(), inputSlots.end(), &input) == inputSlots.end()) {
        stop("a generic slot to connect is not among its node's inputs");
    }
    auto& specialized = replaceSlot(input, input.adoptedType(from), input.valueClass());
    specialized.connectable = false;
    specialized.pinned = true;
    specializeGenericTypes(specialized);
    return specialized;
}

void Node::disconnect(TimestampedVariable& input) {
    std::erase(connectedSlots, &input);
    input.unfeed(givenValue);
    noteChange();
    input.connectable = true;
    if (input.owner == nullptr) stop("the slot to disconnect has no owner");
    Node& receiver = *input.owner;
    const Pin pin(input);
    receiver.revertIfNothingFixesTypes();
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
    if (outputSlot != nullptr && outputSlot->isTyped && !connectedSlots.empty()) return;
    revertGenericTypes();
}

void Node::revertGenericTypes() {
    if (outputSlot != nullptr && outputSlot->isTyped)
        replaceSlot(*outputSlot, *outputSlot->isTyped, std::nullopt);
    for (std::size_t i = 0; i < inputSlots.size(); ++i) {
        if (!inputSlots[i]->isTyped) continue;
        replaceSlot(*inputSlots[i], *inputSlots[i]->isTyped, std::nullopt);
        outputType.reset();
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
    auto* const written = outputSlot->handWritten();
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
    if (!outputSlot->hasValue()) givenValue.clear();
    givenValue.timestamp = outputSlot->timestamp();
    ++givenValue.stamp;
    if (givenValue.special != 0) publishSpecially();
}

void Node::publishSpecially() {
    if (auto* written = outputSlot->handWritten()) {
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
    if (outputSlot == nullptr || !outputSlot->hasValue()) return;
    takeHandWritten();
    checkElements(givenValue.value.elementCount());
    publish(latestInputTimestamp());
}

void Node::setProperty(std::string_view propertyString, std::string_view valueString) {
    if (propertyString == "Description") {
        setDescriptionString(std::string(valueString));
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

const std::string& Node::label() const {
    if (!labelText) stop("the node has no label");
    return *labelText;
}

TimestampedVariable& Node::output() const {
    if (outputSlot == nullptr) stop("the node has no output slot");
    return *outputSlot;
}

void Node::stopOverElements(std::size_t count) const {
    stop("a list of " + std::to_string(count) + " elements is beyond" + std::string(beyondLimit) +
         std::to_string(state->budget.maxElements()));
}

void Node::stopWhenOver() const {
    const auto& budget = state->budget;
    if (budget.isInterrupted()) stop(wasInterrupted);
    if (!budget.isOutOfTime()) return;
    stop("the batch has taken longer than" + std::string(beyondLimit) + doubleText(budget.maxBatchSeconds()) +
         " seconds");
}

void Node::stop(std::string_view reason) const {
    stopProgram(nameInMessages() + ": " + std::string(reason), id);
}

std::string Node::nameInMessages() const {
    std::string name = id ? "node " + std::to_string(*id) : "a node without id";
    name += " (\"" + typeString + "\"";
    if (labelText) name += ", \"" + *labelText + "\"";
    return name + ")";
}

TimestampedVariable& Node::own(std::unique_ptr<TimestampedVariable> slot) {
    slot->owner = this;
    ownedSlots.push_back(std::move(slot));
    return *ownedSlots.back();
}

TimestampedVariable& Node::appendInput(ValueClass slotClass, const char* label) {
    auto& slot = own(makeSlot(slotClass));
    slot.label = label;
    slot.index = static_cast<std::uint32_t>(inputSlots.size());
    inputSlots.push_back(&slot);
    return slot;
}

TimestampedVariable& Node::makeOutput(ValueClass slotClass, bool withDefault) {
    auto slot = makeSlot(slotClass);
    slot->showGiven(givenValue);
    outputSlot = &own(std::move(slot));
    if (withDefault) outputSlot->setValue(defaultValue(*payloadType(slotClass)));
    return *outputSlot;
}

TimestampedVariable& Node::replaceSlot(TimestampedVariable& old, ValueClass slotClass,
                                       std::optional<ValueClass> specializedFrom) {
    auto& replacement = own(makeSlot(slotClass));
    noteChange();
    replacement.isTyped = specializedFrom;
    replacement.label = old.label;
    replacement.index = old.index;
    if (&old == outputSlot) {
        // The new output is empty; what the old one gave stays with the slots that it feeds.
        replacement.showGiven(givenValue);
        givenValue.outputState = 0;
        outputSlot = &replacement;
    } else {
        // By identity: a container presents slots that are numbered within their own nodes.
        std::replace(inputSlots.begin(), inputSlots.end(), &old, &replacement);
    }
    dropUnlessPinned(old);
    return replacement;
}

void Node::dropUnlessPinned(const TimestampedVariable& slot) {
    if (slot.pinned) return;
    std::erase_if(ownedSlots, [&](const auto& owned) { return owned.get() == &slot; });
}

}  // namespace KelvaneSDK
