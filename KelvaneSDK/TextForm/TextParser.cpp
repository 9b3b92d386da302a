#include <algorithm>

#include "KelvaneSDK/DiagramCheck/DiagramCheck.h"
#include "KelvaneSDK/FileProcessing/NumberText.h"
#include "KelvaneSDK/TextForm/TextForm.h"
#include "KelvaneSDK/TextForm/TextSyntax.h"
#include "KelvaneSDK/TextForm/TextTokens.h"

namespace KelvaneSDK {

namespace {

using Kind = TextToken::Kind;

/// Leaves a statement whose fault has been noted; never leaves the parser.
struct EndOfStatement {};

class Parser {
public:
    Parser(std::string_view source, const NodeRegistry& nodeTypes)
        : text(source), registry(nodeTypes), lexer(source) {}

    TextSyntax parse() {
        token.kind = Kind::newline;
        while (token.kind != Kind::end && syntax.problems.size() < mostTextFaults) {
            try {
                if (token.kind == Kind::newline) {
                    advance();
                } else if (token.is('}') && !open.empty()) {
                    open.pop_back();
                    advance();
                    endOfLine();
                } else if (open.empty()) {
                    statement();
                } else {
                    member();
                }
            } catch (EndOfStatement) {
                if (nameOfStatement) syntax.brokenNames.insert(std::move(*nameOfStatement));
                nameOfStatement.reset();
                skipLine();
            }
        }
        if (!open.empty() && syntax.problems.empty()) {
            syntax.fault(open.back().offset, "this { is never closed", "write } behind the last member");
        }
        return std::move(syntax);
    }

private:
    [[noreturn]] void fail(std::string what, std::string remedy = {}) {
        failAt(token.offset, std::move(what), std::move(remedy));
    }
    [[noreturn]] void failAt(std::size_t offset, std::string what, std::string remedy = {}) {
        syntax.fault(offset, std::move(what), std::move(remedy));
        throw EndOfStatement{};
    }
    [[noreturn]] void failExpected(std::string_view wanted, std::string remedy = {}) {
        fail(std::string(wanted) + " was expected, " + found() + " was found", std::move(remedy));
    }
    std::string found() const {
        if (token.kind == Kind::end) return "the end of the text";
        if (token.kind == Kind::newline) return "the end of the line";
        return quotedText(text.substr(token.offset, std::min<std::size_t>(token.length, 80)));
    }

    // The next token that means something here: between brackets a line goes on.
    void advance() {
        for (;;) {
            token = lexer.next();
            if (token.kind == Kind::comment) {
                if (token.text.starts_with(' ')) token.text.erase(0, 1);
                syntax.notes.push_back(std::move(token.text));
            } else if (token.kind != Kind::newline || brackets == 0) {
                break;
            }
        }
        if (token.kind == Kind::fault) fail(token.text);
    }
    void skipLine() {
        brackets = 0;
        while (token.kind != Kind::newline && token.kind != Kind::end) token = lexer.next();
    }
    bool accept(char symbol) {
        if (!token.is(symbol)) return false;
        if (symbol == '(' || symbol == '[') ++brackets;
        if (symbol == ')' || symbol == ']') --brackets;
        advance();
        return true;
    }
    void expect(char symbol, std::string remedy = {}) {
        if (!accept(symbol)) failExpected(std::string(1, symbol), std::move(remedy));
    }
    void endOfLine() {
        if (token.kind != Kind::newline && token.kind != Kind::end) failExpected("the end of the line");
    }

    std::int64_t integer(std::string_view digits, std::size_t offset) {
        const auto value = parseInteger(digits);
        if (!value)
            failAt(offset, "an integer of 64 bits was expected, \"" + std::string(digits) + "\" was found");
        return *value;
    }

    TextReference reference() {
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

    std::string type() {
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

    const NodeClass& classOf(NodeCategory category, const std::string& typeName, std::size_t offset) {
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
        failAt(offset, "no function is called " + quotedText(typeName), std::move(remedy));
    }

    // What stands for a node in an expression; nodes nested in it come before it.
    TextReference expression(std::size_t depth) {
        const std::size_t offset = token.offset;
        if (depth > maximumCallDepth) fail("calls nest too deep here", "give a part a name of its own");
        const bool isWord = token.isWord("true") || token.isWord("false");
        if (token.kind == Kind::number || token.kind == Kind::string || isWord || token.is('(') ||
            token.is('[') || token.isWord("_")) {
            return constant();
        }
        if (!token.isName()) {
            auto result = reference();
            refuseType();
            return result;
        }
        std::string name = token.text;
        auto result = reference();
        if (!token.is('(')) {
            refuseType();
            return result;
        }
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
    void refuseType() {
        if (token.is(':')) fail("a name has its type already; only values and calls are given one here");
    }

    TextReference constant() {
        TextNode node{token.offset, NodeCategory::Constant};
        if (token.isWord("_")) {
            advance();
            if (!token.is(':'))
                failExpected(
                    ":", "_ stands for an input without a connection; a constant without a value is _: Type");
        } else {
            if (token.is('(') || token.is('[')) {
                token = lexer.listAt(token.offset);
                if (token.kind == Kind::fault) fail(token.text);
            }
            node.isValueQuoted = token.kind == Kind::string;
            node.value = std::move(token.text);
            advance();
        }
        if (accept(':')) node.info.typeString = type();
        return push(std::move(node));
    }

    TextReference push(TextNode&& node) {
        node.info.classString = classStringOf(node.category);
        const TextReference result{node.offset, {}, {}, syntax.nodes.size()};
        syntax.nodes.push_back(std::move(node));
        return result;
    }

    TextArgument argument(std::size_t depth) {
        TextArgument result{token.offset};
        if (token.isName() && token.kind != Kind::end) {
            const auto before = lexer;
            const auto first = token;
            const auto notes = syntax.notes.size();
            advance();
            if (accept('=')) {
                result.slot = first.text;
            } else {
                lexer = before;
                token = first;
                syntax.notes.resize(notes);
            }
        }
        sources(result, depth);
        return result;
    }

    // One or more nodes that feed the same input, or _ for none.
    void sources(TextArgument& into, std::size_t depth) {
        if (token.isWord("_")) {
            const auto before = lexer;
            const auto underscore = token;
            advance();
            if (!token.is(':')) return;
            lexer = before;
            token = underscore;
        }
        do {
            into.sources.push_back(expression(depth));
        } while (accept('|'));
    }

    void statement() {
        const std::size_t offset = token.offset;
        if (token.kind != Kind::id && !token.isName()) {
            failExpected("a name", "a line begins with the name of a stream, a node or an output");
        }
        const bool isWord = token.kind == Kind::name;
        std::optional<std::string> name;
        if (token.isName()) {
            name = token.text;
            advance();
        }
        std::optional<std::int64_t> id;
        if (token.kind == Kind::id) {
            id = integer(token.text, token.offset);
            advance();
        }
        if (isWord && !id) {
            if (token.is('(') && name->starts_with("raw ")) return raw(*name, offset);
            if (token.kind == Kind::newline || token.kind == Kind::end) {
                if (*name == "order by source") {
                    syntax.usualOrder = ConnectionOrder::bySource;
                    return;
                }
                if (*name == "order by target") {
                    syntax.usualOrder = ConnectionOrder::byTarget;
                    return;
                }
            }
            if (token.is('{') && *name == "order") return beginOrder();
            if (token.is('{') || token.is('[') || token.isName()) return beginGroup(*name, offset);
            if (token.is('('))
                failAt(offset, "a call stands behind a name and =", "write: name = " + *name + "(...)");
        }
        nameOfStatement = name;
        std::size_t index = 0;
        if (accept('=')) {
            index = definition();
        } else if (accept(':')) {
            index = streamOrOutput(offset);
        } else {
            failExpected("= or :", "write name = Function(...), or name: Type for a stream");
        }
        auto& node = syntax.nodes[index];
        node.id = id;
        node.name = std::move(name);
        if (token.is('[')) attributes(node);
        endOfLine();
        nameOfStatement.reset();
    }

    std::size_t definition() {
        const std::size_t offset = token.offset;
        const auto result = expression(0);
        if (!result.nested) {
            failAt(offset, "a name stands for a call or a value, not for another name",
                   "use the other name, or write Pass-through(...)");
        }
        if (token.is('|')) fail("several nodes together feed an input or an output, and have no name");
        return *result.nested;
    }

    std::size_t streamOrOutput(std::size_t offset) {
        const std::size_t typeOffset = token.offset;
        TextNode node{offset};
        node.info.typeString = type();
        node.category = NodeCategory::InputStream;
        if (accept('=')) {
            node.category = NodeCategory::VariableOutput;
            TextArgument input{token.offset};
            sources(input, 0);
            node.arguments.push_back(std::move(input));
        }
        node.nodeClass = &classOf(node.category, node.info.typeString, typeOffset);
        push(std::move(node));
        return syntax.nodes.size() - 1;
    }

    std::optional<PositionInfo> position() {
        if (!token.isWord("at")) return std::nullopt;
        advance();
        if (token.is('(')) token = lexer.listAt(token.offset);
        const auto comma = token.text.find(", ");
        std::optional<double> x, y;
        if (token.kind == Kind::number && comma != std::string::npos && token.text.size() > 2) {
            x = parseDouble(std::string_view(token.text).substr(1, comma - 1));
            y = parseDouble(std::string_view(token.text).substr(comma + 2, token.text.size() - comma - 3));
        }
        if (!x || !y) failExpected("a place", "write: at (200, 80)");
        advance();
        return PositionInfo{0, *x, *y};
    }

    void attributes(TextNode& node) {
        accept('[');
        do {
            if (auto place = position()) {
                node.position = *place;
            } else if (!token.isName()) {
                failExpected("a colour, \"hidden\", \"not forwarded\", a property or a place");
            } else {
                attribute(node);
            }
        } while (accept(','));
        expect(']');
    }

    void attribute(TextNode& node) {
        const auto word = token;
        advance();
        if (accept('=')) {
            if (token.kind != Kind::string) failExpected("a text in quotes");
            if (word.text == "outputType") {
                node.info.outputType = token.text;
            } else {
                node.properties.push_back({0, word.text, token.text});
            }
            advance();
        } else if (word.text == "hidden" || word.text == "not forwarded") {
            const bool isHidden = word.text == "hidden";
            if (node.category != (isHidden ? NodeCategory::VariableOutput : NodeCategory::InputStream)) {
                failAt(word.offset, isHidden ? "only a variable output can be hidden"
                                             : "only an input stream can be kept from being forwarded");
            }
            node.properties.push_back({0, isHidden ? "Hidden" : "Forwarding", isHidden ? "true" : "false"});
        } else {
            node.properties.push_back({0, "Color", color(word)});
        }
    }

    std::string color(const TextToken& word) {
        if (bodyColorNamed(word.text)) return word.text;
        static constexpr std::string_view words[] = {"blue",   "red",   "black",   "brown",        "cyan",
                                                     "gray",   "green", "magenta", "orange",       "purple",
                                                     "yellow", "white", "hidden",  "not forwarded"};
        auto remedy = nearestNameRemedy(word.text, words);
        if (remedy.empty()) remedy = "another property is written " + nameText(word.text) + " = \"...\"";
        failAt(word.offset, quotedText(word.text) + " is no colour, nor \"hidden\" or \"not forwarded\"",
               std::move(remedy));
    }

    // Boxes, subdiagrams and the order of connections: what is listed between braces.
    struct Block {
        std::size_t offset;
        std::size_t group;
        bool isOrder;
    };

    void beginOrder() {
        open.push_back({token.offset, 0, true});
        accept('{');
    }

    void beginGroup(const std::string& words, std::size_t offset) {
        const auto end = std::min(words.find(' '), words.size());
        const auto kind = std::string_view(words).substr(0, end);
        if (kind != "box" && kind != "subdiagram")
            failExpected("= or :", "write name = Function(...), or name: Type for a stream");
        TextGroup group{kind == "box"};
        if (!group.isBox && !open.empty()) failAt(offset, "a subdiagram stands in no other group");
        if (group.isBox && !open.empty() && !syntax.groups[open.back().group].isBox) {
            failAt(offset, "a box stands in no subdiagram");
        }
        group.depth = open.size();
        if (group.depth >= maximumBoxDepth) failAt(offset, "boxes nest too deep here");
        group.info.description = words.substr(std::min(end + 1, words.size()));
        if (token.isName()) {
            if (!group.info.description.empty()) failExpected("{");
            group.info.description = std::move(token.text);
            advance();
        }
        if (accept('[')) {
            do {
                if (const auto place = position()) {
                    group.info.x = place->x;
                    group.info.y = place->y;
                } else if (token.isWord("Color")) {
                    advance();
                    expect('=');
                    if (token.kind != Kind::string) failExpected("a text in quotes");
                    group.info.color = token.text;
                    advance();
                } else if (token.isName()) {
                    const auto word = token;
                    advance();
                    group.info.color = color(word);
                } else {
                    failExpected("a colour or a place");
                }
            } while (accept(','));
            expect(']');
        }
        if (!token.is('{')) failExpected("{");
        open.push_back({token.offset, syntax.groups.size(), false});
        syntax.groups.push_back(std::move(group));
        accept('{');
    }

    void member() {
        const Block block = open.back();
        if (token.is('*') && !block.isOrder) {
            syntax.groups[block.group].isEverything = true;
            advance();
        } else {
            const std::size_t offset = token.offset;
            const bool isWord = token.kind == Kind::name;
            auto node = reference();
            if (block.isOrder) {
                TextOrderItem item{std::move(node), offset};
                if (token.kind == Kind::number && token.text.starts_with('.')) {
                    item.slot = token.text.substr(1);
                    advance();
                } else if (accept('.')) {
                    if (!token.isName() && token.kind != Kind::number) failExpected("an input's name");
                    item.slot = std::move(token.text);
                    advance();
                }
                syntax.order.push_back(std::move(item));
            } else if (isWord && (token.is('{') || token.is('[') || token.isName())) {
                return beginGroup(node.name, offset);
            } else {
                syntax.groups[block.group].members.push_back(std::move(node));
            }
        }
        if (!token.is('}') && !accept(',')) endOfLine();
    }

    void raw(const std::string& words, std::size_t offset) {
        std::vector<std::string> texts;
        std::vector<Kind> kinds;
        accept('(');
        do {
            if (token.kind != Kind::number && token.kind != Kind::string)
                failExpected("a number or a text in quotes");
            kinds.push_back(token.kind);
            texts.push_back(std::move(token.text));
            advance();
        } while (accept(','));
        expect(')');
        endOfLine();
        const auto has = [&](std::string_view name, std::string_view shape) {
            const auto fits = [](Kind kind, char wanted) {
                return (kind == Kind::number) == (wanted == 'n');
            };
            return words == name && std::equal(kinds.begin(), kinds.end(), shape.begin(), shape.end(), fits);
        };
        const auto id = [&](std::size_t index) { return integer(texts[index], offset); };
        const auto real = [&](std::size_t index) { return parseDouble(texts[index]).value_or(0); };
        if (has("raw node", "ntt") || has("raw node", "nttt")) {
            TextNode node{offset};
            node.id = id(0);
            node.info.classString = texts[1];
            node.info.typeString = texts[2];
            if (texts.size() == 4) node.info.outputType = texts[3];
            syntax.nodes.push_back(std::move(node));
        } else if (has("raw property", "ntt")) {
            syntax.rawProperties.push_back({id(0), texts[1], texts[2]});
        } else if (has("raw connection", "nnn")) {
            syntax.rawConnections.push_back({id(0), id(1), id(2)});
        } else if (has("raw position", "nnn")) {
            syntax.rawPositions.push_back({id(0), real(1), real(2)});
        } else if (has("raw note", "t")) {
            syntax.notes.push_back(texts[0]);
        } else {
            failAt(offset, "no raw record looks like this",
                   "there are raw node(id, class, type), raw property(id, name, value), raw connection(from, "
                   "to, input), "
                   "raw position(id, x, y), raw note(text)");
        }
    }

    std::string_view text;
    const NodeRegistry& registry;
    TextLexer lexer;
    TextToken token;
    std::size_t brackets = 0;
    std::optional<std::string> nameOfStatement;
    std::vector<Block> open;
    TextSyntax syntax;
};

}  // namespace

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

TextSyntax parseText(std::string_view text, const NodeRegistry& registry) {
    return Parser(text, registry).parse();
}

}  // namespace KelvaneSDK
