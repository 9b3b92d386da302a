#include "KelvaneSDK/FileProcessing/JsonWriter.h"

#include <simdjson.h>

#include <charconv>
#include <cmath>

namespace KelvaneSDK {

namespace {

constexpr std::string_view replacementCharacter = "\xEF\xBF\xBD";

bool isPlain(char c) { return static_cast<unsigned char>(c) >= 0x20 && c != '"' && c != '\\'; }

// The length of the well-formed UTF-8 sequence at the start of `text`, or 0.
std::size_t sequenceLength(std::string_view text) {
    const auto lead = static_cast<unsigned char>(text.front());
    const std::size_t length = lead < 0x80 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    if (length > text.size()) return 0;
    return simdjson::validate_utf8(text.data(), length) ? length : 0;
}

void appendEscaped(std::string& text, char c) {
    constexpr char digits[] = "0123456789abcdef";
    switch (c) {
        case '"':
            text += "\\\"";
            break;
        case '\\':
            text += "\\\\";
            break;
        case '\b':
            text += "\\b";
            break;
        case '\f':
            text += "\\f";
            break;
        case '\n':
            text += "\\n";
            break;
        case '\r':
            text += "\\r";
            break;
        case '\t':
            text += "\\t";
            break;
        default:
            text += "\\u00";
            text += digits[static_cast<unsigned char>(c) >> 4];
            text += digits[static_cast<unsigned char>(c) & 15];
    }
}

}  // namespace

void JsonWriter::key(std::string_view name) {
    separate();
    appendQuoted(name);
    text += pretty ? ": " : ":";
    afterKey = true;
}

void JsonWriter::value(double number) {
    if (!std::isfinite(number)) return null();
    separate();
    // As an integer literal, "-0" would lose its sign when it is read.
    if (number == 0 && std::signbit(number)) {
        text += "-0.0";
        return;
    }
    char buffer[32];
    text.append(buffer, std::to_chars(buffer, buffer + sizeof buffer, number).ptr);
}

void JsonWriter::value(std::int64_t number) {
    separate();
    char buffer[24];
    text.append(buffer, std::to_chars(buffer, buffer + sizeof buffer, number).ptr);
}

void JsonWriter::value(bool truth) {
    separate();
    text += truth ? "true" : "false";
}

void JsonWriter::value(std::string_view string) {
    separate();
    appendQuoted(string);
}

void JsonWriter::null() {
    separate();
    text += "null";
}

void JsonWriter::open(char bracket) {
    separate();
    text += bracket;
    ++depth;
    needsComma = false;
}

void JsonWriter::close(char bracket) {
    --depth;
    if (needsComma) startLine();
    text += bracket;
    needsComma = true;
}

void JsonWriter::separate() {
    if (!afterKey) {
        if (needsComma) text += ',';
        if (depth > 0) startLine();
    }
    afterKey = false;
    needsComma = true;
}

void JsonWriter::startLine() {
    if (!pretty) return;
    text += '\n';
    text.append(2 * depth, ' ');
}

void JsonWriter::appendQuoted(std::string_view string) {
    text += '"';
    const bool wellFormed = simdjson::validate_utf8(string.data(), string.size());
    while (!string.empty()) {
        std::size_t plain = 0;
        while (plain < string.size() && isPlain(string[plain]) &&
               (wellFormed || static_cast<unsigned char>(string[plain]) < 0x80)) {
            ++plain;
        }
        text += string.substr(0, plain);
        string.remove_prefix(plain);
        if (string.empty()) break;
        if (static_cast<unsigned char>(string.front()) < 0x80) {
            appendEscaped(text, string.front());
            string.remove_prefix(1);
        } else if (const auto length = sequenceLength(string)) {
            text += string.substr(0, length);
            string.remove_prefix(length);
        } else {
            text += replacementCharacter;
            string.remove_prefix(1);
        }
    }
    text += '"';
}

}  // namespace KelvaneSDK
