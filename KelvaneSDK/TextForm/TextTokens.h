#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace KelvaneSDK {

/// One word of the text form.
struct TextToken {
    enum class Kind : std::uint8_t {
        name,        ///< bare words, `text` without superfluous spaces
        quotedName,  ///< in back quotes
        number,
        string,
        id,      ///< "#7", `text` the digits
        symbol,  ///< one of : = | , . * ( ) [ ] { }
        comment,
        newline,
        end,
        fault,  ///< `text` says what is wrong
    };
    Kind kind = Kind::end;
    std::size_t offset = 0, length = 0;
    std::string text = {};

    bool is(char symbol) const { return kind == Kind::symbol && text.front() == symbol; }
    bool isName() const { return kind == Kind::name || kind == Kind::quotedName; }
    bool isWord(std::string_view word) const { return kind == Kind::name && text == word; }
};

/// Takes a text of valid UTF-8 apart, token by token. A byte order mark is passed over.
class TextLexer {
public:
    explicit TextLexer(std::string_view source);

    TextToken next();
    /// The list of numbers that begins at a bracket, as `number` with regular spaces: "(1, 2, 3)".
    TextToken listAt(std::size_t offset);

private:
    TextToken make(TextToken::Kind kind, std::size_t end, std::string content = {});
    TextToken fail(std::size_t end, std::string what) {
        return make(TextToken::Kind::fault, end, std::move(what));
    }
    TextToken name();
    TextToken quoted(char quote);
    TextToken number();

    std::string_view text;
    std::size_t at;
};

/// A text that holds a diagram, in good order: formatText() without the check that it does.
std::string inGoodOrder(std::string_view text);
/// A name as the text form writes it: bare where it can be, or in back quotes.
std::string nameText(std::string_view name);
/// Any text in quotes; what cannot be seen as an escape.
std::string quotedText(std::string_view content, char quote = '"');
/// True when all of it can be seen, and stands in one line.
bool isVisibleText(std::string_view text);
/// True for what is written without quotes as a value: "-1.5e3", "true", "(1, 2, 3)".
bool isPlainValue(std::string_view value);

}  // namespace KelvaneSDK
