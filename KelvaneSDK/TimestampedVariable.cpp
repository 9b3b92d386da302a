#include "KelvaneSDK/TimestampedVariable.h"

#include "KelvaneSDK/Diagnostics.h"
#include "KelvaneSDK/Nodes/NodeState.h"
#include "KelvaneSDK/Values/SlotClasses.h"

namespace KelvaneSDK {

TimestampedVariable::~TimestampedVariable() {
    if (isBound) bound->slot = nullptr;
    if (ownsSource) delete source;
}

const Value* TimestampedVariable::payload() const {
    if (source == nullptr || !source->hasValue()) return nullptr;
    if (!ownsSource &&
        !(isOutput ? (source->outputState & GivenValue::holdsValue) != 0 : *source->clock > emptiedAt)) {
        return nullptr;
    }
    return &source->value;
}

std::optional<Value> TimestampedVariable::value() const {
    const Value* held = payload();
    return held != nullptr ? std::optional<Value>(*held) : std::nullopt;
}

double TimestampedVariable::timestamp() const {
    if (source == nullptr) return 0;
    if (ownsSource) return source->timestamp;
    const bool isShown =
        isOutput ? (source->outputState & GivenValue::isStamped) != 0 : *source->clock > emptiedAt;
    return isShown ? source->timestamp : 0;
}

bool TimestampedVariable::updated() const {
    if (source == nullptr) return false;
    if (isOutput && !ownsSource) return (source->outputState & GivenValue::isUpdated) != 0;
    return *source->clock > consumed();
}

bool TimestampedVariable::isConstant() const {
    if (source == nullptr) return false;
    return ownsSource || isOutput || *source->clock > emptiedAt ? source->isConstant : wasConstant;
}

std::uint64_t TimestampedVariable::consumed() const { return isBound ? bound->consumedSoFar() : consumedAt; }

// An input that has got a value since it was consumed.
void TimestampedVariable::consume() {
    if (source != nullptr) setConsumed(*source->clock);
}

// Lets a compiled diagram keep count of what the slot, which something feeds, has consumed.
void TimestampedVariable::bind(StepInput& input) {
    input = {source, source->clock, consumed(), this};
    bound = &input;
    isBound = true;
}

// Takes the count back.
void TimestampedVariable::unbind() {
    consumedAt = consumed();
    isBound = false;
}

// From now on the slot counts for itself, whatever the slots do with which it was consumed.
void TimestampedVariable::leaveGroup() {
    if (!isBound || !bound->isTogether()) return;
    bound->slot = nullptr;
    unbind();
    if (owner != nullptr) NodeState::of(*owner).noteChange();
}

void TimestampedVariable::setConsumed(std::uint64_t at) {
    if (at == consumed()) return;
    leaveGroup();
    (isBound ? bound->consumed : consumedAt) = at;
}

// The slot's own value, made of what it shows at first.
GivenValue& TimestampedVariable::ownValue() {
    if (ownsSource) return *source;
    if (owner != nullptr && !isOutput) NodeState::of(*owner).takeShownInput();
    leaveGroup();
    auto own = std::make_unique<GivenValue>();
    if (const Value* held = payload()) own->set(*held);
    own->timestamp = timestamp();
    own->isConstant = isConstant();
    own->stamp = 1;
    const std::uint64_t consumedOfOne = updated() ? 0 : 1;
    if (isOutput) {
        source->special |= GivenValue::isHandWritten;
    } else if (source != nullptr) {
        source->special |= GivenValue::isCopied;
    }
    source = own.release();
    ownsSource = true;
    if (isBound) {
        bound->source = source;
        bound->clock = source->clock;
    }
    setConsumed(consumedOfOne);
    if (owner == nullptr) return *source;
    const auto& node = NodeState::of(*owner);
    isOutput ? node.noteHandWritten() : node.noteChange();
    return *source;
}

void TimestampedVariable::fill(bool withDefault) {
    // Called by constructors, in which valueClass() already is that of the class constructed.
    if (withDefault) setValue(defaultValue(*payloadType(valueClass())));
}

void TimestampedVariable::setValue(Value newValue) {
    if (isOutput && !ownsSource && *source->clock == 0) {
        // Nothing has been given yet, so nobody else reads it.
        source->set(std::move(newValue));
        source->outputState |= GivenValue::holdsValue;
        return;
    }
    ownValue().set(std::move(newValue));
}

void TimestampedVariable::clearValue() {
    if (isOutput && !ownsSource) {
        source->outputState &= static_cast<std::uint8_t>(~GivenValue::holdsValue);
    } else if (source != nullptr) {
        ownValue().clear();
    }
}

void TimestampedVariable::setTimestamp(double newTimestamp) { ownValue().timestamp = newTimestamp; }

void TimestampedVariable::setUpdated(bool isNew) {
    if (isNew == updated()) return;
    if (isOutput && !ownsSource) {
        source->outputState ^= GivenValue::isUpdated;
    } else if (!isNew) {
        consume();
    } else {
        setConsumed(*ownValue().clock - 1);
    }
}

void TimestampedVariable::setIsConstant(bool nowConstant) {
    if (isOutput && !ownsSource) {
        source->isConstant = nowConstant;
    } else if (nowConstant != isConstant()) {
        ownValue().isConstant = nowConstant;
    }
}

// Makes this the output slot that shows what its node gives.
void TimestampedVariable::showGiven(GivenValue& nodesValue) {
    source = &nodesValue;
    isOutput = true;
}

// Drops what was written by hand, so that the output shows what its node gives once more.
void TimestampedVariable::dropHandWritten(GivenValue& nodesValue) {
    delete source;
    source = &nodesValue;
    source->special &= static_cast<std::uint8_t>(~GivenValue::isHandWritten);
    ownsSource = false;
}

// Another node feeds this input: `feeder` is what it gives.
void TimestampedVariable::feedFrom(GivenValue& feeder) {
    if (source == &feeder) return;
    if (source == nullptr) {
        source = &feeder;
        emptiedAt = *feeder.clock;
        setConsumed(emptiedAt);
        return;
    }
    ownValue();
    feeder.special |= GivenValue::isCopied;
}

// A node no longer feeds this input, which keeps what it last got.
void TimestampedVariable::unfeed(const GivenValue& feeder) {
    if (source == &feeder) ownValue();
}

// Takes over what a feeder gives, where the slot has a value of its own.
void TimestampedVariable::take(const GivenValue& feeder) {
    if (source == &feeder) return;
    source->value = feeder.value;
    source->kind = feeder.kind;
    source->isConstant = feeder.isConstant;
    source->timestamp = feeder.timestamp;
    ++source->stamp;
}

// Forgets value, flags and timestamp of an input.
void TimestampedVariable::empty() {
    checked = false;
    if (source == nullptr) return;
    wasConstant = isConstant();
    emptiedAt = *source->clock;
    setConsumed(emptiedAt);
    if (!ownsSource) return;
    source->clear();
    source->timestamp = 0;
}

const Value& TimestampedVariable::required(ValueType type) const {
    const Value* held = payload();
    if (held == nullptr || held->type() != type) stopOnPayload(type);
    return *held;
}

const Value& TimestampedVariable::typedValue() const {
    const Value* held = payload();
    const auto wanted = payloadType(valueClass());
    if (wanted && (held == nullptr || held->type() != *wanted)) stopOnPayload(*wanted);
    if (held == nullptr) stop("input " + std::to_string(index) + " holds no value");
    return *held;
}

std::string TimestampedVariable::stringValue() const { return "<NO STRING CONVERSION>"; }

void TimestampedVariable::setValueFromString(std::string_view text) {
    if (!readsText(valueClass())) return;
    if (auto parsed = valueFromText(valueClass(), text)) {
        setValue(std::move(*parsed));
    } else {
        printDiagnostic("ERROR: converting " + std::string(text) + " to " + std::string(typeString()) +
                        " failed!");
    }
}

std::optional<Value> TimestampedVariable::add(const TimestampedVariable&) const { return std::nullopt; }
std::optional<Value> TimestampedVariable::subtract(const TimestampedVariable&) const { return std::nullopt; }
std::optional<Value> TimestampedVariable::multiply(const TimestampedVariable&) const { return std::nullopt; }
std::optional<Value> TimestampedVariable::divide(const TimestampedVariable&) const { return std::nullopt; }
std::optional<Value> TimestampedVariable::scale(double) const { return std::nullopt; }
std::optional<bool> TimestampedVariable::isEqual(const TimestampedVariable&) const { return std::nullopt; }
std::optional<bool> TimestampedVariable::isLarger(const TimestampedVariable&) const { return std::nullopt; }
std::optional<bool> TimestampedVariable::isSmaller(const TimestampedVariable&) const { return std::nullopt; }
std::optional<bool> TimestampedVariable::isSmallerOrEqual(const TimestampedVariable&) const {
    return std::nullopt;
}
std::optional<bool> TimestampedVariable::isLargerOrEqual(const TimestampedVariable&) const {
    return std::nullopt;
}
std::optional<Value> TimestampedVariable::negate() const { return std::nullopt; }

void TimestampedVariable::stop(std::string_view reason) const {
    if (owner != nullptr) owner->stop(reason);
    stopProgram(reason);
}

void TimestampedVariable::stopOnPayload(ValueType wanted) const {
    const std::string name = label != nullptr ? "input \"" + std::string(label) + "\"" : "a slot";
    const Value* held = payload();
    const std::string found =
        held != nullptr ? "a value of type " + std::string(valueTypeName(held->type())) : "no value";
    stop(name + " holds " + found + " where " + std::string(valueTypeName(wanted)) + " is needed");
}

}  // namespace KelvaneSDK
