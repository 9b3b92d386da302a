#include "Messages.h"

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <utility>
#include <vector>

#include "Files.h"
#include "KelvaneSDK/DiagramCheck/DiagramCheck.h"

namespace kelvane {

namespace {

constexpr std::size_t longestText = 480;

/// The length of the UTF-8 sequence at the text's beginning that is no control character; 0 when there is
/// none.
std::size_t printableLength(std::string_view text) {
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned first = byte(0);
    if (first < 0x80) return first >= 0x20 && first != 0x7f ? 1 : 0;
    const std::size_t length = first >= 0xf0 ? 4 : first >= 0xe0 ? 3 : 2;
    if (first < 0xc2 || first > 0xf4 || text.size() < length) return 0;
    std::uint32_t codePoint = first & (0xffu >> (length + 1));
    for (std::size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xc0u) != 0x80u) return 0;
        codePoint = codePoint << 6 | (byte(i) & 0x3fu);
    }
    const bool isOverlong = codePoint < (length == 4 ? 0x10000u : length == 3 ? 0x800u : 0x80u);
    const bool isSurrogate = codePoint >= 0xd800 && codePoint < 0xe000;
    // C1 controls, line and paragraph separators, and the marks that turn the direction of writing.
    const bool isControl = codePoint < 0xa0 || codePoint == 0x2028 || codePoint == 0x2029 ||
                           (codePoint >= 0x202a && codePoint <= 0x202e) ||
                           (codePoint >= 0x2066 && codePoint <= 0x2069);
    return isOverlong || isSurrogate || isControl || codePoint > 0x10ffff ? 0 : length;
}

void appendEscaped(std::string& text, char character) {
    switch (character) {
        case '\n':
            text += "\\n";
            return;
        case '\r':
            text += "\\r";
            return;
        case '\t':
            text += "\\t";
            return;
        default:
            break;
    }
    constexpr std::string_view digits = "0123456789abcdef";
    const auto byte = static_cast<unsigned char>(character);
    text += "\\x";
    text += digits[byte >> 4];
    text += digits[byte & 0xf];
}

// Any thread reports; one shows progress.
std::atomic<bool> isLineShown = false;
constexpr std::string_view clearedLine = "\r\x1b[K";
Colors chosenColors = Colors::automatic;

bool hasColors() {
    if (chosenColors != Colors::automatic) return chosenColors == Colors::always;
    const char* const refusal = std::getenv("NO_COLOR");
    return ::isatty(STDERR_FILENO) != 0 && (refusal == nullptr || *refusal == '\0');
}

/// The line with the word that says how grave it is in its colour.
std::string colored(std::string_view line) {
    struct Word {
        std::string_view text, color;
    };
    for (const auto& [word, color] :
         {Word{"warning:", "\x1b[33m"}, Word{"note:", "\x1b[36m"}, Word{"ERROR:", "\x1b[31m"}}) {
        const auto at = line.find(word);
        const bool isWord = at == 0 || (at != std::string_view::npos && line[at - 1] == ' ');
        if (!isWord || line.substr(0, at).find('"') != std::string_view::npos) continue;
        return std::string(line.substr(0, at)) + std::string(color) + std::string(word) + "\x1b[0m" +
               std::string(line.substr(at + word.size()));
    }
    return std::string(line);
}

bool continuesCharacter(char character) { return (static_cast<unsigned char>(character) & 0xc0) == 0x80; }

/// The text without its middle when it is long.
std::string shortened(std::string_view text) {
    if (text.size() <= longestText) return std::string(text);
    std::size_t head = longestText * 2 / 3, tail = text.size() - longestText / 3;
    for (int i = 0; i < 3 && continuesCharacter(text[head]); ++i) --head;
    for (int i = 0; i < 3 && continuesCharacter(text[tail]); ++i) ++tail;
    return std::string(text.substr(0, head)) + "..." + std::string(text.substr(tail));
}

}  // namespace

void refuseOption(const std::string& option, const std::string& reason) {
    throw Failure{ExitStatus::wrongUsage, "kelvane: " + printable(option) + ": " + reason};
}

void report(std::string_view line) {
    std::string text;
    if (isLineShown.exchange(false)) text = clearedLine;
    text += hasColors() ? colored(line) : std::string(line);
    text += '\n';
    writeAll(STDERR_FILENO, text);
}

void showOnTerminal(std::string_view line) {
    if (line.empty() && !isLineShown) return;
    isLineShown = !line.empty();
    writeAll(STDERR_FILENO, std::string(clearedLine) + printable(line));
}

void setColors(Colors colors) { chosenColors = colors; }

std::string printable(std::string_view text) {
    const std::string visible = shortened(text);
    std::string result;
    for (std::string_view rest = visible; !rest.empty();) {
        const auto length = printableLength(rest);
        if (length == 0) appendEscaped(result, rest.front());
        result += rest.substr(0, length);
        rest.remove_prefix(std::max<std::size_t>(length, 1));
    }
    return result;
}

std::string inQuotes(std::string_view text) { return "\"" + printable(text) + "\""; }

std::string nearestNameHint(std::string_view name, std::span<const std::string> names) {
    const std::vector<std::string_view> candidates(names.begin(), names.end());
    const auto nearest = KelvaneSDK::nearestName(name, candidates);
    return nearest.empty() ? std::string() : "did you mean " + inQuotes(nearest) + "?";
}

std::string withHint(std::string text, const std::string& hint) {
    return hint.empty() ? std::move(text) : std::move(text) + "; " + hint;
}

std::string joined(std::span<const std::string> words) {
    std::string text;
    for (const auto& word : words) text += (text.empty() ? "" : ", ") + word;
    return text;
}

std::string counted(std::size_t count, std::string_view noun) {
    const auto* const plural = noun.ends_with("ch") ? "es" : "s";
    return std::to_string(count) + " " + std::string(noun) + (count == 1 ? "" : plural);
}

}  // namespace kelvane
