#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace KelvaneSDK {

/// Appends JSON text (RFC 8259) to a string. Numbers are the shortest decimals that read back exactly; NaN
/// and infinities, which JSON does not have, are written as null. Bytes that are not UTF-8 become U+FFFD, so
/// the text is valid JSON whatever it is given. The caller opens and closes objects and arrays in pairs.
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
    void separate();
    void startLine();
    void appendQuoted(std::string_view string);

    std::string& text;
    std::size_t depth = 0;
    bool pretty;
    bool needsComma = false;
    bool afterKey = false;
};

}  // namespace KelvaneSDK
