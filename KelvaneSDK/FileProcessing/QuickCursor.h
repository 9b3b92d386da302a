#pragma once

// Internal: reads JSON that is spelled as programs commonly write it, strictly and in place. Whatever is
// unusual is left to JsonReader, which also finds what is wrong.

#include <simdjson.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <utility>

#include "KelvaneSDK/FileProcessing/JsonNumber.h"
#include "KelvaneSDK/FileProcessing/PlainText.h"

namespace KelvaneSDK {

/// A place in a text, where the next token is read or refused. Blanks before tokens are passed over,
/// with `acrossLines` line feeds, too.
template <bool acrossLines>
class QuickCursor {
public:
    explicit QuickCursor(std::string_view text) : at(text.data()), end(text.data() + text.size()) {}

    std::size_t placeIn(std::string_view text) const { return static_cast<std::size_t>(at - text.data()); }
    void skip(std::size_t length) { at += length; }

    void skipBlanks() {
        while (at < end && (*at == ' ' || *at == '\t' || *at == '\r' || (acrossLines && *at == '\n'))) ++at;
    }
    bool take(char c) {
        if (at == end || *at != c) {
            skipBlanks();
            if (at == end || *at != c) return false;
        }
        ++at;
        return true;
    }

    /// The index of the key that comes next, with its colon; the number of keys for any other text.
    template <const auto& keys>
    std::size_t takeKey() {
        constexpr std::size_t count = keys.size();
        if (!take('"')) return count;
        std::size_t key = count;
        const auto matches = [&]<std::size_t index>() {
            constexpr std::size_t length = keys[index].size();
            const bool isKey = static_cast<std::size_t>(end - at) > length && at[length] == '"' &&
                               std::memcmp(at, keys[index].data(), length) == 0;
            if (!isKey) return false;
            key = index;
            at += length + 1;
            return true;
        };
        const bool isKnown = [&]<std::size_t... indices>(std::index_sequence<indices...>) {
            return (matches.template operator()<indices>() || ...);
        }
        (std::make_index_sequence<count>());
        return isKnown && take(':') ? key : count;
    }

    bool read(double& number) {
        skipBlanks();
        return moveTo(readJsonDouble(at, end, number));
    }
    bool read(std::int64_t& integer) {
        skipBlanks();
        return moveTo(readJsonInteger(at, end, integer));
    }
    bool read(bool& truth) {
        skipBlanks();
        truth = rest().starts_with("true");
        if (!truth && !rest().starts_with("false")) return false;
        at += truth ? 4 : 5;
        return true;
    }
    bool read(std::string_view& text) {
        if (!take('"')) return false;
        const char* const begin = at;
        at += plainLength(rest());
        const bool isAscii = at < end && *at == '"';
        while (at < end && static_cast<signed char>(*at) < 0) at += 1 + plainLength(rest().substr(1));
        if (at == end || *at != '"') return false;
        text = {begin, static_cast<std::size_t>(at++ - begin)};
        return isAscii || simdjson::validate_utf8(text.data(), text.size());
    }

private:
    std::string_view rest() const { return {at, static_cast<std::size_t>(end - at)}; }
    bool moveTo(const char* place) {
        if (place == nullptr) return false;
        at = place;
        return true;
    }

    const char* at;
    const char* end;
};

}  // namespace KelvaneSDK
