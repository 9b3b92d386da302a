#pragma once

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>

namespace KelvaneSDK {

bool isUtf8(std::string_view text);

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

/// A number or a string as JSON.
inline std::string jsonTextOf(double number) {
    std::string text;
    JsonText json(text);
    json.number(number);
    json.flush();
    return text;
}
inline std::string jsonTextOf(std::string_view unquoted) {
    std::string text;
    JsonText json(text);
    json.string(unquoted);
    json.flush();
    return text;
}

}  // namespace KelvaneSDK
