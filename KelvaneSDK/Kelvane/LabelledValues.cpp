#include "KelvaneSDK/Kelvane/LabelledValues.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <memory_resource>
#include <string>

#include "KelvaneSDK/Diagnostics.h"
#include "KelvaneSDK/Kelvane/LabelText.h"

namespace KelvaneSDK {

namespace {

template <class Entries>
auto lowerBound(Entries& entries, std::string_view label) {
    return std::lower_bound(entries.begin(), entries.end(), label,
                            [](const auto& entry, std::string_view other) { return entry.first < other; });
}

template <class Entries>
[[gnu::noinline]] auto foundByOrder(Entries& entries, std::string_view label) {
    const auto place = lowerBound(entries, label);
    return place != entries.end() && place->first == label ? place : entries.end();
}

template <class Entries>
auto found(Entries& entries, std::string_view label) {
    constexpr std::ptrdiff_t few = 8;
    const auto end = entries.end();
    auto place = entries.begin();
    if (end - place > few) return foundByOrder(entries, label);
    while (place != end && !isSameLabel(place->first, label)) ++place;
    return place;
}

[[noreturn]] void stopWithout(std::string_view label) {
    stopProgram("no value is labelled \"" + std::string(label) + "\"");
}

}  // namespace

/// The bytes of labels, which stay where they are.
class LabelledValues::Storage {
public:
    Storage() = default;
    Storage(const Storage&) = delete;
    Storage& operator=(const Storage&) = delete;

    char* allocate(std::size_t size) { return static_cast<char*>(memory.allocate(size, 1)); }
    void release() {
        memory.release();
        erased = 0;
    }

    /// How many labels are stored that no entry has any more.
    std::size_t erased = 0;

private:
    std::array<char, 96> shortLabels;
    std::pmr::monotonic_buffer_resource memory{shortLabels.data(), shortLabels.size()};
};

LabelledValues::LabelledValues(std::initializer_list<Entry> list) {
    entries.reserve(list.size());
    for (const auto& [label, value] : list) try_emplace(label, value);
}

LabelledValues::iterator LabelledValues::find(std::string_view label) { return found(entries, label); }

LabelledValues::const_iterator LabelledValues::find(std::string_view label) const {
    return found(entries, label);
}

Value& LabelledValues::at(std::string_view label) {
    const auto place = find(label);
    if (place == end()) stopWithout(label);
    return place->second;
}

const Value& LabelledValues::at(std::string_view label) const {
    const auto place = find(label);
    if (place == end()) stopWithout(label);
    return place->second;
}

std::pair<LabelledValues::iterator, bool> LabelledValues::try_emplace(std::string_view label, Value value) {
    const auto place = lowerBound(entries, label);
    if (place != entries.end() && place->first == label) return {place, false};
    return {insert(place, label, std::move(value)), true};
}

std::pair<LabelledValues::iterator, bool> LabelledValues::insert_or_assign(std::string_view label,
                                                                           Value value) {
    const auto place = lowerBound(entries, label);
    if (place == entries.end() || place->first != label)
        return {insert(place, label, std::move(value)), true};
    place->second = std::move(value);
    return {place, false};
}

std::size_t LabelledValues::erase(std::string_view label) {
    const auto place = find(label);
    if (place == end()) return 0;
    entries.erase(place);
    set = newLabelSet();
    if (ownsLabels()) ++own->erased;
    return 1;
}

void LabelledValues::clear() {
    entries.clear();
    set = 0;
    if (ownsLabels()) own->release();
}

// In blocks, so that threads that make many do not wait for one another.
std::uint64_t LabelledValues::newLabelSet() {
    constexpr std::uint64_t block = 1 << 16;
    static std::atomic<std::uint64_t> blocks{0};
    thread_local std::uint64_t next = 0;
    if (next % block == 0) next = ++blocks * block;
    return next++;
}

LabelledValues::iterator LabelledValues::insert(const_iterator place, std::string_view label, Value value) {
    set = newLabelSet();
    return entries.insert(place, Entry{stored(label), std::move(value)});
}

std::string_view LabelledValues::stored(std::string_view label) {
    constexpr std::size_t mostErased = 16;
    char* at = nullptr;
    if (ownsLabels() && own->erased <= entries.size() + mostErased) {
        at = own->allocate(label.size());
        std::copy(label.begin(), label.end(), at);
        return {at, label.size()};
    }
    std::size_t size = label.size();
    for (const auto& entry : entries) size += entry.first.size();
    auto storage = std::make_shared<Storage>();
    at = storage->allocate(size);
    const auto copied = [&](std::string_view other) {
        char* const begin = std::exchange(at, std::copy(other.begin(), other.end(), at));
        return std::string_view(begin, other.size());
    };
    const auto result = copied(label);
    for (auto& entry : entries) entry.first = copied(entry.first);
    own = storage.get();
    labels = std::move(storage);
    return result;
}

}  // namespace KelvaneSDK
