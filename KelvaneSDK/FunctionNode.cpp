#include "KelvaneSDK/FunctionNode.h"

#include <algorithm>
#include <array>

#include "KelvaneSDK/FunctionRows.h"
#include "KelvaneSDK/Nodes/Step.h"
#include "KelvaneSDK/Values/SlotClasses.h"

namespace KelvaneSDK {

namespace {

// A class of the library that runs by the common rule.
bool runByCommonRule(Step& step) {
    for (std::size_t i = 0; i < step.inputCount; ++i) {
        if (!step.inputs[i].hasNews() || !step.inputs[i].source->hasValue()) return false;
    }
    step.node->process();
    return true;
}

// A class of the library with another rule.
bool runByDeclaredRule(Step& step) {
    if (!step.node->allInputsHaveValues() || !step.node->allInputsUpdated()) return false;
    step.node->process();
    return true;
}

// A class of which nothing is known: it sees the slots as the sweep leaves them.
bool runByUnknownRule(Step& step) {
    for (auto* slot : step.node->inputValues()) slot->checked = true;
    for (auto* slot : step.node->connectedInputValues()) slot->checked = true;
    return runByDeclaredRule(step);
}

}  // namespace

void FunctionNode::initialize() {
    createInputs();
    createOutput();
    category = NodeCategory::Function;
    setTypeString();
    setDescriptionString(typeString);
}

void FunctionNode::createInputs() {
    if (declared == nullptr) return;
    for (const auto& [label, type, meaning] : declared->inputs) appendInput(type, label);
}

void FunctionNode::createOutput() {
    if (declared != nullptr) makeOutput(declared->output);
}

void FunctionNode::setTypeString() {
    if (declared != nullptr) typeString = declared->name;
}

std::span<const ValueClass> FunctionNode::unsupportedTypes() const {
    return declared != nullptr ? std::span<const ValueClass>(declared->unsupported)
                               : Node::unsupportedTypes();
}

void FunctionNode::prepare(Step& step) const {
    const bool isUnknown = declared == nullptr || declared->readiness == Readiness::own;
    step.run = isUnknown                                     ? runByUnknownRule
               : declared->readiness == Readiness::allInputs ? runByCommonRule
                                                             : runByDeclaredRule;
}

const Value& FunctionNode::value(std::size_t index) const {
    const Value* payload = input(index).payload();
    if (payload == nullptr) stop("input " + std::to_string(index) + " holds no value");
    return *payload;
}

double FunctionNode::real(std::size_t index) const { return input(index).as<double>(); }
std::int64_t FunctionNode::integer(std::size_t index) const { return input(index).as<std::int64_t>(); }
bool FunctionNode::boolean(std::size_t index) const { return input(index).as<bool>(); }
Vector FunctionNode::vector(std::size_t index) const { return input(index).as<Vector>(); }
Orientation FunctionNode::orientation(std::size_t index) const { return input(index).as<Orientation>(); }

std::span<const Sample> FunctionNode::samples(std::size_t index) const {
    return input(index).items<Sample>(ValueType::Sequence);
}

std::string_view FunctionNode::text(std::size_t index) const {
    const auto characters = input(index).items<char>(ValueType::String);
    return {characters.data(), characters.size()};
}

void FunctionNode::finish(Value newOutput) {
    auto& state = NodeState::of(*this);
    state.checkElements(newOutput, *this);
    state.consumeInputs();
    state.give(std::move(newOutput), latestInputTimestamp());
}

void FunctionNode::finishOrClear(std::optional<Value> newOutput) {
    if (newOutput) return finish(*std::move(newOutput));
    output().clearValue();
    endWithoutOutput("there is no result for such values");
}

void FunctionNode::endWithoutOutput(const char* reason) {
    NodeState::of(*this).noteSilence(reason);
    consumeInputs();
}

void FunctionNode::stopOnViolation() const {
    std::array<const Value*, mostDeclaredInputs> values{};
    std::array<ValueClass, mostDeclaredInputs> types{};
    std::size_t count = 0;
    for (const auto* slot : inputValues()) {
        const Value* held = slot->payload();
        const auto wanted = payloadType(slot->valueClass());
        // What is not of its slot's type stops where it is read, if it is.
        const bool fits = held != nullptr && (!wanted || held->type() == *wanted);
        values.at(count) = fits ? held : nullptr;
        types.at(count++) = slot->valueClass();
    }
    const auto isDecidable = [&](const Demand& demand) {
        for (std::size_t i = 0; i < count; ++i) {
            if (demand.inputs.contains(i) && values.at(i) == nullptr) return false;
        }
        return true;
    };
    for (const auto& demand : declared->demands) {
        if (!demand.isAskedEachStep || !isDecidable(demand)) continue;
        if (const auto why = demand.violation({values.data(), count}, {types.data(), count})) stop(*why);
    }
}

void FunctionNode::emit(Value newOutput) {
    auto& state = NodeState::of(*this);
    state.checkElements(newOutput, *this);
    state.give(std::move(newOutput), latestInputTimestamp());
}

void FunctionNode::consume(std::size_t index) {
    auto& slot = *inputValues()[index];
    slot.setUpdated(false);
}

namespace Rows {

void RowNode::process() {
    askDemands();
    declaration()->rowCode->call(*this);
}

void RowNode::prepare(Step& step) const {
    FunctionNode::prepare(step);
    if (const auto prepareQuickly = declaration()->rowCode->prepare) prepareQuickly(*this, step);
}

bool RowNode::asksEachStep() const {
    const auto& demands = declaration()->demands;
    return std::any_of(demands.begin(), demands.end(),
                       [](const Demand& demand) { return demand.isAskedEachStep; });
}

void RowNode::askDemands() const {
    if (!declaration()->demands.empty()) stopOnViolation();
}

void RowNode::fallSilent(Silent silence) {
    if (silence.effect == Silent::clearsOutput) output().clearValue();
    if (silence.effect != Silent::consumesInput1) return endWithoutOutput(silence.reason);
    NodeState::of(*this).noteSilence(silence.reason);
    consume(1);
}

NodeClass row(const char* name, std::initializer_list<RowSlot> slots, const char* description,
              const RowCode& code) {
    Declaration declaration{.name = name, .description = description, .rowCode = &code};
    const auto* slot = slots.begin();
    for (const auto& type : code.slotTypes) {
        declaration.inputs.push_back(
            {slot->label, type ? classHolding(*type) : slot->genericType, slot->meaning});
        ++slot;
    }
    if (code.outputType) declaration.output = classHolding(*code.outputType);
    declaration.takesAnything = code.takesAnything;
    declaration.forwards = code.forwards;
    declaration.keepsState = code.makeStateful != nullptr;
    return NodeClass::declared(std::move(declaration),
                               code.makeStateful != nullptr ? code.makeStateful : makeDeclared<RowNode>);
}

}  // namespace Rows

}  // namespace KelvaneSDK
