#pragma once

// Internal: text that stands in JSON strings as it is.

#include <bit>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace KelvaneSDK {

/// How many ASCII characters at the beginning of a text stand in a JSON string as they are: all but quotes,
/// backslashes and control characters.
inline std::size_t plainLength(std::string_view text) {
    std::size_t length = 0;
    if constexpr (std::endian::native == std::endian::little) {
        constexpr std::uint64_t ones = 0x0101010101010101, highBits = 0x80 * ones;
        for (; text.size() - length >= 8; length += 8) {
            std::uint64_t eight = 0;
            std::memcpy(&eight, text.data() + length, 8);
            const auto quotes = eight ^ (ones * '"'), backslashes = eight ^ (ones * '\\');
            // A byte below what is subtracted borrows from those after it, so the first one found is right.
            const auto others = (((quotes - ones) & ~quotes) | ((backslashes - ones) & ~backslashes) |
                                 ((eight - ones * 0x20) & ~eight) | eight) &
                                highBits;
            if (others != 0) return length + static_cast<std::size_t>(std::countr_zero(others)) / 8;
        }
    }
    for (; length < text.size(); ++length) {
        const auto c = static_cast<unsigned char>(text[length]);
        if (c < 0x20 || c >= 0x80 || c == '"' || c == '\\') break;
    }
    return length;
}

}  // namespace KelvaneSDK
