#include "KelvaneSDK/FileProcessing/JsonWriter.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

#include "KelvaneSDK/FileProcessing/JsonText.h"
#include "KelvaneSDK/FileProcessing/PlainText.h"

namespace KelvaneSDK {

namespace {

constexpr std::string_view replacementCharacter = "\xEF\xBF\xBD";

bool isAscii(char c) { return static_cast<unsigned char>(c) < 0x80; }

// The length of the well-formed UTF-8 sequence at the start of `text`, or 0.
std::size_t sequenceLength(std::string_view text) {
    const auto lead = static_cast<unsigned char>(text.front());
    const std::size_t length = lead < 0x80 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    if (length > text.size()) return 0;
    return isUtf8(text.substr(0, length)) ? length : 0;
}

// The escape of a character that JSON strings do not hold as it is.
std::string_view escape(char c, std::array<char, 6>& space) {
    constexpr char digits[] = "0123456789abcdef";
    switch (c) {
        case '"':
            return "\\\"";
        case '\\':
            return "\\\\";
        case '\b':
            return "\\b";
        case '\f':
            return "\\f";
        case '\n':
            return "\\n";
        case '\r':
            return "\\r";
        case '\t':
            return "\\t";
        default:
            space = {'\\', 'u', '0', '0', digits[static_cast<unsigned char>(c) >> 4], digits[c & 15]};
            return {space.data(), space.size()};
    }
}

}  // namespace

char* JsonText::write(char* at, double number) {
    const auto copied = [at](std::string_view word) { return std::copy(word.begin(), word.end(), at); };
    if (!std::isfinite(number)) return copied("null");
    // As an integer literal, "-0" would lose its sign when it is read.
    if (number == 0 && std::signbit(number)) return copied("-0.0");
    return std::to_chars(at, at + longestNumber, number).ptr;
}

void JsonText::number(std::int64_t n) {
    reserve(longestNumber);
    at = std::to_chars(at, at + longestNumber, n).ptr;
}

void JsonText::string(std::string_view unquoted) {
    put('"');
    const auto plain = plainLength(unquoted);
    put(unquoted.substr(0, plain));
    if (plain < unquoted.size()) putEscaped(unquoted.substr(plain));
    put('"');
}

void JsonText::putEscaped(std::string_view unquoted) {
    const bool isSound = isUtf8(unquoted);
    while (!unquoted.empty()) {
        std::array<char, 6> space;
        std::size_t length = plainLength(unquoted);
        while (isSound && length < unquoted.size() && !isAscii(unquoted[length])) {
            length += 1 + plainLength(unquoted.substr(length + 1));
        }
        if (length == 0 && !isAscii(unquoted.front())) length = sequenceLength(unquoted);
        if (length > 0) {
            put(unquoted.substr(0, length));
        } else {
            put(isAscii(unquoted.front()) ? escape(unquoted.front(), space) : replacementCharacter);
            length = 1;
        }
        unquoted.remove_prefix(length);
    }
}

JsonWriter::JsonWriter(std::string& target, Layout layout)
    : text(std::make_unique<JsonText>(target)), pretty(layout == Layout::pretty) {}

JsonWriter::~JsonWriter() = default;

void JsonWriter::key(std::string_view name) {
    begin();
    text->string(name);
    text->put(':');
    if (pretty) text->put(' ');
    afterKey = true;
}

void JsonWriter::value(double number) {
    begin();
    text->number(number);
    end();
}

void JsonWriter::value(std::int64_t number) {
    begin();
    text->number(number);
    end();
}

void JsonWriter::value(bool truth) {
    begin();
    text->boolean(truth);
    end();
}

void JsonWriter::value(std::string_view string) {
    begin();
    text->string(string);
    end();
}

void JsonWriter::null() {
    begin();
    text->put("null");
    end();
}

void JsonWriter::open(char bracket) {
    begin();
    text->put(bracket);
    ++depth;
    needsComma = false;
}

void JsonWriter::close(char bracket) {
    --depth;
    if (needsComma) startLine();
    text->put(bracket);
    needsComma = true;
    end();
}

void JsonWriter::begin() {
    if (!afterKey) {
        if (needsComma) text->put(',');
        if (depth > 0) startLine();
    }
    afterKey = false;
    needsComma = true;
}

void JsonWriter::end() {
    if (depth == 0) text->flush();
}

void JsonWriter::startLine() {
    if (!pretty) return;
    text->put('\n');
    for (std::size_t i = 0; i < depth; ++i) text->put("  ");
}

}  // namespace KelvaneSDK
