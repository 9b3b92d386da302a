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

void Node::reset() {
    const auto clearFlags = [](TimestampedVariable& slot) {
        slot.updated = false;
        slot.checked = false;
        slot.timestamp = 0;
    };
    for (auto* input : inputSlots) {
        clearFlags(*input);
        input->clearValue();
    }
    if (outputSlot != nullptr) clearFlags(*outputSlot);
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
                       [](const auto* input) { return input->updated; });
}

bool Node::allInputsHaveValues() const {
    return std::all_of(inputSlots.begin(), inputSlots.end(),
                       [](const auto* input) { return input->hasValue(); });
}

void Node::forwardOutput() {
    for (auto* slot : connectedSlots) {
        slot->copyValue(*outputSlot);
        slot->isConstant = outputSlot->isConstant;
        slot->timestamp = outputSlot->timestamp;
        slot->updated = true;
    }
}

double Node::latestInputTimestamp() const {
    double latest = 0;
    for (const auto* input : inputSlots) {
        if (latest <= input->timestamp) latest = input->timestamp;
    }
    return latest;
}

void Node::completeStep() {
    for (auto* input : inputSlots) input->updated = false;
    if (outputSlot != nullptr && outputSlot->hasValue()) publishOutput();
}

void Node::publishOutput() {
    checkElements(outputSlot->payload()->elementCount());
    outputSlot->updated = true;
    outputSlot->timestamp = latestInputTimestamp();
    forwardOutput();
}

void Node::setProperty(std::string_view propertyString, std::string_view valueString) {
    if (propertyString == "Description") {
        descriptionString = std::string(valueString);
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
    if (!descriptionString) stop("the node has no label");
    return *descriptionString;
}

TimestampedVariable& Node::output() const {
    if (outputSlot == nullptr) stop("the node has no output slot");
    return *outputSlot;
}

void Node::stopOverElements(std::size_t count) const {
    stop("a list of " + std::to_string(count) + " elements is beyond" + std::string(beyondLimit) +
         std::to_string(budget->maxElements()));
}

void Node::stopOutOfTime() const {
    stop("the batch has taken longer than" + std::string(beyondLimit) +
         doubleText(budget->maxBatchSeconds()) + " seconds");
}

void Node::stop(std::string_view reason) const { stopProgram(nameInMessages() + ": " + std::string(reason)); }

std::string Node::nameInMessages() const {
    std::string name = id ? "node " + std::to_string(*id) : "a node without id";
    name += " (\"" + typeString + "\"";
    if (descriptionString) name += ", \"" + *descriptionString + "\"";
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
    outputSlot = &own(makeSlot(slotClass, withDefault));
    return *outputSlot;
}

TimestampedVariable& Node::replaceSlot(TimestampedVariable& old, ValueClass slotClass,
                                       std::optional<ValueClass> specializedFrom) {
    auto& replacement = own(makeSlot(slotClass));
    replacement.isTyped = specializedFrom;
    replacement.label = old.label;
    replacement.index = old.index;
    if (&old == outputSlot) {
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
