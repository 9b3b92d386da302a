#include "KelvaneSDK/FileProcessing/JsonScan.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <vector>

#include "KelvaneSDK/FileProcessing/NumberText.h"

namespace KelvaneSDK {

namespace {

/// Reads on along a text and keeps the first fault.
class Scanner {
public:
    Scanner(std::string_view source, std::size_t depthLimit, JsonVisitor& receiver)
        : text(source), maximumDepth(depthLimit), visitor(receiver) {
        if (text.starts_with(byteOrderMark)) fail("a byte order mark stands at the beginning");
    }

    std::optional<JsonFault> run() {
        enum class Wanted : std::uint8_t { value, valueOrEnd, nameOrEnd, name, separator };
        auto wanted = Wanted::value;
        while (!fault) {
            skipSpace();
            const char c = next();
            if (wanted == Wanted::separator) {
                if (open.empty()) {
                    if (at < text.size()) fail("something follows the end of the document");
                    return fault;
                }
                if (c == ',') {
                    comma = at++;
                    wanted = open.back() == '{' ? Wanted::name : Wanted::value;
                } else if (!close(c)) {
                    fail(open.back() == '{' ? "\",\" or \"}\" was expected" : "\",\" or \"]\" was expected");
                }
            } else if ((wanted == Wanted::name && c == '}') || (wanted == Wanted::value && c == ']' && isInList())) {
                at = comma;
                fail(std::string("a comma stands before \"") + c + "\"; remove the comma");
            } else if (wanted == Wanted::name || wanted == Wanted::nameOrEnd) {
                if (wanted == Wanted::nameOrEnd && close(c)) {
                    wanted = Wanted::separator;
                    continue;
                }
                readName();
                wanted = Wanted::value;
            } else if (wanted == Wanted::valueOrEnd && close(c)) {
                wanted = Wanted::separator;
            } else if (c == '{' || c == '[') {
                visitor.begin(at, true);
                open.push_back(c);
                if (open.size() > maximumDepth) {
                    fail("nested deeper than the limit of " + std::to_string(maximumDepth) + " levels");
                    fault->tooDeep = true;
                }
                ++at;
                wanted = c == '{' ? Wanted::nameOrEnd : Wanted::valueOrEnd;
            } else {
                visitor.begin(at, false);
                readScalar(c);
                wanted = Wanted::separator;
            }
        }
        return fault;
    }

private:
    char next() const { return at < text.size() ? text[at] : '\0'; }
    void skipSpace() { at = std::min(text.find_first_not_of(" \t\r\n", at), text.size()); }

    bool isInList() const { return !open.empty() && open.back() == '['; }

    void fail(std::string reason) {
        if (!fault)
            fault =
                JsonFault{at, at < text.size() ? std::move(reason) : "the text ends too early: " + reason};
    }

    bool close(char c) {
        if (open.empty() || c != (open.back() == '{' ? '}' : ']')) return false;
        open.pop_back();
        ++at;
        visitor.end();
        return true;
    }

    void readName() {
        if (next() != '"') return fail("the name of a member was expected");
        const std::size_t begin = at + 1;
        readString();
        if (fault) return;
        visitor.name(text.substr(begin, at - 1 - begin));
        skipSpace();
        if (next() != ':') return fail("\":\" was expected");
        ++at;
    }

    void readScalar(char c) {
        if (c == '"') return readString();
        if (c == '-' || isDigit(c)) return readNumber();
        for (const std::string_view word : {"true", "false", "null"}) {
            if (!text.substr(at).starts_with(word)) continue;
            at += word.size();
            return;
        }
        fail("a value was expected");
    }

    void readString() {
        for (++at; at < text.size();) {
            const auto c = static_cast<unsigned char>(text[at]);
            if (c == '"') {
                ++at;
                return;
            }
            if (c < 0x20) return fail("an unescaped control character stands in a string");
            const std::size_t length = c == '\\' ? escapeLength() : c < 0x80 ? 1 : characterLength();
            if (length == 0) return fail(c == '\\' ? "an invalid escape" : "not valid UTF-8");
            at += length;
        }
        fail("a string is not closed");
    }

    std::size_t escapeLength() const {
        const auto rest = text.substr(at + 1, 5);
        if (rest.empty()) return 0;
        if (rest[0] != 'u')
            return std::string_view("\"\\/bfnrt").find(rest[0]) != std::string_view::npos ? 2 : 0;
        if (rest.size() < 5 || !std::all_of(rest.begin() + 1, rest.end(), isHexadecimal)) return 0;
        const auto unit = codeUnit(text.substr(at));
        if (isHighSurrogate(unit)) return isLowSurrogate(codeUnit(text.substr(at + 6))) ? 12 : 0;
        return isLowSurrogate(unit) ? 0 : 6;
    }

    // Halves of a character beyond 16 bits stand in pairs.
    static unsigned codeUnit(std::string_view escape) {
        unsigned unit = 0;
        if (escape.size() < 6 || !escape.starts_with("\\u")) return 0;
        const auto parsed = std::from_chars(escape.data() + 2, escape.data() + 6, unit, 16);
        return parsed.ptr == escape.data() + 6 ? unit : 0;
    }
    static bool isHighSurrogate(unsigned unit) { return unit >= 0xD800 && unit <= 0xDBFF; }
    static bool isLowSurrogate(unsigned unit) { return unit >= 0xDC00 && unit <= 0xDFFF; }

    // The length of the UTF-8 character here, or 0.
    std::size_t characterLength() const {
        const auto byte = [this](std::size_t i) {
            return at + i < text.size() ? static_cast<unsigned char>(text[at + i]) : 0U;
        };
        const unsigned lead = byte(0), second = byte(1);
        const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
        if (lead < 0xC2 || lead > 0xF4) return 0;
        for (std::size_t i = 1; i < length; ++i) {
            if ((byte(i) & 0xC0U) != 0x80) return 0;
        }
        const bool overlong = (lead == 0xE0 && second < 0xA0) || (lead == 0xF0 && second < 0x90);
        const bool outside = (lead == 0xED && second > 0x9F) || (lead == 0xF4 && second > 0x8F);
        return overlong || outside ? 0 : length;
    }

    void readNumber() {
        const std::size_t begin = at;
        if (next() == '-') ++at;
        if (next() == '0') {
            ++at;
        } else if (!readDigits()) {
            return;
        }
        if (next() == '.') {
            ++at;
            if (!readDigits()) return;
        }
        if (next() == 'e' || next() == 'E') {
            ++at;
            if (next() == '+' || next() == '-') ++at;
            if (!readDigits()) return;
        }
        const auto number = parseDouble(text.substr(begin, at - begin));
        if (number && std::isfinite(*number)) return;
        at = begin;
        fail("a number is out of range");
    }

    bool readDigits() {
        if (!isDigit(next())) {
            fail("a digit was expected");
            return false;
        }
        while (isDigit(next())) ++at;
        return true;
    }

    static bool isDigit(char c) { return c >= '0' && c <= '9'; }
    static bool isHexadecimal(char c) {
        return isDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
    }

    std::string_view text;
    std::size_t maximumDepth;
    JsonVisitor& visitor;
    std::size_t at = 0;
    // Where the last comma between values stands.
    std::size_t comma = 0;
    std::vector<char> open;
    std::optional<JsonFault> fault;
};

}  // namespace

std::optional<JsonFault> scanJson(std::string_view text, std::size_t maximumDepth, JsonVisitor& visitor) {
    return Scanner(text, maximumDepth, visitor).run();
}

}  // namespace KelvaneSDK
