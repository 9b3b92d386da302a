#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "KelvaneSDK/GivenValue.h"
#include "KelvaneSDK/Value.h"
#include "KelvaneSDK/ValueClass.h"

namespace [[gnu::visibility("default")]] KelvaneSDK {

class Node;

/// A value slot: an input or output of a node. It holds at most one value, says when that value was produced
/// and whether it is new, and offers the operations that let one function work for every type.
///
/// The root class itself is the generic slot that takes any value. Slots are unsynchronised and belong to the
/// thread that evaluates their diagram.
///
/// A slot that one node feeds reads that node's value where it stands. A slot that is written to by hand, or
/// that several nodes feed, has a value of its own, into which its feeders write.
///
/// Operations read this slot as the left operand and the other slot as the right one, and change neither. An
/// absent result means that the class does not support the operation. An operand without a value, or one
/// whose payload is not of this slot's class, stops the program; isEqual() alone returns absent for two
/// payloads of different types.
class TimestampedVariable {
public:
    static constexpr ValueClass slotClass = ValueClass::TimestampedVariable;
    TimestampedVariable() = default;
    virtual ~TimestampedVariable();
    TimestampedVariable(const TimestampedVariable&) = delete;
    TimestampedVariable& operator=(const TimestampedVariable&) = delete;

    virtual ValueClass valueClass() const { return slotClass; }
    std::string_view typeCode() const { return KelvaneSDK::typeCode(valueClass()); }
    std::string_view typeString() const { return KelvaneSDK::typeString(valueClass()); }
    /// The class of an array of such values (concrete scalar classes) or of one element (concrete array
    /// classes).
    std::optional<ValueClass> arrayType() const { return arrayClass(valueClass()); }
    std::optional<ValueClass> baseType() const { return elementClass(valueClass()); }
    bool isGenericSlot() const { return isGeneric(valueClass()); }

    bool hasValue() const { return payload() != nullptr; }
    std::optional<Value> value() const {
        const Value* held = payload();
        return held != nullptr ? std::optional<Value>(*held) : std::nullopt;
    }
    /// The value in place, or null; valid until the slot changes.
    const Value* payload() const {
        if (source == nullptr || !source->hasValue()) return nullptr;
        if (!ownsSource &&
            !(isOutput ? (source->outputState & GivenValue::holdsValue) != 0 : *source->clock > emptiedAt)) {
            return nullptr;
        }
        return &source->value;
    }
    void setValue(Value newValue);
    void setValue(std::optional<Value> newValue) { newValue ? setValue(std::move(*newValue)) : clearValue(); }
    void copyValue(const TimestampedVariable& from) { setValue(from.value()); }
    void clearValue();

    /// When the value was produced: the timestamp of its batch, in seconds.
    double timestamp() const {
        if (source == nullptr) return 0;
        if (ownsSource) return source->timestamp;
        const bool isShown =
            isOutput ? (source->outputState & GivenValue::isStamped) != 0 : *source->clock > emptiedAt;
        return isShown ? source->timestamp : 0;
    }
    void setTimestamp(double newTimestamp);
    /// A new value arrived that the node has not consumed yet.
    bool updated() const {
        if (source == nullptr) return false;
        if (isOutput && !ownsSource) return (source->outputState & GivenValue::isUpdated) != 0;
        return *source->clock > consumed();
    }
    void setUpdated(bool updated);
    /// The value came from a constant.
    bool isConstant() const {
        if (source == nullptr) return false;
        return ownsSource || isOutput || *source->clock > emptiedAt ? source->isConstant : wasConstant;
    }
    void setIsConstant(bool isConstant);

    /// The value as shown to users; classes without a text form return "<NO STRING CONVERSION>".
    virtual std::string stringValue() const;
    /// Replaces the value by the one that `text` says, as valueFromText() reads it; a text that does not
    /// parse is reported and changes nothing, and classes without a text form ignore it.
    virtual void setValueFromString(std::string_view text);
    /// Prints "ERROR: converting <text> to <typeString> failed!".
    void reportConversionError(std::string_view text) const;

    virtual std::optional<Value> add(const TimestampedVariable& other) const;
    virtual std::optional<Value> subtract(const TimestampedVariable& other) const;
    virtual std::optional<Value> multiply(const TimestampedVariable& other) const;
    virtual std::optional<Value> divide(const TimestampedVariable& other) const;
    virtual std::optional<Value> scale(double factor) const;
    virtual std::optional<bool> isEqual(const TimestampedVariable& other) const;
    virtual std::optional<bool> isLarger(const TimestampedVariable& other) const;
    virtual std::optional<bool> isSmaller(const TimestampedVariable& other) const;
    virtual std::optional<bool> isSmallerOrEqual(const TimestampedVariable& other) const;
    virtual std::optional<bool> isLargerOrEqual(const TimestampedVariable& other) const;
    virtual std::optional<Value> negate() const;

    /// False when both slots hold values of different types, for which isEqual() has no result.
    bool isComparable(const TimestampedVariable& other) const {
        const Value *a = payload(), *b = other.payload();
        return a == nullptr || b == nullptr || a->type() == b->type();
    }

    /// Stops the program with a reason that names the node that owns this slot.
    [[noreturn]] void stop(std::string_view reason) const;

    /// The value as a scalar payload; an absent value or another type stops the program.
    template <class T>
    T as() const {
        const Value* held = payload();
        if (held == nullptr || !held->holds<T>()) stopOnPayload(PayloadType<T>::value);
        return held->unchecked<T>();
    }
    /// The elements of the list, sequence or text in place; an absent value or another type stops the
    /// program.
    template <class Item>
    std::span<const Item> items(ValueType type) const {
        const Value* held = payload();
        if (held == nullptr || held->type() != type) stopOnPayload(type);
        return held->items<Item>();
    }
    /// The value, which must be of the type of the slot's class; for the generic classes any value.
    const Value& typedValue() const;

    /// The node that owns the slot.
    Node* owner = nullptr;
    /// The slot's name in the diagram: static text, or null.
    const char* label = nullptr;
    /// The position among its node's inputs; 0 for an output.
    std::uint32_t index = 0;
    /// The slot's upstream has been dealt with in this pass.
    bool checked : 1 = false;
    /// No connection feeds the slot.
    bool connectable : 1 = true;
    /// Something besides the owner refers to the slot, so that it must outlive its replacement.
    bool pinned : 1 = false;
    /// For a slot that was specialised: the generic class it came from.
    std::optional<ValueClass> isTyped;

    // How the engine and the nodes move values.

    /// What stands behind an input: the feeding node's given value, or the slot's own. Null before anything
    /// fed it.
    const GivenValue* given() const { return source; }
    /// An input that has got a value since it was consumed.
    void consume() {
        if (source != nullptr) setConsumed(*source->clock);
    }
    /// Lets a compiled diagram keep count of what the slot, which something feeds, has consumed.
    void bind(StepInput& input);
    /// Takes the count back.
    void unbind();
    /// Where the count is kept, or null.
    StepInput* boundInput() const { return isBound ? bound : nullptr; }
    /// Makes this the output slot that shows what its node gives.
    void showGiven(GivenValue& nodesValue) {
        source = &nodesValue;
        isOutput = true;
    }
    /// What was written to an output by hand since its node last gave something, or null.
    GivenValue* handWritten() { return isOutput && ownsSource ? source : nullptr; }
    /// Drops what was written by hand, so that the output shows what its node gives once more.
    void dropHandWritten(GivenValue& nodesValue);
    /// Another node feeds this input: `feeder` is what it gives.
    void feedFrom(GivenValue& feeder);
    /// A node no longer feeds this input, which keeps what it last got.
    void unfeed(const GivenValue& feeder);
    /// Takes over what a feeder gives, where the slot has a value of its own.
    void take(const GivenValue& feeder) {
        if (source == &feeder) return;
        source->value = feeder.value;
        source->kind = feeder.kind;
        source->isConstant = feeder.isConstant;
        source->timestamp = feeder.timestamp;
        ++source->stamp;
    }
    /// Forgets value, flags and timestamp of an input.
    void empty();

protected:
    /// Stores the default value of the slot's class when asked to.
    void fill(bool withDefault);

private:
    [[noreturn]] void stopOnPayload(ValueType wanted) const;
    GivenValue& ownValue();

    std::uint64_t consumed() const { return isBound ? bound->consumedSoFar() : consumedAt; }
    void setConsumed(std::uint64_t at);
    void leaveGroup();

    bool ownsSource : 1 = false;
    bool isOutput : 1 = false;
    bool wasConstant : 1 = false;
    bool isBound : 1 = false;
    GivenValue* source = nullptr;
    // By the source's clock; while the slot is bound, the count stands there.
    union {
        std::uint64_t consumedAt = 0;
        StepInput* bound;
    };
    std::uint64_t emptiedAt = 0;
};

/// A generic scalar slot, whose type is not yet fixed.
class ValueVariable : public TimestampedVariable {
public:
    static constexpr ValueClass slotClass = ValueClass::ValueVariable;
    ValueClass valueClass() const override { return slotClass; }
};

}  // namespace KelvaneSDK
