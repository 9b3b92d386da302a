#include "KelvaneSDK/Values/ScalarVariables.h"

#include "KelvaneSDK/FileProcessing/NumberText.h"
#include "KelvaneSDK/FileProcessing/ValueText.h"
#include "KelvaneSDK/Functions/ElementArithmetic.h"

namespace KelvaneSDK {

namespace {

template <class T>
std::optional<bool> exactlyEqual(const TimestampedVariable& a, const TimestampedVariable& b) {
    if (!isComparable(a, b)) return std::nullopt;
    return a.as<T>() == b.as<T>();
}

std::int64_t orStop(const TimestampedVariable& slot, std::optional<std::int64_t> result,
                    std::string_view reason) {
    if (!result) slot.stop(reason);
    return *result;
}

}  // namespace

std::string FloatValue::stringValue() const { return sixDigitText(as<double>()); }
std::optional<Value> FloatValue::add(const TimestampedVariable& other) const {
    return Value(as<double>() + other.as<double>());
}
std::optional<Value> FloatValue::subtract(const TimestampedVariable& other) const {
    return Value(as<double>() - other.as<double>());
}
std::optional<Value> FloatValue::multiply(const TimestampedVariable& other) const {
    return Value(as<double>() * other.as<double>());
}
std::optional<Value> FloatValue::divide(const TimestampedVariable& other) const {
    return Value(as<double>() / other.as<double>());
}
std::optional<Value> FloatValue::scale(double factor) const { return Value(as<double>() * factor); }
std::optional<bool> FloatValue::isEqual(const TimestampedVariable& other) const {
    return exactlyEqual<double>(*this, other);
}
std::optional<bool> FloatValue::isLarger(const TimestampedVariable& other) const {
    return as<double>() > other.as<double>();
}
std::optional<bool> FloatValue::isSmaller(const TimestampedVariable& other) const {
    return as<double>() < other.as<double>();
}
std::optional<bool> FloatValue::isSmallerOrEqual(const TimestampedVariable& other) const {
    return as<double>() <= other.as<double>();
}
std::optional<bool> FloatValue::isLargerOrEqual(const TimestampedVariable& other) const {
    return as<double>() >= other.as<double>();
}
std::optional<Value> FloatValue::negate() const { return Value(-as<double>()); }

std::string IntegerValue::stringValue() const { return std::to_string(as<std::int64_t>()); }
std::optional<Value> IntegerValue::add(const TimestampedVariable& other) const {
    return Value(orStop(*this, checkedSum(as<std::int64_t>(), other.as<std::int64_t>()),
                        "an integer addition overflows 64 bits"));
}
std::optional<Value> IntegerValue::subtract(const TimestampedVariable& other) const {
    return Value(orStop(*this, checkedDifference(as<std::int64_t>(), other.as<std::int64_t>()),
                        "an integer subtraction overflows 64 bits"));
}
std::optional<Value> IntegerValue::multiply(const TimestampedVariable& other) const {
    return Value(orStop(*this, checkedProduct(as<std::int64_t>(), other.as<std::int64_t>()),
                        "an integer multiplication overflows 64 bits"));
}
std::optional<Value> IntegerValue::divide(const TimestampedVariable& other) const {
    return Value(orStop(*this, checkedQuotient(as<std::int64_t>(), other.as<std::int64_t>()),
                        "an integer division is by zero or overflows 64 bits"));
}
std::optional<Value> IntegerValue::scale(double factor) const {
    const auto whole = truncatedInteger(factor);
    if (!whole) stop("the scale factor " + doubleText(factor) + " is no 64-bit integer");
    return Value(
        orStop(*this, checkedProduct(as<std::int64_t>(), *whole), "an integer scaling overflows 64 bits"));
}
std::optional<bool> IntegerValue::isEqual(const TimestampedVariable& other) const {
    return exactlyEqual<std::int64_t>(*this, other);
}
std::optional<bool> IntegerValue::isLarger(const TimestampedVariable& other) const {
    return as<std::int64_t>() > other.as<std::int64_t>();
}
std::optional<bool> IntegerValue::isSmaller(const TimestampedVariable& other) const {
    return as<std::int64_t>() < other.as<std::int64_t>();
}
std::optional<bool> IntegerValue::isSmallerOrEqual(const TimestampedVariable& other) const {
    return as<std::int64_t>() <= other.as<std::int64_t>();
}
std::optional<bool> IntegerValue::isLargerOrEqual(const TimestampedVariable& other) const {
    return as<std::int64_t>() >= other.as<std::int64_t>();
}
std::optional<Value> IntegerValue::negate() const {
    return Value(
        orStop(*this, checkedDifference(0, as<std::int64_t>()), "an integer negation overflows 64 bits"));
}

std::string VectorValue::stringValue() const {
    const auto v = as<Vector>();
    return "(" + doubleText(v.x) + ", " + doubleText(v.y) + ", " + doubleText(v.z) + ")";
}
std::optional<Value> VectorValue::add(const TimestampedVariable& other) const {
    return Value(as<Vector>() + other.as<Vector>());
}
std::optional<Value> VectorValue::subtract(const TimestampedVariable& other) const {
    return Value(as<Vector>() - other.as<Vector>());
}
std::optional<Value> VectorValue::multiply(const TimestampedVariable& other) const {
    return Value(as<Vector>() * other.as<Vector>());
}
std::optional<Value> VectorValue::divide(const TimestampedVariable& other) const {
    return Value(as<Vector>() / other.as<Vector>());
}
std::optional<Value> VectorValue::scale(double factor) const { return Value(as<Vector>() * factor); }
std::optional<bool> VectorValue::isEqual(const TimestampedVariable& other) const {
    return exactlyEqual<Vector>(*this, other);
}
std::optional<Value> VectorValue::negate() const { return Value(-as<Vector>()); }

std::string BooleanValue::stringValue() const { return as<bool>() ? "true" : "false"; }
std::optional<bool> BooleanValue::isEqual(const TimestampedVariable& other) const {
    return exactlyEqual<bool>(*this, other);
}
std::optional<Value> BooleanValue::negate() const { return Value(!as<bool>()); }

std::string OrientationValue::stringValue() const {
    const auto q = as<Orientation>();
    return "(" + doubleText(q.x) + ", " + doubleText(q.y) + ", " + doubleText(q.z) + ", " + doubleText(q.w) +
           ")";
}
std::optional<Value> OrientationValue::add(const TimestampedVariable& other) const {
    return Value(as<Orientation>() + other.as<Orientation>());
}
std::optional<Value> OrientationValue::subtract(const TimestampedVariable& other) const {
    return Value(as<Orientation>() - other.as<Orientation>());
}
std::optional<Value> OrientationValue::multiply(const TimestampedVariable& other) const {
    return Value(as<Orientation>() * other.as<Orientation>());
}
std::optional<Value> OrientationValue::divide(const TimestampedVariable& other) const {
    return Value(as<Orientation>() / other.as<Orientation>());
}
std::optional<Value> OrientationValue::scale(double factor) const {
    return Value(as<Orientation>() * factor);
}
std::optional<bool> OrientationValue::isEqual(const TimestampedVariable& other) const {
    return exactlyEqual<Orientation>(*this, other);
}
std::optional<Value> OrientationValue::negate() const { return Value(-as<Orientation>()); }

std::string StringValue::stringValue() const { return std::string(as<String>().view()); }
std::optional<Value> StringValue::add(const TimestampedVariable& other) const {
    return Value(as<String>() + other.as<String>());
}
std::optional<bool> StringValue::isEqual(const TimestampedVariable& other) const {
    if (!isComparable(*this, other)) return std::nullopt;
    return compareTexts(as<String>(), other.as<String>()) == 0;
}
std::optional<bool> StringValue::isLarger(const TimestampedVariable& other) const {
    return compareTexts(as<String>(), other.as<String>()) > 0;
}
std::optional<bool> StringValue::isSmaller(const TimestampedVariable& other) const {
    return compareTexts(as<String>(), other.as<String>()) < 0;
}
std::optional<bool> StringValue::isSmallerOrEqual(const TimestampedVariable& other) const {
    return compareTexts(as<String>(), other.as<String>()) <= 0;
}
std::optional<bool> StringValue::isLargerOrEqual(const TimestampedVariable& other) const {
    return compareTexts(as<String>(), other.as<String>()) >= 0;
}

}  // namespace KelvaneSDK
