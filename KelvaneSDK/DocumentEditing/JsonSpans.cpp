#include "KelvaneSDK/DocumentEditing/JsonSpans.h"

#include "KelvaneSDK/FileProcessing/JsonReader.h"

namespace KelvaneSDK {

namespace {

std::size_t skipBlanks(std::string_view text, std::size_t at) {
    return std::min(text.find_first_not_of(" \t\r\n", at), text.size());
}

std::size_t endOfString(std::string_view text, std::size_t at) {
    for (++at; text[at] != '"'; ++at) {
        if (text[at] == '\\') ++at;
    }
    return at + 1;
}

std::size_t endOfValue(std::string_view text, std::size_t at) {
    if (text[at] == '"') return endOfString(text, at);
    if (text[at] != '{' && text[at] != '[')
        return std::min(text.find_first_of(",]} \t\r\n", at), text.size());
    std::size_t depth = 0;
    do {
        const char c = text[at];
        if (c == '"') {
            at = endOfString(text, at);
            continue;
        }
        if (c == '{' || c == '[') ++depth;
        if (c == '}' || c == ']') --depth;
        ++at;
    } while (depth > 0);
    return at;
}

std::string unquoted(std::string_view name) {
    const auto content = name.substr(1, name.size() - 2);
    if (content.find('\\') == std::string_view::npos) return std::string(content);
    JsonReader reader;
    JsonFailure failure;
    const auto value = reader.parse(name, failure);
    return std::string(value ? asString(*value).value_or(content) : content);
}

}  // namespace

TextSpan rootSpan(std::string_view text) {
    const std::size_t begin = skipBlanks(text, 0);
    return {begin, endOfValue(text, begin)};
}

std::vector<TextSpan> elementSpans(std::string_view text, TextSpan array) {
    std::vector<TextSpan> elements;
    std::size_t at = skipBlanks(text, array.begin + 1);
    while (text[at] != ']') {
        elements.push_back({at, endOfValue(text, at)});
        at = skipBlanks(text, elements.back().end);
        if (text[at] == ',') at = skipBlanks(text, at + 1);
    }
    return elements;
}

std::vector<JsonMember> memberSpans(std::string_view text, TextSpan object) {
    std::vector<JsonMember> members;
    std::size_t at = skipBlanks(text, object.begin + 1);
    while (text[at] != '}') {
        const TextSpan name{at, endOfString(text, at)};
        at = skipBlanks(text, skipBlanks(text, name.end) + 1);
        const TextSpan value{at, endOfValue(text, at)};
        members.push_back({name, value, unquoted(name.in(text))});
        at = skipBlanks(text, value.end);
        if (text[at] == ',') at = skipBlanks(text, at + 1);
    }
    return members;
}

}  // namespace KelvaneSDK
