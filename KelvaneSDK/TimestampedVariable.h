#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "KelvaneSDK/Value.h"
#include "KelvaneSDK/ValueClass.h"

namespace KelvaneSDK {

class Node;

/// A value slot: an input or output of a node. It holds at most one value, says when that value was produced
/// and whether it is new, and offers the operations that let one function work for every type.
///
/// The root class itself is the generic slot that takes any value. Slots are unsynchronised and belong to the
/// thread that evaluates their diagram.
///
/// Operations read this slot as the left operand and the other slot as the right one, and change neither. An
/// absent result means that the class does not support the operation. An operand without a value, or one
/// whose payload is not of this slot's class, stops the program; isEqual() alone answers absent for two
/// payloads of different types.
class TimestampedVariable {
public:
    static constexpr ValueClass slotClass = ValueClass::TimestampedVariable;
    TimestampedVariable() = default;
    virtual ~TimestampedVariable() = default;
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

    /// The class that this slot takes on when `source` is connected to it. A generic scalar and a generic
    /// array adopt from each other through the companion class; a source without one stops the program.
    ValueClass adoptedType(const TimestampedVariable& source) const;

    bool hasValue() const { return present; }
    std::optional<Value> value() const { return present ? std::optional<Value>(stored) : std::nullopt; }
    /// The value in place, or null; valid until the slot changes.
    const Value* payload() const { return present ? &stored : nullptr; }
    void setValue(Value newValue) {
        stored = std::move(newValue);
        present = true;
    }
    void setValue(std::optional<Value> newValue) { newValue ? setValue(std::move(*newValue)) : clearValue(); }
    void copyValue(const TimestampedVariable& from) {
        present = from.present;
        stored = from.stored;
    }
    void clearValue() {
        present = false;
        stored = Value(0.0);
    }

    /// The value as shown to users; classes without a text form answer "<NO STRING CONVERSION>".
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

    /// False when both slots hold values of different types, for which isEqual() has no answer.
    bool isComparable(const TimestampedVariable& other) const {
        return !present || !other.present || stored.type() == other.stored.type();
    }

    /// Stops the program with a reason that names the node that owns this slot.
    [[noreturn]] void stop(std::string_view reason) const;

    /// The value as a scalar payload; an absent value or another type stops the program.
    template <class T>
    T as() const {
        if (!present || !stored.holds<T>()) stopOnPayload(PayloadType<T>::value);
        return *stored.get<T>();
    }
    /// The elements of the list, sequence or text in place; an absent value or another type stops the
    /// program.
    template <class Item>
    std::span<const Item> items(ValueType type) const {
        if (!present || stored.type() != type) stopOnPayload(type);
        return stored.items<Item>();
    }

    /// When the value was produced: the timestamp of its batch, in seconds.
    double timestamp = 0;
    /// The node that owns the slot.
    Node* owner = nullptr;
    /// The slot's name in the diagram: static text, or null.
    const char* label = nullptr;
    /// The position among its node's inputs; 0 for an output.
    std::uint32_t index = 0;
    /// A new value arrived that the node has not consumed yet.
    bool updated = false;
    /// The slot's upstream has been dealt with in this pass.
    bool checked = false;
    /// No connection feeds the slot.
    bool connectable = true;
    /// The value came from a constant.
    bool isConstant = false;
    /// Something besides the owner refers to the slot, so that it must outlive its replacement.
    bool pinned = false;
    /// For a slot that was specialised: the generic class it came from.
    std::optional<ValueClass> isTyped;

private:
    [[noreturn]] void stopOnPayload(ValueType wanted) const;

    bool present = false;
    Value stored = Value(0.0);
};

/// A generic scalar slot, whose type is not yet fixed.
class ValueVariable : public TimestampedVariable {
public:
    static constexpr ValueClass slotClass = ValueClass::ValueVariable;
    ValueClass valueClass() const override { return slotClass; }
};

}  // namespace KelvaneSDK
