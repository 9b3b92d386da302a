#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace [[gnu::visibility("default")]] KelvaneSDK {

class [[gnu::visibility("hidden")]] JsonText;

/// Appends JSON text (RFC 8259) to a string, with the commas and white space that its structure needs: for
/// what an application reports about diagrams and results. The text is valid JSON whatever it is given:
/// numbers are the shortest decimals that read back exactly, NaN and infinities, which JSON does not have,
/// are null, and bytes of strings that are not UTF-8 become U+FFFD.
///
///     JsonWriter json(text);
///     json.beginObject();
///     json.member("mean", 71.2);
///     json.endObject();
///
/// gives {"mean":71.2}, or the same over three lines.
///
/// The caller opens and closes objects and arrays in pairs, and gives a key before each value of an object;
/// neither is checked. The string has the whole text when all are closed, and is the writer's until then. One
/// thread at a time. Operations throw std::bad_alloc when memory runs out; the string is no JSON then.
class JsonWriter {
public:
    enum class Layout {
        /// No white space: for machines, and for a line each.
        compact,
        /// A member or element per line, indented by two spaces.
        pretty,
    };

    /// Appends to what the string holds. It must outlive the writer.
    explicit JsonWriter(std::string& target, Layout layout = Layout::compact);
    /// Closes nothing by itself.
    ~JsonWriter();

    /// An object or array as a whole, as an element, or after a key.
    void beginObject() { open('{'); }
    /// After the last of its members; there need not be any.
    void endObject() { close('}'); }
    void beginArray() { open('['); }
    /// After the last of its elements.
    void endArray() { close(']'); }
    /// The name of the next member of an object. That no name comes twice is up to the caller.
    void key(std::string_view name);
    /// An element, the value after a key, or a text that is one value.
    void value(double number);
    /// As it is, beyond 2^53 too, which some readers of JSON round.
    void value(std::int64_t number);
    void value(bool truth);
    /// A string; its quotes, backslashes and controls are escaped.
    void value(std::string_view string);
    void value(const char* string) { value(std::string_view(string)); }
    /// The word null, for what is absent.
    void null();

    /// A key and its value, in one call; for a value that is an object or array, key() and then that.
    ///
    ///     json.key("gaps");
    ///     json.beginArray();
    ///     for (const double gap : gaps) json.value(gap);
    ///     json.endArray();
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

    const std::unique_ptr<JsonText> text;
    std::size_t depth = 0;
    bool pretty, needsComma = false, afterKey = false;
};

}  // namespace KelvaneSDK
