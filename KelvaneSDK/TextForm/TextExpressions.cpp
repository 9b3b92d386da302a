#include "KelvaneSDK/TextForm/TextExpressions.h"

#include <algorithm>

#include "KelvaneSDK/DiagramCheck/DiagramCheck.h"
#include "KelvaneSDK/DiagramCheck/FindingList.h"
#include "KelvaneSDK/FileProcessing/NumberText.h"
#include "KelvaneSDK/TextForm/TextForm.h"

namespace KelvaneSDK {

using Kind = TextToken::Kind;

void ExpressionParser::fail(std::string what, std::string remedy) {
    failAt(token.offset, std::move(what), std::move(remedy));
}

void ExpressionParser::failAt(std::size_t offset, std::string what, std::string remedy) {
    syntax.fault(offset, std::move(what), std::move(remedy));
    throw EndOfStatement{};
}

void ExpressionParser::failExpected(std::string_view wanted, std::string remedy) {
    fail(std::string(wanted) + " was expected, " + found() + " was found", std::move(remedy));
}

std::string ExpressionParser::found() const {
    if (token.kind == Kind::end) return "the end of the text";
    if (token.kind == Kind::newline) return "the end of the line";
    return quotedText(text.substr(token.offset, std::min<std::size_t>(token.length, 80)));
}

// The next token that means something here: between brackets a line goes on.
void ExpressionParser::advance() {
    for (;;) {
        token = lexer.next();
        if (++tokens > mostTextTokens) {
            token.kind = Kind::end;
            fail("the text is too long: it has more than " + std::to_string(mostTextTokens) +
                 " names, values and signs");
        }
        if (token.kind == Kind::comment) {
            if (token.text.starts_with(' ')) token.text.erase(0, 1);
            syntax.notes.push_back(std::move(token.text));
        } else if (token.kind != Kind::newline || brackets == 0) {
            break;
        }
    }
    if (token.kind == Kind::fault) fail(token.text);
}

bool ExpressionParser::isFollowedBy(char symbol) const {
    TextLexer ahead = lexer;
    auto next = ahead.next();
    while (next.kind == Kind::comment || (next.kind == Kind::newline && brackets > 0)) next = ahead.next();
    return next.is(symbol);
}

void ExpressionParser::takeList() {
    if (!token.is('(') && !token.is('[')) return;
    token = lexer.listAt(token.offset);
    if (token.kind == Kind::fault) fail(token.text);
}

void ExpressionParser::skipLine() {
    brackets = 0;
    while (token.kind != Kind::newline && token.kind != Kind::end) token = lexer.next();
}

bool ExpressionParser::accept(char symbol) {
    if (!token.is(symbol)) return false;
    if (symbol == '(' || symbol == '[') ++brackets;
    if (symbol == ')' || symbol == ']') --brackets;
    advance();
    return true;
}

void ExpressionParser::expect(char symbol, std::string remedy) {
    if (!accept(symbol)) failExpected(std::string(1, symbol), std::move(remedy));
}

void ExpressionParser::endOfLine() {
    if (token.kind != Kind::newline && token.kind != Kind::end) failExpected("the end of the line");
}

std::int64_t ExpressionParser::integer(std::string_view digits, std::size_t offset) {
    const auto value = parseInteger(digits);
    if (!value) failAt(offset, "an integer of 64 bits was expected, \"" + shortened(digits) + "\" was found");
    return *value;
}

TextReference ExpressionParser::reference() {
    TextReference result{token.offset};
    if (token.kind == Kind::id) {
        result.id = integer(token.text, token.offset);
    } else if (token.isName()) {
        result.name = std::move(token.text);
    } else {
        failExpected("a name");
    }
    advance();
    return result;
}

std::string ExpressionParser::type() {
    if (token.kind == Kind::name && concreteClassNamed(token.text)) {
        std::string name = std::move(token.text);
        advance();
        return name;
    }
    static constexpr std::string_view names[] = {"Float",          "Integer",      "Boolean",
                                                 "Vector",         "Orientation",  "Sequence",
                                                 "String",         "Float array",  "Integer array",
                                                 "Boolean array",  "Vector array", "Orientation array",
                                                 "Sequence array", "String array"};
    const auto remedy = token.kind == Kind::name ? nearestNameRemedy(token.text, names) : "";
    failExpected("a value type", remedy.empty()
                                     ? "the types are Float, Integer, Boolean, Vector, Orientation, "
                                       "Sequence, String, and each with \"array\" behind it"
                                     : remedy);
}

const NodeClass& ExpressionParser::classOf(NodeCategory category, const std::string& typeName,
                                           std::size_t offset) {
    const auto* nodeClass = registry.find(category, typeName);
    if (nodeClass != nullptr) return *nodeClass;
    if (category != NodeCategory::Function) {
        failAt(offset,
               "there is no " + std::string(classStringOf(category)) + " of type \"" + typeName + "\"");
    }
    std::vector<std::string_view> names;
    for (const auto& [name, entry] : registry.classes(category)) names.emplace_back(name);
    auto remedy = nearestNameRemedy(typeName, names);
    if (remedy.empty()) remedy = "`kelvane functions` lists them";
    failAt(offset, "no function is called " + quotedText(shortened(typeName)), std::move(remedy));
}

// What stands for a node in an expression; nodes nested in it come before it.
TextReference ExpressionParser::expression(std::size_t depth) {
    const std::size_t offset = token.offset;
    if (depth > maximumCallDepth) fail("calls nest too deep here", "give a part a name of its own");
    const bool isWord = token.isWord("true") || token.isWord("false");
    if (token.kind == Kind::number || token.kind == Kind::string || isWord || token.is('(') ||
        token.is('[') || token.isWord("_")) {
        return constant();
    }
    auto result = reference();
    if (token.is('(') && !result.id) return call(std::move(result.name), offset, depth);
    if (token.is(':')) fail("a name has its type already; only values and calls are given one here");
    return result;
}

TextReference ExpressionParser::call(std::string name, std::size_t offset, std::size_t depth) {
    TextNode node{offset, NodeCategory::Function, &classOf(NodeCategory::Function, name, offset)};
    accept('(');
    if (!token.is(')')) {
        do {
            node.arguments.push_back(argument(depth + 1));
        } while (accept(','));
    }
    expect(')', "close the call of " + name + ", or write a comma before the next input");
    node.info.typeString = std::move(name);
    if (accept(':')) node.info.outputType = type();
    return push(std::move(node));
}

TextReference ExpressionParser::constant() {
    TextNode node{token.offset, NodeCategory::Constant};
    if (token.isWord("_")) {
        advance();
        if (!token.is(':'))
            failExpected(":",
                         "_ stands for an input without a connection; a constant without a value is _: Type");
    } else {
        takeList();
        node.isValueQuoted = token.kind == Kind::string;
        node.value = std::move(token.text);
        advance();
    }
    if (accept(':')) node.info.typeString = type();
    return push(std::move(node));
}

TextReference ExpressionParser::push(TextNode&& node) {
    node.info.classString = classStringOf(node.category);
    const TextReference result{node.offset, {}, {}, syntax.nodes.size()};
    syntax.nodes.push_back(std::move(node));
    return result;
}

TextArgument ExpressionParser::argument(std::size_t depth) {
    TextArgument result{token.offset};
    if (token.isName() && isFollowedBy('=')) {
        result.slot = std::move(token.text);
        advance();
        accept('=');
    }
    sources(result, depth);
    return result;
}

void ExpressionParser::sources(TextArgument& into, std::size_t depth) {
    if (token.isWord("_") && !isFollowedBy(':')) return advance();
    do {
        into.sources.push_back(expression(depth));
    } while (accept('|'));
}

std::string nearestNameRemedy(std::string_view name, std::span<const std::string_view> names) {
    const auto nearest = nearestName(name, names);
    return nearest.empty() ? "" : "did you mean " + quotedText(nearest) + "?";
}

std::optional<std::size_t> slotNamed(const Declaration& function, std::string_view slot) {
    for (std::size_t i = 0; i < function.inputs.size(); ++i) {
        if (function.inputs[i].label == slot) return i;
    }
    return std::nullopt;
}

}  // namespace KelvaneSDK
