#pragma once

// Internal: numbers as they are spelled in JSON texts.

#include <cstdint>
#include <optional>
#include <string_view>

namespace KelvaneSDK {

/// Reads the JSON number that begins at `begin` as the nearest double; returns its end, or null when there is
/// none or it is out of range.
const char* readJsonDouble(const char* begin, const char* end, double& target);

/// Reads the JSON number that begins at `begin` when it is an integer of 64 bits, however spelled (3, 3.0,
/// 3e0); returns its end, or null.
const char* readJsonInteger(const char* begin, const char* end, std::int64_t& target);

/// A JSON number that is an integer of 64 bits, however spelled; absent for any other.
std::optional<std::int64_t> exactInteger(std::string_view number);

}  // namespace KelvaneSDK
