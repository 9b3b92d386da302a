#pragma once

#include "KelvaneSDK/Values/SlotClasses.h"

namespace KelvaneSDK {

// Every concrete class has two constructors: the plain one leaves the slot without a value; the one with an
// argument stores the type's default value when the argument is true.

/// A double. Arithmetic and comparisons are IEEE 754: a division by zero is an infinity or NaN, and NaN
/// compares false with everything.
class FloatValue final : public ValueVariable {
public:
    static constexpr ValueClass slotClass = ValueClass::FloatValue;
    FloatValue() = default;
    explicit FloatValue(bool withDefault) { fill(withDefault); }
    ValueClass valueClass() const override { return slotClass; }
    /// The C format "%g": six significant digits.
    std::string stringValue() const override;
    std::optional<Value> add(const TimestampedVariable& other) const override;
    std::optional<Value> subtract(const TimestampedVariable& other) const override;
    std::optional<Value> multiply(const TimestampedVariable& other) const override;
    std::optional<Value> divide(const TimestampedVariable& other) const override;
    std::optional<Value> scale(double factor) const override;
    std::optional<bool> isEqual(const TimestampedVariable& other) const override;
    std::optional<bool> isLarger(const TimestampedVariable& other) const override;
    std::optional<bool> isSmaller(const TimestampedVariable& other) const override;
    std::optional<bool> isSmallerOrEqual(const TimestampedVariable& other) const override;
    std::optional<bool> isLargerOrEqual(const TimestampedVariable& other) const override;
    std::optional<Value> negate() const override;
};

/// A signed 64-bit integer with checked arithmetic: an overflow, a division by zero and a scale factor that
/// is no 64-bit integer after truncation stop the program. Division truncates toward zero.
class IntegerValue final : public ValueVariable {
public:
    static constexpr ValueClass slotClass = ValueClass::IntegerValue;
    IntegerValue() = default;
    explicit IntegerValue(bool withDefault) { fill(withDefault); }
    ValueClass valueClass() const override { return slotClass; }
    std::string stringValue() const override;
    std::optional<Value> add(const TimestampedVariable& other) const override;
    std::optional<Value> subtract(const TimestampedVariable& other) const override;
    std::optional<Value> multiply(const TimestampedVariable& other) const override;
    std::optional<Value> divide(const TimestampedVariable& other) const override;
    std::optional<Value> scale(double factor) const override;
    std::optional<bool> isEqual(const TimestampedVariable& other) const override;
    std::optional<bool> isLarger(const TimestampedVariable& other) const override;
    std::optional<bool> isSmaller(const TimestampedVariable& other) const override;
    std::optional<bool> isSmallerOrEqual(const TimestampedVariable& other) const override;
    std::optional<bool> isLargerOrEqual(const TimestampedVariable& other) const override;
    std::optional<Value> negate() const override;
};

/// Three doubles; arithmetic is component by component (multiply is neither the dot nor the cross product).
class VectorValue final : public ValueVariable {
public:
    static constexpr ValueClass slotClass = ValueClass::VectorValue;
    VectorValue() = default;
    explicit VectorValue(bool withDefault) { fill(withDefault); }
    ValueClass valueClass() const override { return slotClass; }
    /// "(1.0, 2.0, 3.0)".
    std::string stringValue() const override;
    std::optional<Value> add(const TimestampedVariable& other) const override;
    std::optional<Value> subtract(const TimestampedVariable& other) const override;
    std::optional<Value> multiply(const TimestampedVariable& other) const override;
    std::optional<Value> divide(const TimestampedVariable& other) const override;
    std::optional<Value> scale(double factor) const override;
    std::optional<bool> isEqual(const TimestampedVariable& other) const override;
    std::optional<Value> negate() const override;
};

class BooleanValue final : public ValueVariable {
public:
    static constexpr ValueClass slotClass = ValueClass::BooleanValue;
    BooleanValue() = default;
    explicit BooleanValue(bool withDefault) { fill(withDefault); }
    ValueClass valueClass() const override { return slotClass; }
    std::string stringValue() const override;
    std::optional<bool> isEqual(const TimestampedVariable& other) const override;
    /// Logical not.
    std::optional<Value> negate() const override;
};

/// A quaternion. Sum, difference, scale and negation work on the four components; multiply is the Hamilton
/// product this × other (W. R. Hamilton, 1844), divide is this × inverse(other), the inverse being the
/// conjugate divided by the squared length. Nothing normalises.
class OrientationValue final : public ValueVariable {
public:
    static constexpr ValueClass slotClass = ValueClass::OrientationValue;
    OrientationValue() = default;
    explicit OrientationValue(bool withDefault) { fill(withDefault); }
    ValueClass valueClass() const override { return slotClass; }
    /// "(0.0, 0.0, 0.0, 1.0)".
    std::string stringValue() const override;
    std::optional<Value> add(const TimestampedVariable& other) const override;
    std::optional<Value> subtract(const TimestampedVariable& other) const override;
    std::optional<Value> multiply(const TimestampedVariable& other) const override;
    std::optional<Value> divide(const TimestampedVariable& other) const override;
    std::optional<Value> scale(double factor) const override;
    std::optional<bool> isEqual(const TimestampedVariable& other) const override;
    std::optional<Value> negate() const override;
};

/// A text. add() appends the other text; the orderings compare by Unicode scalar values after canonical
/// composition, and canonically equivalent texts are equal.
class StringValue final : public ValueVariable {
public:
    static constexpr ValueClass slotClass = ValueClass::StringValue;
    StringValue() = default;
    explicit StringValue(bool withDefault) { fill(withDefault); }
    ValueClass valueClass() const override { return slotClass; }
    std::string stringValue() const override;
    std::optional<Value> add(const TimestampedVariable& other) const override;
    std::optional<bool> isEqual(const TimestampedVariable& other) const override;
    std::optional<bool> isLarger(const TimestampedVariable& other) const override;
    std::optional<bool> isSmaller(const TimestampedVariable& other) const override;
    std::optional<bool> isSmallerOrEqual(const TimestampedVariable& other) const override;
    std::optional<bool> isLargerOrEqual(const TimestampedVariable& other) const override;
};

}  // namespace KelvaneSDK
