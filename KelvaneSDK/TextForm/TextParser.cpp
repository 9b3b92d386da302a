#include <algorithm>
#include <cmath>
#include <utility>

#include "KelvaneSDK/DiagramCheck/FindingList.h"
#include "KelvaneSDK/FileProcessing/NumberText.h"
#include "KelvaneSDK/TextForm/TextExpressions.h"
#include "KelvaneSDK/TextForm/TextForm.h"

namespace KelvaneSDK {

namespace {

using Kind = TextToken::Kind;

/// Reads a text line by line.
class Parser : ExpressionParser {
public:
    Parser(std::string_view source, const NodeRegistry& nodeTypes) : ExpressionParser(source, nodeTypes) {}

    TextSyntax parse() {
        token.kind = Kind::newline;
        while (token.kind != Kind::end && syntax.problems.size() < mostTextFaults) {
            try {
                if (token.kind == Kind::newline) {
                    advance();
                } else if (token.is('}') && !open.empty()) {
                    open.pop_back();
                    advance();
                    open.empty() ? endOfLine() : endOfMember();
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
                failAt(offset,
                       "a call stands behind a name and =", "write: name = " + shortened(*name) + "(...)");
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
        node.lineOffset = offset;
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

    std::optional<PlacedRecord<PositionInfo>> position() {
        if (!token.isWord("at")) return std::nullopt;
        const std::size_t offset = token.offset;
        advance();
        takeList();
        const auto comma = token.text.find(", ");
        std::optional<double> x, y;
        if (token.kind == Kind::number && comma != std::string::npos && token.text.size() > 2) {
            x = parseDouble(std::string_view(token.text).substr(1, comma - 1));
            y = parseDouble(std::string_view(token.text).substr(comma + 2, token.text.size() - comma - 3));
        }
        if (!x || !y || !std::isfinite(*x) || !std::isfinite(*y))
            failExpected("a place", "write: at (200, 80)");
        advance();
        return PlacedRecord<PositionInfo>{offset, {0, *x, *y}};
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
                node.properties.push_back({word.offset, {0, word.text, token.text}});
            }
            advance();
        } else if (word.text == "hidden" || word.text == "not forwarded") {
            const bool isHidden = word.text == "hidden";
            if (node.category != (isHidden ? NodeCategory::VariableOutput : NodeCategory::InputStream)) {
                failAt(word.offset, isHidden ? "only a variable output can be hidden"
                                             : "only an input stream can be kept from being forwarded");
            }
            node.properties.push_back(
                {word.offset, {0, isHidden ? "Hidden" : "Forwarding", isHidden ? "true" : "false"}});
        } else {
            node.properties.push_back({word.offset, {0, "Color", color(word)}});
        }
    }

    std::string color(const TextToken& word) {
        if (bodyColorNamed(word.text)) return word.text;
        static constexpr std::string_view words[] = {"blue",   "red",   "black",   "brown",        "cyan",
                                                     "gray",   "green", "magenta", "orange",       "purple",
                                                     "yellow", "white", "hidden",  "not forwarded"};
        auto remedy = nearestNameRemedy(word.text, words);
        if (remedy.empty())
            remedy = "another property is written " + nameText(shortened(word.text)) + " = \"...\"";
        failAt(word.offset,
               quotedText(shortened(word.text)) + " is no colour, nor \"hidden\" or \"not forwarded\"",
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
        TextGroup group{offset, kind == "box"};
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
                    group.info.x = place->record.x;
                    group.info.y = place->record.y;
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
            if (std::exchange(hasEverything, true)) {
                fail("only one group holds every node as *", "list the nodes here");
            }
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
        endOfMember();
    }
    void endOfMember() {
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
        const auto real = [&](std::size_t index) {
            const double value = parseDouble(texts[index]).value_or(0);
            if (!std::isfinite(value)) failAt(offset, "a coordinate is beyond all numbers");
            return value;
        };
        if (has("raw node", "ntt") || has("raw node", "nttt")) {
            TextNode node{offset};
            node.id = id(0);
            node.info.classString = texts[1];
            node.info.typeString = texts[2];
            if (texts.size() == 4) node.info.outputType = texts[3];
            syntax.nodes.push_back(std::move(node));
        } else if (has("raw property", "ntt")) {
            syntax.rawProperties.push_back({offset, {id(0), texts[1], texts[2]}});
        } else if (has("raw connection", "nnn")) {
            syntax.rawConnections.push_back({offset, {id(0), id(1), id(2)}});
        } else if (has("raw position", "nnn")) {
            syntax.rawPositions.push_back({offset, {id(0), real(1), real(2)}});
        } else if (has("raw note", "t")) {
            syntax.notes.push_back(texts[0]);
        } else {
            failAt(offset, "no raw record looks like this",
                   "there are raw node(id, class, type), raw property(id, name, value), raw connection(from, "
                   "to, input), "
                   "raw position(id, x, y), raw note(text)");
        }
    }

    std::optional<std::string> nameOfStatement;
    std::vector<Block> open;
    // A short text that says it again and again would be a document of any length.
    bool hasEverything = false;
};

}  // namespace

TextSyntax parseText(std::string_view text, const NodeRegistry& registry) {
    return Parser(text, registry).parse();
}

}  // namespace KelvaneSDK
