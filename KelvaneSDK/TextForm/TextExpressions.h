#pragma once

#include <string>
#include <string_view>

#include "KelvaneSDK/TextForm/TextSyntax.h"
#include "KelvaneSDK/TextForm/TextTokens.h"

namespace KelvaneSDK {

/// Leaves a statement whose fault has been noted; never leaves the parser.
struct EndOfStatement {};

/// Reads what stands behind = and :, token by token. Faults are noted in `syntax` and thrown as
/// EndOfStatement.
class ExpressionParser {
protected:
    ExpressionParser(std::string_view source, const NodeRegistry& nodeTypes)
        : text(source), registry(nodeTypes), lexer(source) {}

    [[noreturn]] void fail(std::string what, std::string remedy = {});
    [[noreturn]] void failAt(std::size_t offset, std::string what, std::string remedy = {});
    [[noreturn]] void failExpected(std::string_view wanted, std::string remedy = {});

    /// The next token that means something here: between brackets a line goes on.
    void advance();
    bool accept(char symbol);
    void expect(char symbol, std::string remedy = {});
    void endOfLine();
    void skipLine();

    /// Takes the list that begins at this bracket, if it is one, as a single token.
    void takeList();
    std::int64_t integer(std::string_view digits, std::size_t offset);
    TextReference reference();
    /// The name of a value type.
    std::string type();
    const NodeClass& classOf(NodeCategory category, const std::string& typeName, std::size_t offset);
    /// What stands for a node; nodes nested in it come before it.
    TextReference expression(std::size_t depth);
    /// One or more nodes that feed the same input, or _ for none.
    void sources(TextArgument& into, std::size_t depth);
    TextReference push(TextNode&& node);

    TextToken token;
    TextSyntax syntax;

private:
    std::string found() const;
    TextReference call(std::string name, std::size_t offset, std::size_t depth);
    TextReference constant();
    TextArgument argument(std::size_t depth);
    bool isFollowedBy(char symbol) const;

    std::string_view text;
    const NodeRegistry& registry;
    TextLexer lexer;
    std::size_t brackets = 0, tokens = 0;
};

}  // namespace KelvaneSDK
