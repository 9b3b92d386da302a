#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>

namespace KelvaneSDK {

class TimestampedVariable;

/// A list of slots, which it does not own. Most nodes read and feed one or two, and these take no memory of
/// their own.
class SlotList {
public:
    SlotList() = default;
    SlotList(const SlotList&) = delete;
    SlotList& operator=(const SlotList&) = delete;
    ~SlotList() {
        if (capacity > few) delete[] many;
    }

    std::size_t size() const { return count; }
    TimestampedVariable& operator[](std::size_t index) const { return *slots()[index]; }
    TimestampedVariable* const* begin() const { return slots(); }
    TimestampedVariable* const* end() const { return slots() + count; }
    operator std::span<TimestampedVariable* const>() const { return {slots(), count}; }

    void append(TimestampedVariable& slot) {
        if (count == capacity) grow();
        slots()[count++] = &slot;
    }
    void assign(std::span<TimestampedVariable* const> others) {
        count = 0;
        for (auto* slot : others) append(*slot);
    }
    void remove(const TimestampedVariable& slot) {
        auto* const rest = std::remove(slots(), slots() + count, &slot);
        count = static_cast<std::uint32_t>(rest - slots());
    }
    void replace(const TimestampedVariable& old, TimestampedVariable& replacement) {
        std::replace_if(
            slots(), slots() + count, [&](const auto* slot) { return slot == &old; }, &replacement);
    }

private:
    static constexpr std::uint32_t few = 2;

    TimestampedVariable** slots() { return capacity > few ? many : inPlace; }
    TimestampedVariable* const* slots() const { return capacity > few ? many : inPlace; }
    void grow() {
        auto** const larger = new TimestampedVariable*[std::size_t{2} * capacity];
        std::copy(begin(), end(), larger);
        if (capacity > few) delete[] many;
        many = larger;
        capacity *= 2;
    }

    std::uint32_t count = 0, capacity = few;
    union {
        TimestampedVariable* inPlace[few];
        TimestampedVariable** many;
    };
};

}  // namespace KelvaneSDK
