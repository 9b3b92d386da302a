#pragma once

// Internal: how slots of a class are made, and which class a generic slot takes on.

#include <memory>

#include "KelvaneSDK/TimestampedVariable.h"

namespace KelvaneSDK {

/// For a concrete scalar class the class of its arrays; absent otherwise.
std::optional<ValueClass> arrayClass(ValueClass valueClass);
/// For a concrete array class the class of one element; absent otherwise.
std::optional<ValueClass> elementClass(ValueClass valueClass);
/// The class that a generic slot takes on when a slot of class `from` is connected to it. A generic scalar
/// and a generic array adopt from each other through the companion class; absent where `from` has none.
std::optional<ValueClass> adoptedClass(ValueClass generic, ValueClass from);

/// The concrete class whose slots hold such payloads.
ValueClass classHolding(ValueType type);

/// Zero, the identity, false, or the empty text, sequence or list.
Value defaultValue(ValueType type);

/// A new slot of a class; with `withDefault` a concrete one holds its type's default value (zero, the
/// identity, the empty text or list).
std::unique_ptr<TimestampedVariable> makeSlot(ValueClass valueClass, bool withDefault = false);
/// Ends a slot and puts a new one, without a value, in its place.
TimestampedVariable& remakeSlot(TimestampedVariable& slot, ValueClass valueClass);

/// False when both slots hold values of different types, for which isEqual() has no result.
inline bool isComparable(const TimestampedVariable& one, const TimestampedVariable& other) {
    const Value *a = one.payload(), *b = other.payload();
    return a == nullptr || b == nullptr || a->type() == b->type();
}

/// A generic scalar slot, whose type is not yet fixed.
class ValueVariable : public TimestampedVariable {
public:
    static constexpr ValueClass slotClass = ValueClass::ValueVariable;
    ValueClass valueClass() const override { return slotClass; }
};

}  // namespace KelvaneSDK
