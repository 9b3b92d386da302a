#include "KelvaneSDK/Values/ArrayVariables.h"

#include <algorithm>
#include <functional>

#include "KelvaneSDK/Diagnostics.h"
#include "KelvaneSDK/FileProcessing/NumberText.h"
#include "KelvaneSDK/FileProcessing/ValueText.h"
#include "KelvaneSDK/Functions/ElementArithmetic.h"

namespace KelvaneSDK {

namespace {

template <class Item>
std::span<const Item> itemsOf(const TimestampedVariable& slot) {
    return slot.items<Item>(PayloadType<List<Item>>::value);
}

template <class Item, class Operation>
Value combined(const TimestampedVariable& a, const TimestampedVariable& b, Operation operation) {
    const auto left = itemsOf<Item>(a);
    const auto right = itemsOf<Item>(b);
    const std::size_t count = std::min(left.size(), right.size());
    ListBuilder<Item> result(count);
    for (std::size_t i = 0; i < count; ++i) result.append(operation(left[i], right[i]));
    return Value(result.finish());
}

template <class Item, class Operation>
Value mapped(const TimestampedVariable& slot, Operation operation) {
    const auto items = itemsOf<Item>(slot);
    ListBuilder<Item> result(items.size());
    for (const auto& item : items) result.append(operation(item));
    return Value(result.finish());
}

template <class Item>
Value total(const TimestampedVariable& slot, Item start) {
    for (const auto& item : itemsOf<Item>(slot)) start = start + item;
    return Value(start);
}

template <class Item, class Same = std::equal_to<Item>>
std::optional<bool> equalLists(const TimestampedVariable& a, const TimestampedVariable& b, Same same = {}) {
    if (!isComparable(a, b)) return std::nullopt;
    const auto left = itemsOf<Item>(a);
    const auto right = itemsOf<Item>(b);
    if (left.size() != right.size()) return std::nullopt;
    return std::equal(left.begin(), left.end(), right.begin(), same);
}

template <class Item, class Append>
std::string joined(const TimestampedVariable& slot, Append append) {
    std::string text;
    for (const auto& item : itemsOf<Item>(slot)) {
        if (&item != itemsOf<Item>(slot).data()) text += ',';
        append(text, item);
    }
    return text;
}

template <class Item, class Less>
Value sortedItems(const Value& list, bool descending, Less less) {
    ListBuilder<Item> result(list.items<Item>().size());
    result.append(list.items<Item>());
    const auto copy = result.items();
    std::sort(copy.begin(), copy.end(),
              [&](const Item& a, const Item& b) { return descending ? less(b, a) : less(a, b); });
    return Value(result.finish());
}

// NaN has no place in an order; last is one that keeps the comparison a strict weak ordering.
bool floatLess(double a, double b) { return a < b || (b != b && a == a); }

}  // namespace

std::optional<Value> ArrayVariable::sorted(bool descending) const {
    if (!hasValue()) stop("an array without a value was to be sorted");
    const Value& list = *payload();
    switch (list.type()) {
        case ValueType::FloatArray:
            return sortedItems<double>(list, descending, floatLess);
        case ValueType::IntegerArray:
            return sortedItems<std::int64_t>(list, descending, std::less<>());
        case ValueType::StringArray:
            return sortedItems<String>(
                list, descending, [](const String& a, const String& b) { return compareTexts(a, b) < 0; });
        case ValueType::BooleanArray:
            return sortedItems<bool>(list, descending, std::less<>());
        case ValueType::VectorArray:
            if (list.items<Vector>().empty()) return list;
            break;
        case ValueType::OrientationArray:
            if (list.items<Orientation>().empty()) return list;
            break;
        case ValueType::SequenceArray:
            if (list.items<Sequence>().empty()) return list;
            break;
        default:
            stop("a value of type " + std::string(valueTypeName(list.type())) + " was to be sorted");
    }
    printDiagnostic("ERROR: sorting unsupported type");
    return std::nullopt;
}

std::optional<Value> ArrayVariable::sum() const { return std::nullopt; }

std::string FloatArrayVariable::stringValue() const { return joinedDoubles(itemsOf<double>(*this)); }
std::optional<Value> FloatArrayVariable::add(const TimestampedVariable& other) const {
    return combined<double>(*this, other, std::plus<>());
}
std::optional<Value> FloatArrayVariable::subtract(const TimestampedVariable& other) const {
    return combined<double>(*this, other, std::minus<>());
}
std::optional<Value> FloatArrayVariable::multiply(const TimestampedVariable& other) const {
    return combined<double>(*this, other, std::multiplies<>());
}
std::optional<Value> FloatArrayVariable::divide(const TimestampedVariable& other) const {
    return combined<double>(*this, other, std::divides<>());
}
std::optional<Value> FloatArrayVariable::scale(double factor) const {
    return mapped<double>(*this, [factor](double x) { return x * factor; });
}
std::optional<bool> FloatArrayVariable::isEqual(const TimestampedVariable& other) const {
    return equalLists<double>(*this, other);
}
std::optional<Value> FloatArrayVariable::negate() const { return mapped<double>(*this, std::negate<>()); }
std::optional<Value> FloatArrayVariable::sum() const { return total<double>(*this, 0.0); }

std::string IntegerArrayVariable::stringValue() const {
    if (!itemsOf<std::int64_t>(*this).empty()) {
        stop("an integer array has no text form unless it is empty (its elements are read as doubles)");
    }
    return {};
}
std::optional<Value> IntegerArrayVariable::scale(double factor) const {
    const auto whole = truncatedInteger(factor);
    if (!whole) stop("the scale factor " + doubleText(factor) + " is no 64-bit integer");
    return mapped<std::int64_t>(*this, [&](std::int64_t x) {
        const auto product = checkedProduct(x, *whole);
        if (!product) stop("an integer scaling overflows 64 bits");
        return *product;
    });
}
std::optional<Value> IntegerArrayVariable::sum() const {
    std::int64_t result = 0;
    for (const auto item : itemsOf<std::int64_t>(*this)) {
        const auto next = checkedSum(result, item);
        if (!next) stop("an integer sum overflows 64 bits");
        result = *next;
    }
    return Value(result);
}

std::string BooleanArrayVariable::stringValue() const {
    return joined<bool>(*this, [](std::string& text, bool item) { text += item ? "true" : "false"; });
}
std::optional<bool> BooleanArrayVariable::isEqual(const TimestampedVariable& other) const {
    return equalLists<bool>(*this, other);
}
std::optional<Value> BooleanArrayVariable::negate() const {
    return mapped<bool>(*this, std::logical_not<>());
}

std::string StringArrayVariable::stringValue() const {
    return joined<String>(*this, [](std::string& text, const String& item) { text += item.view(); });
}
std::optional<Value> StringArrayVariable::add(const TimestampedVariable& other) const {
    return combined<String>(*this, other, std::plus<>());
}
std::optional<bool> StringArrayVariable::isEqual(const TimestampedVariable& other) const {
    return equalLists<String>(*this, other,
                              [](const String& a, const String& b) { return compareTexts(a, b) == 0; });
}
std::optional<Value> StringArrayVariable::sum() const {
    std::size_t length = 0;
    for (const auto& item : itemsOf<String>(*this)) length += item.view().size();
    ListBuilder<char> text(length);
    for (const auto& item : itemsOf<String>(*this)) text.append(std::span<const char>(item.view()));
    return Value(String(text.finish().shared()));
}

std::string VectorArrayVariable::stringValue() const {
    return joined<Vector>(*this, [](std::string& text, const Vector& item) { text += item.description(); });
}
std::optional<Value> VectorArrayVariable::add(const TimestampedVariable& other) const {
    return combined<Vector>(*this, other, std::plus<>());
}
std::optional<Value> VectorArrayVariable::subtract(const TimestampedVariable& other) const {
    return combined<Vector>(*this, other, std::minus<>());
}
std::optional<Value> VectorArrayVariable::multiply(const TimestampedVariable& other) const {
    return combined<Vector>(*this, other, std::multiplies<>());
}
std::optional<Value> VectorArrayVariable::divide(const TimestampedVariable& other) const {
    return combined<Vector>(*this, other, std::divides<>());
}
std::optional<Value> VectorArrayVariable::scale(double factor) const {
    return mapped<Vector>(*this, [factor](const Vector& v) { return v * factor; });
}
std::optional<bool> VectorArrayVariable::isEqual(const TimestampedVariable& other) const {
    return equalLists<Vector>(*this, other);
}
std::optional<Value> VectorArrayVariable::negate() const { return mapped<Vector>(*this, std::negate<>()); }
std::optional<Value> VectorArrayVariable::sum() const { return total(*this, Vector{}); }

std::string OrientationArrayVariable::stringValue() const {
    return joined<Orientation>(
        *this, [](std::string& text, const Orientation& item) { text += item.description(); });
}
std::optional<Value> OrientationArrayVariable::add(const TimestampedVariable& other) const {
    return combined<Orientation>(*this, other, std::plus<>());
}
std::optional<Value> OrientationArrayVariable::subtract(const TimestampedVariable& other) const {
    return combined<Orientation>(*this, other, std::minus<>());
}
std::optional<Value> OrientationArrayVariable::multiply(const TimestampedVariable& other) const {
    return combined<Orientation>(*this, other, std::multiplies<>());
}
std::optional<Value> OrientationArrayVariable::divide(const TimestampedVariable& other) const {
    return combined<Orientation>(*this, other, std::divides<>());
}
std::optional<Value> OrientationArrayVariable::scale(double factor) const {
    return mapped<Orientation>(*this, [factor](const Orientation& q) { return q * factor; });
}
std::optional<bool> OrientationArrayVariable::isEqual(const TimestampedVariable& other) const {
    return equalLists<Orientation>(*this, other);
}
std::optional<Value> OrientationArrayVariable::negate() const {
    return mapped<Orientation>(*this, std::negate<>());
}
std::optional<Value> OrientationArrayVariable::sum() const { return total(*this, Orientation{0, 0, 0, 0}); }

}  // namespace KelvaneSDK
