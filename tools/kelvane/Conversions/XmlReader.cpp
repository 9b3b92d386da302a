#include "XmlReader.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <string_view>
#include <utility>

#include "Messages.h"

namespace kelvane {

namespace {

constexpr std::size_t longestContent = 1 << 20, longestName = 256, mostAttributes = 64, deepest = 64;

bool isBlank(int byte) { return byte == ' ' || byte == '\t' || byte == '\r' || byte == '\n'; }

bool endsName(int byte) {
    return byte == ByteReader::atEnd || isBlank(byte) || byte == '>' || byte == '/' || byte == '=' ||
           byte == '<';
}

void appendUtf8(std::string& text, std::uint32_t code) {
    const auto put = [&](std::uint32_t byte) { text += static_cast<char>(byte); };
    if (code < 0x80) return put(code);
    if (code < 0x800) {
        put(0xc0 | code >> 6);
    } else {
        if (code < 0x10000) {
            put(0xe0 | code >> 12);
        } else {
            put(0xf0 | code >> 18);
            put(0x80 | (code >> 12 & 0x3f));
        }
        put(0x80 | (code >> 6 & 0x3f));
    }
    put(0x80 | (code & 0x3f));
}

}  // namespace

XmlReader::XmlReader(std::unique_ptr<DataFile> file) : bytes(std::move(file)) {
    if (bytes.peek() != 0xef) return;
    if (bytes.take(3) != "\xef\xbb\xbf") fail("the text is not UTF-8");
}

XmlReader::Event XmlReader::next() {
    if (std::exchange(hasTaken, false)) content.clear();
    if (endsAtOnce) {
        endsAtOnce = false;
        endElement();
        return Event::end;
    }
    for (;;) {
        const int byte = get();
        if (byte == ByteReader::atEnd) {
            if (!open.empty()) fail("the file ends within the element " + inQuotes(open.back()));
            if (!hadRoot) fail("the file has no XML element");
            return Event::documentEnd;
        }
        if (byte == '&') {
            appendReference(content);
        } else if (byte != '<') {
            if (open.empty() && !isBlank(byte)) fail("something stands outside the document's element");
            append(content, byte);
        } else if (bytes.peek() == '/') {
            get();
            const auto closed = readName();
            skipBlanks();
            expect('>', "at the end of a tag");
            if (open.empty() || open.back() != closed) {
                fail("the element " + inQuotes(closed) + " ends, where " +
                     (open.empty() ? "none is open" : inQuotes(open.back()) + " is open"));
            }
            elementName = open.back();
            endElement();
            return Event::end;
        } else if (!takeDeclaration()) {
            if (open.empty() && hadRoot) fail("a second element follows the document's element");
            if (open.size() == deepest) fail("elements are nested deeper than " + std::to_string(deepest));
            hadRoot = true;
            elementName = readName();
            readAttributes();
            open.push_back(elementName);
            content.clear();
            return Event::begin;
        }
    }
}

const std::string* XmlReader::attribute(std::string_view name) const {
    const auto found = std::find_if(attributes.begin(), attributes.end(),
                                    [&](const auto& pair) { return pair.first == name; });
    return found == attributes.end() ? nullptr : &found->second;
}

void XmlReader::fail(const std::string& what) const {
    throw Failure{ExitStatus::failed, bytes.name() + ":" + std::to_string(lineNumber) + ": " + what};
}

int XmlReader::get() {
    const int byte = bytes.get();
    lineNumber += byte == '\n';
    if (byte == '\0') fail("there is a zero byte: this is no XML in UTF-8");
    return byte;
}

void XmlReader::expect(char expected, const char* where) {
    if (get() != expected) fail(std::string("\"") + expected + "\" was expected " + where);
}

void XmlReader::skipBlanks() {
    while (isBlank(bytes.peek())) get();
}

void XmlReader::skipUntil(std::string_view end) {
    std::string last;
    while (last != end) {
        const int byte = get();
        if (byte == ByteReader::atEnd)
            fail("\"" + std::string(end) + "\" was expected before the end of the file");
        if (last.size() == end.size()) last.erase(0, 1);
        last += static_cast<char>(byte);
    }
}

/// Passes over what begins with "<?" or "<!", and takes the text of a CDATA section.
bool XmlReader::takeDeclaration() {
    if (bytes.peek() == '?') {
        skipUntil("?>");
        return true;
    }
    if (bytes.peek() != '!') return false;
    get();
    if (bytes.peek() == '-') {
        get();
        expect('-', "in a comment's beginning");
        skipUntil("-->");
        return true;
    }
    if (bytes.peek() != '[') fail("a document type is not read");
    constexpr std::string_view opening = "[CDATA[", closing = "]]>";
    for (const char c : opening) expect(c, "in a section's beginning");
    std::string text;
    while (!text.ends_with(closing)) {
        const int byte = get();
        if (byte == ByteReader::atEnd) fail("a section of text is not closed");
        append(text, byte);
    }
    content += text.substr(0, text.size() - closing.size());
    if (content.size() > longestContent)
        fail("a text is longer than " + std::to_string(longestContent) + " bytes");
    return true;
}

std::string XmlReader::readName() {
    std::string name;
    while (!endsName(bytes.peek())) {
        name += static_cast<char>(get());
        if (name.size() > longestName)
            fail("a name is longer than " + std::to_string(longestName) + " bytes");
    }
    name.erase(0, name.rfind(':') + 1);
    if (name.empty()) fail("a name was expected");
    return name;
}

void XmlReader::readAttributes() {
    attributes.clear();
    for (;;) {
        skipBlanks();
        if (bytes.peek() == '>') {
            get();
            return;
        }
        if (bytes.peek() == '/') {
            get();
            expect('>', "at the end of a tag");
            endsAtOnce = true;
            return;
        }
        if (attributes.size() == mostAttributes) fail("an element has too many attributes");
        auto& [name, value] = attributes.emplace_back();
        name = readName();
        skipBlanks();
        expect('=', "behind an attribute's name");
        skipBlanks();
        const int quote = get();
        if (quote != '"' && quote != '\'') fail("an attribute's value stands in no quotes");
        for (int byte = get(); byte != quote; byte = get()) {
            if (byte == ByteReader::atEnd || byte == '<') fail("an attribute's value is not closed");
            if (byte == '&') {
                appendReference(value);
            } else {
                append(value, byte);
            }
        }
    }
}

void XmlReader::append(std::string& text, int byte) {
    text += static_cast<char>(byte);
    if (text.size() > longestContent)
        fail("a text is longer than " + std::to_string(longestContent) + " bytes");
}

void XmlReader::appendReference(std::string& text) {
    constexpr std::pair<std::string_view, char> entities[]{
        {"lt", '<'}, {"gt", '>'}, {"amp", '&'}, {"quot", '"'}, {"apos", '\''}};
    constexpr std::size_t longest = 10;
    std::string name;
    for (int byte = get(); byte != ';'; byte = get()) {
        if (byte == ByteReader::atEnd || name.size() == longest)
            fail("\"&\" stands alone, or an entity is unknown");
        name += static_cast<char>(byte);
    }
    for (const auto& [known, character] : entities) {
        if (name == known) return append(text, static_cast<unsigned char>(character));
    }
    const bool isHexadecimal = name.starts_with("#x");
    const auto* const begin = name.data() + (isHexadecimal ? 2 : 1);
    const auto* const end = name.data() + name.size();
    std::uint32_t code = 0;
    if (!name.starts_with('#') || begin >= end ||
        std::from_chars(begin, end, code, isHexadecimal ? 16 : 10).ptr != end || code == 0 || code > 0x10ffff)
        fail("the entity \"&" + printable(name) + ";\" is unknown");
    appendUtf8(text, code);
    if (text.size() > longestContent)
        fail("a text is longer than " + std::to_string(longestContent) + " bytes");
}

void XmlReader::endElement() {
    elementName = open.back();
    open.pop_back();
    hasTaken = true;
}

}  // namespace kelvane
