#include "KelvaneSDK/DocumentEditing/TextPlaces.h"

#include <algorithm>
#include <optional>

#include "KelvaneSDK/TextForm/TextTokens.h"

namespace KelvaneSDK {

namespace {

using Kind = TextToken::Kind;

/// The tokens from a place on, with their places in the whole text.
class TokensFrom {
public:
    TokensFrom(std::string_view text, std::size_t offset) : lexer(text.substr(offset)), base(offset) {}

    TextToken next() {
        auto token = lexer.next();
        token.offset += base;
        if (token.is('(') || token.is('[') || token.is('{')) ++depth;
        if ((token.is(')') || token.is(']') || token.is('}')) && depth > 0) --depth;
        return token;
    }
    /// The next one that is no comment, and no end of a line.
    TextToken nextWord() {
        auto token = next();
        while (token.kind == Kind::comment || token.kind == Kind::newline) token = next();
        return token;
    }
    std::size_t openBrackets() const { return depth; }

private:
    TextLexer lexer;
    std::size_t base;
    std::size_t depth = 0;
};

std::size_t endOf(const TextToken& token) { return token.offset + token.length; }

bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\r'; }

}  // namespace

TextSpan wordSpan(std::string_view text, std::size_t offset) {
    TokensFrom tokens(text, offset);
    auto token = tokens.nextWord();
    const std::size_t begin = token.offset;
    while (tokens.openBrackets() > 0) token = tokens.next();
    return {begin, endOf(token)};
}

TextSpan expressionSpan(std::string_view text, std::size_t offset) {
    TextSpan span = wordSpan(text, offset);
    const auto following = [&] { return TokensFrom(text, span.end).nextWord(); };
    if (following().is('(')) span.end = wordSpan(text, span.end).end;
    if (const auto colon = following(); colon.is(':')) span.end = wordSpan(text, endOf(colon)).end;
    return span;
}

TextSpan statementSpan(std::string_view text, std::size_t offset) {
    const auto lineBreak = offset == 0 ? std::string_view::npos : text.rfind('\n', offset - 1);
    TokensFrom tokens(text, lineBreak == std::string_view::npos ? 0 : lineBreak + 1);
    auto token = tokens.next();
    TextSpan span{token.offset, endOf(token)};
    while (token.kind != Kind::end && (token.kind != Kind::newline || tokens.openBrackets() > 0)) {
        if (token.kind != Kind::comment) span.end = endOf(token);
        token = tokens.next();
    }
    return span;
}

std::vector<TextSpan> sourceSpans(std::string_view text, const TextArgument& argument) {
    std::vector<TextSpan> spans;
    for (const auto& source : argument.sources) {
        spans.push_back(source.nested ? expressionSpan(text, source.offset) : wordSpan(text, source.offset));
    }
    if (!spans.empty()) return spans;
    TokensFrom tokens(text, argument.offset);
    auto token = tokens.nextWord();
    if (!argument.slot.empty()) {
        tokens.nextWord();
        token = tokens.nextWord();
    }
    return {{token.offset, endOf(token)}};
}

std::vector<TextSpan> groupSpans(std::string_view text) {
    std::vector<TextSpan> spans;
    // Those that are open, as places in `spans`; absent for an order of connections.
    std::vector<std::optional<std::size_t>> open;
    TokensFrom tokens(text, 0);
    TextToken first{Kind::newline};
    for (auto token = tokens.next(); token.kind != Kind::end; token = tokens.next()) {
        if (first.kind == Kind::newline || first.is('}')) first = token;
        if (token.kind == Kind::newline) {
            first = token;
        } else if (token.is('{')) {
            const bool isOrder = first.isWord("order");
            open.push_back(isOrder ? std::nullopt : std::optional(spans.size()));
            if (!isOrder) spans.push_back({first.offset, endOf(token)});
            first = {Kind::newline};
        } else if (token.is('}') && !open.empty()) {
            if (open.back()) spans[*open.back()].end = endOf(token);
            open.pop_back();
        }
    }
    return spans;
}

TextSpan removalSpan(std::string_view text, TextSpan span) {
    const auto skipBlanks = [&](std::size_t at) {
        while (at < text.size() && isBlank(text[at])) ++at;
        return at;
    };
    std::size_t begin = span.begin, end = skipBlanks(span.end);
    const bool hasComma = end < text.size() && text[end] == ',';
    if (hasComma) end = skipBlanks(end + 1);
    while (begin > 0 && isBlank(text[begin - 1])) --begin;
    const bool beginsLine = begin == 0 || text[begin - 1] == '\n';
    if (beginsLine && (end == text.size() || text[end] == '\n'))
        return {begin, std::min(end + 1, text.size())};
    if (hasComma || beginsLine) return {span.begin, end};
    if (begin > 0 && text[begin - 1] == ',') --begin;
    return {begin, span.end};
}

}  // namespace KelvaneSDK
