#include "KelvaneSDK/TimestampedVariable.h"

#include "KelvaneSDK/Diagnostics.h"
#include "KelvaneSDK/Node.h"

namespace KelvaneSDK {

TimestampedVariable::~TimestampedVariable() {
    if (isBound) bound->slot = nullptr;
    if (ownsSource) delete source;
}

void TimestampedVariable::bind(StepInput& input) {
    input = {source, source->clock, consumed(), this};
    bound = &input;
    isBound = true;
}

void TimestampedVariable::unbind() {
    consumedAt = consumed();
    isBound = false;
}

// From now on the slot counts for itself, whatever the slots do with which it was consumed.
void TimestampedVariable::leaveGroup() {
    if (!isBound || !bound->isTogether()) return;
    bound->slot = nullptr;
    unbind();
    if (owner != nullptr) owner->noteChange();
}

void TimestampedVariable::setConsumed(std::uint64_t at) {
    if (at == consumed()) return;
    leaveGroup();
    (isBound ? bound->consumed : consumedAt) = at;
}

// The slot's own value, made of what it shows at first.
GivenValue& TimestampedVariable::ownValue() {
    if (ownsSource) return *source;
    if (owner != nullptr && !isOutput) owner->takeShownInput();
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
    if (owner != nullptr) isOutput ? owner->noteHandWritten() : owner->noteChange();
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

void TimestampedVariable::dropHandWritten(GivenValue& nodesValue) {
    delete source;
    source = &nodesValue;
    source->special &= static_cast<std::uint8_t>(~GivenValue::isHandWritten);
    ownsSource = false;
}

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

void TimestampedVariable::unfeed(const GivenValue& feeder) {
    if (source == &feeder) ownValue();
}

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
        reportConversionError(text);
    }
}

void TimestampedVariable::reportConversionError(std::string_view text) const {
    printDiagnostic("ERROR: converting " + std::string(text) + " to " + std::string(typeString()) +
                    " failed!");
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
