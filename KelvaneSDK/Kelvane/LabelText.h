#pragma once

// Internal: comparing labels, which are short.

#include <cstdint>
#include <cstring>
#include <string_view>

namespace KelvaneSDK {

inline bool isSameLabel(std::string_view a, std::string_view b) {
    const std::size_t size = a.size();
    if (size != b.size()) return false;
    const auto differsAt = [&](std::size_t at, auto chunk) {
        auto other = chunk;
        std::memcpy(&chunk, a.data() + at, sizeof chunk);
        std::memcpy(&other, b.data() + at, sizeof other);
        return chunk != other;
    };
    if (size < sizeof(std::uint32_t)) {
        for (std::size_t i = 0; i < size; ++i) {
            if (a[i] != b[i]) return false;
        }
        return true;
    }
    if (size < sizeof(std::uint64_t))
        return !differsAt(0, std::uint32_t{}) && !differsAt(size - sizeof(std::uint32_t), std::uint32_t{});
    // The last chunk may overlap the one before it.
    std::size_t at = 0;
    for (; at + sizeof(std::uint64_t) < size; at += sizeof(std::uint64_t)) {
        if (differsAt(at, std::uint64_t{})) return false;
    }
    return !differsAt(size - sizeof(std::uint64_t), std::uint64_t{});
}

}  // namespace KelvaneSDK
