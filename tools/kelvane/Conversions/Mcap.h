#pragma once

#include <cstdint>
#include <string_view>

// What MCAP files (https://mcap.dev/spec) are made of: records of a byte that says what they are, their
// length, and fields in little-endian order. Of ours, the messages are the lines of a recording as they
// stand.

namespace kelvane {

enum class McapRecord : std::uint8_t {
    header = 1,
    footer = 2,
    schema = 3,
    channel = 4,
    message = 5,
    chunk = 6,
    messageIndex = 7,
    chunkIndex = 8,
    statistics = 11,
    dataEnd = 15,
};

inline constexpr std::string_view mcapMagic = "\x89MCAP0\r\n";
/// How the names of our schemas begin; the type of the values follows.
inline constexpr std::string_view mcapSchemaPrefix = "kelvane.";

}  // namespace kelvane
