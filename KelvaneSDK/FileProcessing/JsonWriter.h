#pragma once

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>

namespace [[gnu::visibility("default")]] KelvaneSDK {

/// Appends the parts of JSON text to a string, by way of a buffer that flush() empties. Numbers are the
/// shortest decimals that read back exactly; NaN and infinities, which JSON does not have, are written as
/// null. Bytes of strings that are not UTF-8 become U+FFFD.
class JsonText {
public:
    /// How much room any number takes at most.
    static constexpr std::size_t longestNumber = 32;
    /// Writes a number into so much room and returns its end.
    static char* write(char* at, double number);

    explicit JsonText(std::string& text) : target(text) {}
    JsonText(const JsonText&) = delete;
    JsonText& operator=(const JsonText&) = delete;

    /// Appends what has been put since the last flush().
    void flush() {
        target.append(buffer, static_cast<std::size_t>(at - buffer));
        at = buffer;
    }

    void put(char c) {
        reserve(1);
        *at++ = c;
    }
    /// Text as it stands.
    void put(std::string_view text) {
        if (text.size() > sizeof buffer) {
            flush();
            target += text;
            return;
        }
        reserve(text.size());
        at = std::copy(text.begin(), text.end(), at);
    }
    void number(double x) {
        reserve(longestNumber);
        at = write(at, x);
    }
    void number(std::int64_t n);
    void boolean(bool truth) { put(truth ? std::string_view("true") : std::string_view("false")); }
    void string(std::string_view unquoted);

private:
    void reserve(std::size_t size) {
        if (size > static_cast<std::size_t>(buffer + sizeof buffer - at)) flush();
    }
    void putEscaped(std::string_view unquoted);

    std::string& target;
    char buffer[512];
    char* at = buffer;
};

/// Appends JSON text (RFC 8259) to a string, with the commas and white space that its structure needs; the
/// text is valid JSON whatever it is given. The caller opens and closes objects and arrays in pairs; the
/// string has the whole text when all are closed.
class JsonWriter {
public:
    enum class Layout {
        compact,  ///< no white space
        pretty,   ///< a member or element per line, indented by two spaces
    };

    explicit JsonWriter(std::string& target, Layout layout = Layout::compact)
        : text(target), pretty(layout == Layout::pretty) {}

    void beginObject() { open('{'); }
    void endObject() { close('}'); }
    void beginArray() { open('['); }
    void endArray() { close(']'); }
    void key(std::string_view name);
    void value(double number);
    void value(std::int64_t number);
    void value(bool truth);
    void value(std::string_view string);
    void value(const char* string) { value(std::string_view(string)); }
    void null();

    template <class T>
    void member(std::string_view name, const T& content) {
        key(name);
        value(content);
    }

private:
    void open(char bracket);
    void close(char bracket);
    void begin();
    void end();
    void startLine();

    JsonText text;
    std::size_t depth = 0;
    bool pretty;
    bool needsComma = false;
    bool afterKey = false;
};

}  // namespace KelvaneSDK
