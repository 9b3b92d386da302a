#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace KelvaneSDK {

/// A place in a text, both counted from 1, the column in bytes.
struct TextPlace {
    std::size_t line = 1, column = 1;

    friend bool operator==(const TextPlace&, const TextPlace&) = default;
};

/// What makes a text no JSON, and where.
struct JsonFault {
    std::size_t offset = 0;
    std::string reason;
    bool tooDeep = false;
};

/// Some programs write it before UTF-8; JSON does not allow it.
inline constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";

/// The first fault of a JSON text, or absent where none is found. Values nested deeper than the limit are a
/// fault.
std::optional<JsonFault> findJsonFault(std::string_view text, std::size_t maximumDepth);

/// The byte offsets of the values that JSON pointers (RFC 6901) name in a valid JSON text. A pointer that
/// leads nowhere gives the innermost value on its way; of members of the same name the last counts.
std::vector<std::size_t> offsetsOf(std::span<const std::string> pointers, std::string_view text);

/// The lines and columns of rising offsets.
std::vector<TextPlace> placesOf(std::span<const std::size_t> risingOffsets, std::string_view text);
std::vector<TextPlace> placesInAnyOrder(std::span<const std::size_t> offsets, std::string_view text);

}  // namespace KelvaneSDK
