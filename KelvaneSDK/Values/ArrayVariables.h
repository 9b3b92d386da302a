#pragma once

#include "KelvaneSDK/Values/SlotClasses.h"

namespace KelvaneSDK {

// Arithmetic on arrays works element by element, as on the scalar class, up to the shorter of the two lists.
// Arrays of different lengths cannot be compared (absent).

/// A list whose element type is not yet fixed, and the base of the typed lists.
class ArrayVariable : public TimestampedVariable {
public:
    static constexpr ValueClass slotClass = ValueClass::ArrayVariable;
    ValueClass valueClass() const override { return slotClass; }
    /// The list in rising or falling order: floats, integers, texts (as StringValue orders them) or booleans
    /// (false before true). Lists of other elements are reported with "ERROR: sorting unsupported type" and
    /// give absent; an empty list is returned as it is. NaN has no defined place.
    std::optional<Value> sorted(bool descending) const;
    /// The sum of the elements in list order (texts are joined), or absent when the elements have none.
    virtual std::optional<Value> sum() const;
};

class FloatArrayVariable final : public ArrayVariable {
public:
    static constexpr ValueClass slotClass = ValueClass::FloatArrayVariable;
    FloatArrayVariable() = default;
    explicit FloatArrayVariable(bool withDefault) { fill(withDefault); }
    ValueClass valueClass() const override { return slotClass; }
    /// "1.0,2.5".
    std::string stringValue() const override;
    std::optional<Value> add(const TimestampedVariable& other) const override;
    std::optional<Value> subtract(const TimestampedVariable& other) const override;
    std::optional<Value> multiply(const TimestampedVariable& other) const override;
    std::optional<Value> divide(const TimestampedVariable& other) const override;
    std::optional<Value> scale(double factor) const override;
    std::optional<bool> isEqual(const TimestampedVariable& other) const override;
    std::optional<Value> negate() const override;
    std::optional<Value> sum() const override;
};

class IntegerArrayVariable final : public ArrayVariable {
public:
    static constexpr ValueClass slotClass = ValueClass::IntegerArrayVariable;
    IntegerArrayVariable() = default;
    explicit IntegerArrayVariable(bool withDefault) { fill(withDefault); }
    ValueClass valueClass() const override { return slotClass; }
    /// The empty text for an empty list. A list with elements stops the program: its elements are read as
    /// doubles.
    std::string stringValue() const override;
    /// The factor is truncated to an integer first; overflow stops the program.
    std::optional<Value> scale(double factor) const override;
    std::optional<Value> sum() const override;
};

class BooleanArrayVariable final : public ArrayVariable {
public:
    static constexpr ValueClass slotClass = ValueClass::BooleanArrayVariable;
    BooleanArrayVariable() = default;
    explicit BooleanArrayVariable(bool withDefault) { fill(withDefault); }
    ValueClass valueClass() const override { return slotClass; }
    /// "true,false".
    std::string stringValue() const override;
    std::optional<bool> isEqual(const TimestampedVariable& other) const override;
    std::optional<Value> negate() const override;
};

class StringArrayVariable final : public ArrayVariable {
public:
    static constexpr ValueClass slotClass = ValueClass::StringArrayVariable;
    StringArrayVariable() = default;
    explicit StringArrayVariable(bool withDefault) { fill(withDefault); }
    ValueClass valueClass() const override { return slotClass; }
    /// "a,b".
    std::string stringValue() const override;
    std::optional<Value> add(const TimestampedVariable& other) const override;
    std::optional<bool> isEqual(const TimestampedVariable& other) const override;
    std::optional<Value> sum() const override;
};

class VectorArrayVariable final : public ArrayVariable {
public:
    static constexpr ValueClass slotClass = ValueClass::VectorArrayVariable;
    VectorArrayVariable() = default;
    explicit VectorArrayVariable(bool withDefault) { fill(withDefault); }
    ValueClass valueClass() const override { return slotClass; }
    /// "(x:1.0,y:0.0,z:0.0),(x:0.0,y:1.0,z:0.0)".
    std::string stringValue() const override;
    std::optional<Value> add(const TimestampedVariable& other) const override;
    std::optional<Value> subtract(const TimestampedVariable& other) const override;
    std::optional<Value> multiply(const TimestampedVariable& other) const override;
    std::optional<Value> divide(const TimestampedVariable& other) const override;
    std::optional<Value> scale(double factor) const override;
    std::optional<bool> isEqual(const TimestampedVariable& other) const override;
    std::optional<Value> negate() const override;
    std::optional<Value> sum() const override;
};

class OrientationArrayVariable final : public ArrayVariable {
public:
    static constexpr ValueClass slotClass = ValueClass::OrientationArrayVariable;
    OrientationArrayVariable() = default;
    explicit OrientationArrayVariable(bool withDefault) { fill(withDefault); }
    ValueClass valueClass() const override { return slotClass; }
    /// "(x:0.0,y:0.0,z:0.0,w:1.0)".
    std::string stringValue() const override;
    std::optional<Value> add(const TimestampedVariable& other) const override;
    std::optional<Value> subtract(const TimestampedVariable& other) const override;
    std::optional<Value> multiply(const TimestampedVariable& other) const override;
    std::optional<Value> divide(const TimestampedVariable& other) const override;
    std::optional<Value> scale(double factor) const override;
    std::optional<bool> isEqual(const TimestampedVariable& other) const override;
    std::optional<Value> negate() const override;
    /// The sum of the four components, from all zeros; not a product of rotations.
    std::optional<Value> sum() const override;
};

/// A list of sequences. It has no text form: it shows "<NO STRING CONVERSION>" and ignores text.
class SequenceArrayVariable final : public ArrayVariable {
public:
    static constexpr ValueClass slotClass = ValueClass::SequenceArrayVariable;
    SequenceArrayVariable() = default;
    explicit SequenceArrayVariable(bool withDefault) { fill(withDefault); }
    ValueClass valueClass() const override { return slotClass; }
};

}  // namespace KelvaneSDK
