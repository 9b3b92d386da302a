#include <algorithm>
#include <span>
#include <string>
#include <vector>

#include "KelvaneSDK/Kelvane/MemoryGuard.h"
#include "KelvaneSDK/TextForm/TextForm.h"
#include "KelvaneSDK/TextForm/TextTokens.h"

namespace KelvaneSDK {

namespace {

using Kind = TextToken::Kind;

constexpr std::size_t longestLine = 120;
/// Lines are broken in no deeper brackets: so long as calls may nest, and a box around them.
constexpr std::size_t deepestBreak = maximumCallDepth + 8;

bool isAnyOf(const TextToken& token, std::string_view symbols) {
    return token.kind == Kind::symbol && symbols.find(token.text.front()) != std::string_view::npos;
}

// Whether a space stands between two tokens of a line.
bool isSpaced(const TextToken& before, const TextToken& token) {
    // The input of an order: #7.2.
    const bool isInput = token.is('.') || (token.kind == Kind::number && token.text.starts_with('.') &&
                                           !isAnyOf(before, "=,|"));
    if (isInput) return before.kind == Kind::number;
    if (isAnyOf(before, "([.") || isAnyOf(token, "),]:")) return false;
    if (token.is('(')) return before.isWord("at") || !before.isName();
    return true;
}

// A value, which stands on one line.
bool beginsList(const TextToken& before, const TextToken& bracket) {
    return bracket.is('(') ? before.isWord("at") || !before.isName() : isAnyOf(before, "=([,|");
}

std::size_t width(std::string_view text) {
    return static_cast<std::size_t>(std::count_if(
        text.begin(), text.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xc0U) != 0x80; }));
}

class Formatter {
public:
    explicit Formatter(std::string_view source) : text(source), lexer(source) {}

    std::string run() {
        for (auto token = lexer.next(); token.kind != Kind::end; token = lexer.next()) {
            if (token.kind == Kind::newline) {
                endLine();
            } else {
                add(token);
            }
            before = std::move(token);
        }
        endLine();
        const auto last = result.find_last_not_of('\n');
        result.resize(last == std::string::npos ? 0 : last + 1);
        if (!result.empty()) result += '\n';
        return std::move(result);
    }

private:
    /// A token as it is written.
    struct Item {
        std::string text;
        std::size_t width;
        bool isSpaced;
        /// The brackets around it.
        std::size_t depth;
        /// A line may begin here.
        bool mayBegin;
        bool isComment = false;
    };
    using Items = std::span<const Item>;

    void add(const TextToken& token) {
        if (isAnyOf(token, ")]}") && !open.empty()) open.pop_back();
        const auto source = text.substr(token.offset, token.length);
        Item item{token.kind == Kind::name ? token.text : std::string(source), 0, isSpaced(before, token),
                  open.size(), mayBreak && !isAnyOf(token, ")]}")};
        item.isComment = token.kind == Kind::comment;
        while (item.isComment && item.text.ends_with('\r')) item.text.pop_back();
        item.width = width(item.text);
        const bool opens = isAnyOf(token, "([{");
        if (opens) open.push_back(token.is('{') || (!beginsList(lastWord, token) && !isInList()));
        mayBreak = (opens || token.is(',')) && !open.empty() && !isInList() && open.size() <= deepestBreak;
        line.push_back(std::move(item));
        if (token.kind != Kind::comment) lastWord = token;
    }
    bool isInList() const { return !open.empty() && !open.back(); }

    // At most one empty line in a row, and none at the beginning.
    void endLine() {
        if (!line.empty()) {
            write(line);
            line.clear();
            emptyLines = 0;
        } else if (emptyLines++ == 0) {
            result += '\n';
        }
        mayBreak = false;
    }

    static std::size_t indentation(const Item& first) { return 4 * std::min<std::size_t>(first.depth, 8); }
    static std::size_t widthOf(Items items) {
        std::size_t sum = indentation(items.front());
        for (const auto& item : items) {
            if (!item.isComment) sum += item.width + (&item != items.data() && item.isSpaced ? 1 : 0);
        }
        return sum;
    }

    // Breaks what is too long in the outermost brackets, as seldom as may be, and what is then still too long
    // in those within.
    void write(Items items) {
        auto depth = deepestBreak + 1;
        if (widthOf(items) > longestLine) {
            for (const auto& item : items.subspan(1)) {
                if (item.mayBegin && !item.isComment) depth = std::min(depth, item.depth);
            }
        }
        if (depth > deepestBreak) return writeLine(items);
        std::size_t begin = 0, fitting = 0;
        for (std::size_t end = 1; end <= items.size(); ++end) {
            const bool isBreak = end == items.size() ||
                                 (items[end].mayBegin && !items[end].isComment && items[end].depth == depth);
            if (!isBreak) continue;
            if (fitting > begin && widthOf(items.subspan(begin, end - begin)) > longestLine) {
                write(items.subspan(begin, fitting - begin));
                begin = fitting;
            }
            fitting = end;
        }
        write(items.subspan(begin));
    }

    void writeLine(Items items) {
        result.append(indentation(items.front()), ' ');
        for (const auto& item : items) {
            if (&item != items.data()) result += item.isComment ? "  " : item.isSpaced ? " " : "";
            result += item.text;
        }
        result += '\n';
    }

    std::string_view text;
    TextLexer lexer;
    std::string result;
    TextToken before{Kind::newline};
    /// The last token that is no comment and no line break.
    TextToken lastWord;
    std::vector<Item> line;
    /// The open brackets, true for those in which lines may be broken.
    std::vector<bool> open;
    bool mayBreak = false;
    std::size_t emptyLines = 1;
};

}  // namespace

std::string inGoodOrder(std::string_view text) { return Formatter(text).run(); }

std::optional<std::string> formatText(std::string_view text, const NodeRegistry& registry) {
    const auto format = [&] {
        return readText(text, registry).data ? std::optional(inGoodOrder(text)) : std::nullopt;
    };
    return withinMemory(format).value_or(std::nullopt);
}

}  // namespace KelvaneSDK
