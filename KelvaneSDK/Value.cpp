#include "KelvaneSDK/Value.h"

#include <string>

#include "KelvaneSDK/Diagnostics.h"

namespace KelvaneSDK {

void Value::copyOther(const Value& other) noexcept {
    if (tag == ValueType::Vector) {
        std::memcpy(bytes, other.bytes, sizeof(Vector));
    } else if (isInline(tag)) {
        std::memcpy(bytes, other.bytes, sizeof(Orientation));
    } else {
        new (bytes) ListStorage(other.storage());
    }
}

void Value::moveOther(Value& other) noexcept {
    if (isInline(tag)) return copyOther(other);
    new (bytes) ListStorage(std::move(other.storage()));
    other.storage().count = 0;
}

Value& Value::assign(const Value& other) noexcept {
    if (this == &other) return *this;
    this->~Value();
    return *new (this) Value(other);
}

Value& Value::assign(Value&& other) noexcept {
    if (this == &other) return *this;
    this->~Value();
    return *new (this) Value(std::move(other));
}

std::size_t Value::contentCount() const {
    std::size_t count = elementCount();
    for (const auto& text : items<String>()) count += text.view().size();
    for (const auto& sequence : items<Sequence>()) count += sequence.size();
    return count;
}

void Value::dropShared() noexcept { storage().~ListStorage(); }

void Value::stopOnWrongType(ValueType wanted) const {
    stopProgram("a value of type " + std::string(valueTypeName(tag)) + " was read as " +
                std::string(valueTypeName(wanted)));
}

namespace {

template <class Item>
bool sameItems(const Value& a, const Value& b) {
    const auto left = a.items<Item>();
    const auto right = b.items<Item>();
    return std::equal(left.begin(), left.end(), right.begin(), right.end());
}

}  // namespace

bool operator==(const Value& a, const Value& b) {
    if (a.tag != b.tag) return false;
    switch (a.tag) {
        case ValueType::Float:
            return a.unchecked<double>() == b.unchecked<double>();
        case ValueType::Integer:
            return a.unchecked<std::int64_t>() == b.unchecked<std::int64_t>();
        case ValueType::Boolean:
            return a.unchecked<bool>() == b.unchecked<bool>();
        case ValueType::Vector:
            return a.unchecked<Vector>() == b.unchecked<Vector>();
        case ValueType::Orientation:
            return a.unchecked<Orientation>() == b.unchecked<Orientation>();
        case ValueType::String:
            return sameItems<char>(a, b);
        case ValueType::Sequence:
        case ValueType::SampleArray:
            return sameItems<Sample>(a, b);
        case ValueType::FloatArray:
            return sameItems<double>(a, b);
        case ValueType::IntegerArray:
            return sameItems<std::int64_t>(a, b);
        case ValueType::BooleanArray:
            return sameItems<bool>(a, b);
        case ValueType::StringArray:
            return sameItems<String>(a, b);
        case ValueType::VectorArray:
            return sameItems<Vector>(a, b);
        case ValueType::OrientationArray:
            return sameItems<Orientation>(a, b);
        case ValueType::SequenceArray:
            return sameItems<Sequence>(a, b);
    }
    return false;
}

}  // namespace KelvaneSDK
