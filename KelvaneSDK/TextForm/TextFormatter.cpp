#include "KelvaneSDK/MemoryGuard.h"
#include "KelvaneSDK/TextForm/TextForm.h"
#include "KelvaneSDK/TextForm/TextTokens.h"

namespace KelvaneSDK {

namespace {

using Kind = TextToken::Kind;

bool isAnyOf(const TextToken& token, std::string_view symbols) {
    return token.kind == Kind::symbol && symbols.find(token.text.front()) != std::string_view::npos;
}

// Whether a space stands between two tokens of a line.
bool isSpaced(const TextToken& before, const TextToken& token) {
    if (isAnyOf(before, "([.") || isAnyOf(token, "),].:")) return false;
    // The input of an order: #7.2.
    if (token.kind == Kind::number && token.text.starts_with('.') && !isAnyOf(before, "=,|")) return false;
    if (token.is('(')) return before.isWord("at") || !before.isName();
    return true;
}

std::optional<std::string> format(std::string_view text) {
    TextLexer lexer(text);
    std::string result;
    TextToken before{Kind::newline};
    std::size_t brackets = 0, braces = 0, emptyLines = 1;
    for (auto token = lexer.next(); token.kind != Kind::end; token = lexer.next()) {
        if (token.kind == Kind::fault) return std::nullopt;
        if (token.kind == Kind::newline) {
            // At most one empty line in a row, and none at the beginning.
            if (before.kind != Kind::newline) {
                emptyLines = 0;
                result += '\n';
            } else if (emptyLines++ == 0) {
                result += '\n';
            }
            before = std::move(token);
            continue;
        }
        if (isAnyOf(token, ")]") && brackets > 0) --brackets;
        if (token.is('}') && braces > 0) --braces;
        if (before.kind == Kind::newline) {
            result.append(4 * std::min<std::size_t>(brackets + braces, 8), ' ');
        } else if (token.kind == Kind::comment) {
            result += "  ";
        } else if (isSpaced(before, token)) {
            result += ' ';
        }
        const auto source = text.substr(token.offset, token.length);
        result += token.kind == Kind::name ? std::string_view(token.text) : source;
        if (token.kind == Kind::comment && result.ends_with('\r')) result.pop_back();
        if (isAnyOf(token, "([")) ++brackets;
        if (token.is('{')) ++braces;
        before = std::move(token);
    }
    const auto last = result.find_last_not_of('\n');
    result.resize(last == std::string::npos ? 0 : last + 1);
    if (!result.empty()) result += '\n';
    return result;
}

}  // namespace

std::optional<std::string> formatText(std::string_view text) {
    return withinMemory([&] { return format(text); }).value_or(std::nullopt);
}

}  // namespace KelvaneSDK
