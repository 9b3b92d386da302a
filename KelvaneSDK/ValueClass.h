#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>

#include "KelvaneSDK/Value.h"

namespace [[gnu::visibility("default")]] KelvaneSDK {

class TimestampedVariable;

/// The class of a value slot, as a value: what a slot can hold, its names and its companion class.
enum class ValueClass : std::uint8_t {
    TimestampedVariable,  ///< generic: any value
    ValueVariable,        ///< generic: any scalar
    FloatValue,
    IntegerValue,
    VectorValue,
    BooleanValue,
    OrientationValue,
    SequenceValue,
    StringValue,
    ArrayVariable,  ///< generic: any list
    FloatArrayVariable,
    IntegerArrayVariable,
    BooleanArrayVariable,
    StringArrayVariable,
    VectorArrayVariable,
    OrientationArrayVariable,
    SequenceArrayVariable,
};

/// The short code that decides connections: "f", "[f]", "?", ...
std::string_view typeCode(ValueClass valueClass);
/// The name in documents, output lists and messages: "Float", "Float array", "Generic value", ...
std::string_view typeString(ValueClass valueClass);
/// The class with this type string; absent for the generic classes' names and for any other text.
std::optional<ValueClass> concreteClassNamed(std::string_view typeString);
/// The payload type that slots of a concrete class hold; absent for the generic classes.
std::optional<ValueType> payloadType(ValueClass valueClass);
/// For a concrete scalar class the class of its arrays; absent otherwise.
std::optional<ValueClass> arrayClass(ValueClass valueClass);
/// For a concrete array class the class of one element; absent otherwise.
std::optional<ValueClass> elementClass(ValueClass valueClass);
/// The class that a generic slot takes on when a slot of class `from` is connected to it. A generic scalar
/// and a generic array adopt from each other through the companion class; absent where `from` has none.
std::optional<ValueClass> adoptedClass(ValueClass generic, ValueClass from);
/// True for the three classes that take on another class when they are connected.
bool isGeneric(ValueClass valueClass);
/// True for the classes whose code stands in brackets.
bool isArray(ValueClass valueClass);

/// Zero, the identity, false, or the empty text, sequence or list.
Value defaultValue(ValueType type);

/// The value of a class that a text says, or absent when it says none. Reads back whatever the class's
/// stringValue() writes: brackets and spaces are passed over, numbers stand between commas, vectors,
/// orientations and samples in groups of their width, the elements of a text array as they are. The empty
/// text is the empty list. Any thread; prints nothing.
std::optional<Value> valueFromText(ValueClass valueClass, std::string_view text);
/// False for the classes without a text form, the generic ones and sequence arrays.
bool readsText(ValueClass valueClass);

/// A new slot of a class; with `withDefault` a concrete one holds its type's default value (zero, the
/// identity, the empty text or list).
std::unique_ptr<TimestampedVariable> makeSlot(ValueClass valueClass, bool withDefault = false);
/// Ends a slot and puts a new one, without a value, in its place.
TimestampedVariable& remakeSlot(TimestampedVariable& slot, ValueClass valueClass);

}  // namespace KelvaneSDK
