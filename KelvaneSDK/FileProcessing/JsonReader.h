#pragma once

// Internal: reads whole JSON texts with simdjson. Not installed, since it shows a third-party type.

#include <simdjson.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace KelvaneSDK {

/// Why a JSON text could not be read as a record.
struct JsonFailure {
    /// The JSON pointer (RFC 6901) of the faulty element; empty for the text as a whole.
    std::string pointer;
    /// What was expected and found, without the place.
    std::string reason;
};

/// Parses JSON texts one after another, with full validation, and keeps its buffers between them.
class JsonReader {
public:
    explicit JsonReader(std::size_t depthLimit = 1024) : maximumDepth(depthLimit) {}

    /// The text's root, valid until the next call; absent when the text is not JSON. Throws
    /// std::bad_alloc.
    std::optional<simdjson::dom::element> parse(std::string_view text, JsonFailure& failure);

    /// The root of a text that is JSON, valid until the next call, with integers that are spelled as decimals
    /// spelled plainly. Decoding needs it only when asInteger() found none: of a decimal, the parser keeps
    /// the nearest double. Absent when there is no such decimal.
    std::optional<simdjson::dom::element> parseWithPlainIntegers(std::string_view text);

    /// Nesting beyond this many levels is refused.
    const std::size_t maximumDepth;

private:
    simdjson::error_code parsed(std::string_view text, simdjson::dom::element& root);

    simdjson::dom::parser parser;
};

/// The member of an object under each of the names, in their order. A name that comes twice gives its last
/// member; members that are missing or null are absent.
template <std::size_t count>
std::array<std::optional<simdjson::dom::element>, count> members(
    const simdjson::dom::object& object, const std::array<std::string_view, count>& names) {
    std::array<std::optional<simdjson::dom::element>, count> found;
    // Members mostly stand in the order of the names.
    std::size_t next = 0;
    for (const auto field : object) {
        std::size_t i = next;
        if (i == count || field.key != names[i]) {
            i = static_cast<std::size_t>(std::find(names.begin(), names.end(), field.key) - names.begin());
            if (i == count) continue;
        }
        found[i] = field.value.is_null() ? std::nullopt : std::optional(field.value);
        next = i + 1;
    }
    return found;
}

/// A JSON number as a double.
std::optional<double> asDouble(const simdjson::dom::element& element);
/// A plainly spelled integer of 64 bits; JsonReader::parseWithPlainIntegers() makes one of any (3.0, 3e0).
std::optional<std::int64_t> asInteger(const simdjson::dom::element& element);
std::optional<bool> asBoolean(const simdjson::dom::element& element);
std::optional<std::string_view> asString(const simdjson::dom::element& element);

/// What an element is, for messages: "a string", "a number", "null", ...
std::string_view kindOf(const simdjson::dom::element& element);

}  // namespace KelvaneSDK
