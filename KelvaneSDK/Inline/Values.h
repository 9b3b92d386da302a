#pragma once

// What Value.h needs to be compiled into an application.

#include <algorithm>
#include <cstring>
#include <new>
#include <utility>

#include "KelvaneSDK/Value.h"

namespace [[gnu::visibility("default")]] KelvaneSDK {

template <class T>
List<T>::List(std::span<const T> items) {
    ListBuilder<T> builder(items.size());
    builder.append(items);
    *this = builder.finish();
}

template <class T>
inline bool List<T>::equals(const List& other) const {
    return std::equal(begin(), end(), other.begin(), other.end());
}

template <class T>
inline void ListBuilder<T>::append(const T& item) {
    if (count == capacity) reserve(capacity < 4 ? 8 : 2 * capacity);
    block[static_cast<std::ptrdiff_t>(count++)] = item;
}

template <class T>
inline void ListBuilder<T>::append(std::span<const T> items) {
    if (capacity - count < items.size()) reserve(std::max(2 * capacity, count + items.size()));
    std::copy(items.begin(), items.end(), block.get() + count);
    count += items.size();
}

template <class T>
inline List<T> ListBuilder<T>::finish() {
    capacity = 0;
    return List<T>(ListStorage{std::move(block), std::exchange(count, 0)});
}

template <class T>
inline void ListBuilder<T>::reserve(std::size_t wanted) {
    if (wanted <= capacity) return;
    auto larger = std::make_shared_for_overwrite<T[]>(wanted);
    if (count > 0) std::move(block.get(), block.get() + count, larger.get());
    block = std::move(larger);
    capacity = wanted;
}

// What it holds in itself; the others share a block.
constexpr bool Value::isInline(ValueType type) { return type < ValueType::String; }
// What fills the first eight bytes of it.
constexpr bool Value::isScalar(ValueType type) { return type <= ValueType::Boolean; }
// By one comparison; an integer and a boolean go the longer way, which is right for all.
constexpr bool Value::areScalars(ValueType a, ValueType b) {
    return (static_cast<unsigned>(a) | static_cast<unsigned>(b)) <= static_cast<unsigned>(ValueType::Boolean);
}

inline const ListStorage& Value::storage() const {
    return *std::launder(reinterpret_cast<const ListStorage*>(bytes));
}
inline ListStorage& Value::storage() { return *std::launder(reinterpret_cast<ListStorage*>(bytes)); }

// Only what a scalar fills: reading more than was just written would wait for the write.
inline void Value::copyScalar(const Value& other) noexcept {
    std::memcpy(bytes, other.bytes, sizeof(double));
}
inline void Value::replaceScalar(const Value& other) noexcept { copyScalar(other); }

template <Payload T>
inline Value::Value(T payload) noexcept : tag(PayloadType<T>::value) {
    if constexpr (isInline(PayloadType<T>::value)) {
        std::memcpy(bytes, &payload, sizeof payload);
    } else {
        new (bytes) ListStorage(payload.shared());
    }
}

inline Value::Value(const Value& other) noexcept : tag(other.tag) {
    isScalar(tag) ? copyScalar(other) : copyOther(other);
}
inline Value::Value(Value&& other) noexcept : tag(other.tag) {
    isScalar(tag) ? copyScalar(other) : moveOther(other);
}
inline Value& Value::operator=(const Value& other) noexcept {
    if (!areScalars(tag, other.tag)) return assign(other);
    tag = other.tag;
    copyScalar(other);
    return *this;
}
inline Value& Value::operator=(Value&& other) noexcept {
    if (!areScalars(tag, other.tag)) return assign(std::move(other));
    tag = other.tag;
    copyScalar(other);
    return *this;
}
inline Value::~Value() {
    if (!isInline(tag)) dropShared();
}

template <Payload T>
inline bool Value::holds() const {
    return tag == PayloadType<T>::value;
}

template <Payload T>
inline T Value::unchecked() const {
    if constexpr (isInline(PayloadType<T>::value)) {
        T payload;
        std::memcpy(&payload, bytes, sizeof payload);
        return payload;
    } else {
        return T(storage());
    }
}

template <Payload T>
inline std::optional<T> Value::get() const {
    if (!holds<T>()) return std::nullopt;
    return unchecked<T>();
}

template <Payload T>
inline T Value::as() const {
    if (!holds<T>()) stopOnWrongType(PayloadType<T>::value);
    return unchecked<T>();
}

template <Payload T>
inline void Value::replace(T payload) noexcept {
    static_assert(isInline(PayloadType<T>::value));
    std::memcpy(bytes, &payload, sizeof payload);
}

template <class Item>
inline bool Value::holdsItems() const {
    if constexpr (std::is_same_v<Item, Sample>) {
        return tag == ValueType::Sequence || tag == ValueType::SampleArray;
    } else if constexpr (std::is_same_v<Item, char>) {
        return tag == ValueType::String;
    } else {
        return tag == PayloadType<List<Item>>::value;
    }
}

template <class Item>
inline std::span<const Item> Value::items() const {
    if (!holdsItems<Item>()) return {};
    return {static_cast<const Item*>(storage().block.get()), storage().count};
}

inline std::size_t Value::elementCount() const { return isInline(tag) ? 0 : storage().count; }

}  // namespace KelvaneSDK
