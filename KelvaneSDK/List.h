#pragma once

#include <algorithm>
#include <cstddef>
#include <initializer_list>
#include <memory>
#include <span>
#include <type_traits>
#include <utility>

namespace [[gnu::visibility("default")]] KelvaneSDK {

/// The storage behind every list: an immutable block that all copies share.
struct ListStorage {
    std::shared_ptr<const void> block;
    std::size_t count = 0;
};

/// An immutable list with value semantics: copies share one block, so passing a list on copies no elements. A
/// changed list is built anew with ListBuilder. Reading from several threads at once is safe.
template <class T>
class List {
public:
    using value_type = T;

    List() = default;
    List(std::initializer_list<T> items) : List(std::span<const T>(items.begin(), items.size())) {}
    explicit List(std::span<const T> items);
    explicit List(ListStorage shared) : storage(std::move(shared)) {}

    std::size_t size() const { return storage.count; }
    bool empty() const { return storage.count == 0; }
    const T* data() const { return static_cast<const T*>(storage.block.get()); }
    const T* begin() const { return data(); }
    const T* end() const { return data() + size(); }
    /// `index` must be below size().
    const T& operator[](std::size_t index) const { return data()[index]; }
    std::span<const T> items() const { return {data(), size()}; }
    const ListStorage& shared() const { return storage; }

    friend bool operator==(const List& a, const List& b) {
        return std::equal(a.begin(), a.end(), b.begin(), b.end());
    }

private:
    ListStorage storage;
};

/// Builds a list element by element; one allocation when the capacity given is enough, and none for an empty
/// list.
template <class T>
class ListBuilder {
public:
    explicit ListBuilder(std::size_t expected = 0) { reserve(expected); }
    ListBuilder(ListBuilder&&) noexcept = default;
    ListBuilder& operator=(ListBuilder&&) noexcept = default;

    std::size_t size() const { return count; }
    /// What has been appended so far, to be changed in place; valid until the next append.
    std::span<T> items() { return {block.get(), count}; }
    void append(const T& item) {
        if (count == capacity) reserve(capacity < 4 ? 8 : 2 * capacity);
        block[static_cast<std::ptrdiff_t>(count++)] = item;
    }
    void append(std::span<const T> items) {
        if (capacity - count < items.size()) reserve(std::max(2 * capacity, count + items.size()));
        std::copy(items.begin(), items.end(), block.get() + count);
        count += items.size();
    }
    /// Hands the list over and leaves the builder empty.
    List<T> finish() {
        capacity = 0;
        return List<T>(ListStorage{std::move(block), std::exchange(count, 0)});
    }

private:
    void reserve(std::size_t wanted) {
        if (wanted <= capacity) return;
        std::shared_ptr<T[]> larger;
        if constexpr (std::is_trivially_copyable_v<T>) {
            larger = std::make_shared_for_overwrite<T[]>(wanted);
        } else {
            larger = std::make_shared<T[]>(wanted);
        }
        if (count > 0) std::move(block.get(), block.get() + count, larger.get());
        block = std::move(larger);
        capacity = wanted;
    }

    std::shared_ptr<T[]> block;
    std::size_t count = 0;
    std::size_t capacity = 0;
};

template <class T>
List<T>::List(std::span<const T> items) {
    ListBuilder<T> builder(items.size());
    builder.append(items);
    *this = builder.finish();
}

}  // namespace KelvaneSDK
