#include "KelvaneSDK/TextForm/TextTokens.h"

#include <utf8proc.h>

#include <algorithm>
#include <charconv>

#include "KelvaneSDK/FileProcessing/TextPlace.h"

namespace KelvaneSDK {

namespace {

using Kind = TextToken::Kind;

struct CodePoint {
    utf8proc_int32_t value;
    std::size_t length;
};

CodePoint codePointAt(std::string_view text, std::size_t at) {
    const auto byte = static_cast<unsigned char>(text[at]);
    if (byte < 0x80) return {byte, 1};
    utf8proc_int32_t value = 0;
    const auto length =
        utf8proc_iterate(reinterpret_cast<const utf8proc_uint8_t*>(text.data() + at),
                         static_cast<utf8proc_ssize_t>(std::min<std::size_t>(text.size() - at, 4)), &value);
    return length > 0 ? CodePoint{value, static_cast<std::size_t>(length)} : CodePoint{0xFFFD, 1};
}

bool isDigit(char c) { return c >= '0' && c <= '9'; }

bool isLetter(utf8proc_int32_t c) {
    if (c < 0x80) return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
    const auto category = utf8proc_category(c);
    return category >= UTF8PROC_CATEGORY_LU && category <= UTF8PROC_CATEGORY_NO;
}
bool continuesWord(utf8proc_int32_t c) { return isLetter(c) || (c >= '0' && c <= '9') || c == '-'; }

bool isVisible(utf8proc_int32_t c) {
    if (c < 0x80) return c >= 0x20 && c < 0x7f;
    const auto category = utf8proc_category(c);
    return category != UTF8PROC_CATEGORY_CN && category < UTF8PROC_CATEGORY_ZL;
}

// The end of the word that begins here, or the same place.
std::size_t wordEnd(std::string_view text, std::size_t at, bool isFirst) {
    std::size_t end = at;
    while (end < text.size()) {
        const auto [value, length] = codePointAt(text, end);
        const bool fits =
            end > at ? continuesWord(value) : isLetter(value) || (!isFirst && value >= '0' && value <= '9');
        if (!fits) break;
        end += length;
    }
    return end;
}

std::size_t numberEnd(std::string_view text, std::size_t at) {
    const auto skipDigits = [&] {
        const std::size_t begin = at;
        while (at < text.size() && isDigit(text[at])) ++at;
        return at - begin;
    };
    const std::size_t begin = at;
    if (at < text.size() && (text[at] == '-' || text[at] == '+')) ++at;
    std::size_t digits = skipDigits();
    if (at < text.size() && text[at] == '.') {
        ++at;
        digits += skipDigits();
    }
    if (digits == 0) return begin;
    if (at < text.size() && (text[at] == 'e' || text[at] == 'E')) {
        const std::size_t mantissaEnd = at++;
        if (at < text.size() && (text[at] == '-' || text[at] == '+')) ++at;
        if (skipDigits() == 0) return mantissaEnd;
    }
    return at;
}

}  // namespace

TextLexer::TextLexer(std::string_view source)
    : text(source), at(source.starts_with(byteOrderMark) ? byteOrderMark.size() : 0) {}

TextToken TextLexer::make(Kind kind, std::size_t end, std::string content) {
    TextToken token{kind, at, end - at, std::move(content)};
    at = end;
    return token;
}

TextToken TextLexer::next() {
    while (at < text.size() && (text[at] == ' ' || text[at] == '\t' || text[at] == '\r')) ++at;
    if (at == text.size()) return make(Kind::end, at);
    const char c = text[at];
    if (c == '\n') return make(Kind::newline, at + 1);
    if (text.substr(at, 2) == "//") {
        const std::size_t end = std::min(text.find('\n', at), text.size());
        auto content = text.substr(at + 2, end - at - 2);
        while (content.ends_with('\r')) content.remove_suffix(1);
        return make(Kind::comment, end, std::string(content));
    }
    if (c == '#') {
        std::size_t end = at + 1;
        if (end < text.size() && text[end] == '-') ++end;
        while (end < text.size() && isDigit(text[end])) ++end;
        return make(Kind::id, end, std::string(text.substr(at + 1, end - at - 1)));
    }
    if (c == '"' || c == '`') return quoted(c);
    if (numberEnd(text, at) != at) return number();
    if (wordEnd(text, at, true) != at) return name();
    if (std::string_view(":=|,.*()[]{}").find(c) != std::string_view::npos) {
        return make(Kind::symbol, at + 1, std::string(1, c));
    }
    const auto length = codePointAt(text, at).length;
    return fail(at + length, quotedText(text.substr(at, length)) + " has no meaning here");
}

TextToken TextLexer::name() {
    std::size_t end = wordEnd(text, at, true);
    std::string words(text.substr(at, end - at));
    for (;;) {
        const std::size_t begin = text.find_first_not_of(" \t\r", end);
        if (begin == std::string_view::npos || begin == end) break;
        const std::size_t nextEnd = wordEnd(text, begin, false);
        if (nextEnd == begin) break;
        words += ' ';
        words += text.substr(begin, nextEnd - begin);
        end = nextEnd;
    }
    return make(Kind::name, end, std::move(words));
}

TextToken TextLexer::number() {
    const std::size_t end = numberEnd(text, at);
    if (end < text.size() && (continuesWord(codePointAt(text, end).value) || text[end] == '.')) {
        return fail(std::max(wordEnd(text, end, false), end + 1),
                    "this is no number; a name that begins with a digit stands in back quotes");
    }
    return make(Kind::number, end, std::string(text.substr(at, end - at)));
}

TextToken TextLexer::quoted(char quote) {
    std::string content;
    std::size_t i = at + 1;
    for (; i < text.size() && text[i] != quote && text[i] != '\n'; ++i) {
        if (text[i] != '\\') {
            content += text[i];
            continue;
        }
        const char escape = ++i < text.size() ? text[i] : '\n';
        if (escape == 'n' || escape == 't' || escape == 'r') {
            content += escape == 'n' ? '\n' : escape == 't' ? '\t' : '\r';
        } else if (escape == '\\' || escape == '"' || escape == '`') {
            content += escape;
        } else if (text.substr(i, 2) == "u{") {
            std::uint32_t value = 0;
            const char* const digits = text.data() + i + 2;
            const auto [end, error] = std::from_chars(digits, text.data() + text.size(), value, 16);
            const auto codePoint = static_cast<utf8proc_int32_t>(value);
            if (error != std::errc() || end == text.data() + text.size() || *end != '}' || value > 0x10FFFF ||
                !utf8proc_codepoint_valid(codePoint)) {
                return fail(i, "\\u{...} holds no code point; one is written in hexadecimal digits");
            }
            utf8proc_uint8_t bytes[4];
            const auto length = utf8proc_encode_char(codePoint, bytes);
            content.append(reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(length));
            i = static_cast<std::size_t>(end - text.data());
        } else {
            return fail(std::min(i, text.size()),
                        "a backslash begins no escape here; there are \\\\ \\\" \\` \\n \\t \\r \\u{...}");
        }
    }
    if (i >= text.size() || text[i] != quote) {
        return fail(std::min(i, text.size()), "the closing quote is missing in this line");
    }
    return make(quote == '"' ? Kind::string : Kind::quotedName, i + 1, std::move(content));
}

TextToken TextLexer::listAt(std::size_t offset) {
    at = offset;
    std::string content, open;
    std::size_t i = at;
    bool isBehindItem = false;
    do {
        const char c = i < text.size() ? text[i] : '\n';
        const std::size_t end = numberEnd(text, i);
        const bool isSign = c == ',' || c == ' ' || (!open.empty() && c == open.back());
        if (isBehindItem && !isSign) return fail(i, "a comma stands between the numbers of a list");
        isBehindItem = c == ' ' ? isBehindItem : c != ',' && c != '(' && c != '[';
        if (c == '(' || c == '[') {
            open += c == '(' ? ')' : ']';
            content += c;
            ++i;
        } else if (!open.empty() && c == open.back()) {
            open.pop_back();
            content += c;
            ++i;
        } else if (c == ',') {
            content += ", ";
            ++i;
        } else if (c == ' ') {
            ++i;
        } else if (i < text.size() && end != i) {
            content += text.substr(i, end - i);
            i = end;
        } else if (text.substr(i, 4) == "true" || text.substr(i, 5) == "false") {
            const std::size_t length = c == 't' ? 4 : 5;
            content += text.substr(i, length);
            i += length;
        } else {
            return fail(i, "a list holds numbers, or true and false, between commas, and ends in its line");
        }
        // Values nest less: lists of vectors.
    } while (!open.empty() && open.size() < 8);
    if (!open.empty()) return fail(i, "no value has so many brackets");
    return make(Kind::number, i, std::move(content));
}

std::string quotedText(std::string_view content, char quote) {
    std::string text(1, quote);
    for (std::size_t i = 0; i < content.size();) {
        const auto [value, length] = codePointAt(content, i);
        const char c = content[i];
        if (c == quote || c == '\\') {
            text += '\\';
            text += c;
        } else if (c == '\n' || c == '\t' || c == '\r') {
            text += c == '\n' ? "\\n" : c == '\t' ? "\\t" : "\\r";
        } else if (isVisible(value)) {
            text += value == 0xFFFD ? "\uFFFD" : content.substr(i, length);
        } else {
            char digits[8];
            const auto end = std::to_chars(digits, digits + sizeof digits, value, 16).ptr;
            text += "\\u{" + std::string(digits, end) + "}";
        }
        i += length;
    }
    return text + quote;
}

bool isVisibleText(std::string_view text) {
    for (std::size_t i = 0; i < text.size();) {
        const auto [value, length] = codePointAt(text, i);
        if (!isVisible(value) || (value == 0xFFFD && length == 1)) return false;
        i += length;
    }
    return true;
}

std::string nameText(std::string_view name) {
    std::size_t end = wordEnd(name, 0, true);
    bool isBare = end > 0 && name != "true" && name != "false" && name != "_";
    while (isBare && end < name.size()) {
        const std::size_t next = name[end] == ' ' ? wordEnd(name, end + 1, false) : end;
        isBare = next > end + 1;
        end = next;
    }
    return isBare ? std::string(name) : quotedText(name, '`');
}

bool isPlainValue(std::string_view value) {
    if (value == "true" || value == "false") return true;
    if (value.empty()) return false;
    if (value.front() != '(' && value.front() != '[') return numberEnd(value, 0) == value.size();
    const auto list = TextLexer(value).listAt(0);
    return list.kind == Kind::number && list.text == value;
}

}  // namespace KelvaneSDK
