#pragma once

// Internal: lists put in the order of numbers, by code that does not grow with the types of their elements.

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace KelvaneSDK {

/// The places of a list by their rising keys; where keys are equal, as they stand.
std::vector<std::size_t> orderByKeys(std::span<const std::int64_t> keys);

/// The same for the places from 0 to before `count`, with keyOf(place) as their keys.
template <class KeyOf>
std::vector<std::size_t> orderBy(std::size_t count, const KeyOf& keyOf) {
    std::vector<std::int64_t> keys(count);
    for (std::size_t place = 0; place < count; ++place) {
        keys[place] = static_cast<std::int64_t>(keyOf(place));
    }
    return orderByKeys(keys);
}

}  // namespace KelvaneSDK
