#include "Pictures/Markup.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>

#include <utf8proc.h>

namespace kelvane {
namespace {

// The widths of U+0020 to U+007E in Helvetica and in the many fonts that agree with it, in thousandths.
constexpr std::array<std::uint16_t, 95> asciiWidths = {
    278, 278, 355, 556, 556, 889, 667, 191, 333, 333, 389, 584, 278, 333,  278, 278, 556, 556, 556,
    556, 556, 556, 556, 556, 556, 556, 278, 278, 584, 584, 584, 556, 1015, 667, 667, 722, 722, 667,
    611, 778, 722, 278, 500, 667, 556, 833, 722, 778, 667, 778, 722, 667,  611, 722, 667, 944, 667,
    667, 611, 278, 278, 278, 469, 556, 333, 556, 556, 500, 556, 556, 278,  556, 556, 222, 222, 500,
    222, 833, 556, 556, 556, 556, 333, 500, 278, 556, 500, 722, 500, 500,  500, 334, 260, 334, 584};

// Calls `take` with each code point and its bytes; -1 for a byte that belongs to none.
template <typename Take>
void forEachCodePoint(std::string_view text, Take take) {
    while (!text.empty()) {
        utf8proc_int32_t codePoint = -1;
        auto length = utf8proc_iterate(reinterpret_cast<const utf8proc_uint8_t*>(text.data()),
                                       static_cast<utf8proc_ssize_t>(text.size()), &codePoint);
        if (length < 1) {
            codePoint = -1;
            length = 1;
        }
        const auto bytes = text.substr(0, static_cast<std::size_t>(length));
        text.remove_prefix(bytes.size());
        if (!take(codePoint, bytes)) return;
    }
}

double widthOf(utf8proc_int32_t codePoint) {
    if (codePoint >= 0x20 && codePoint < 0x7F) return asciiWidths[static_cast<std::size_t>(codePoint - 0x20)];
    if (codePoint < 0) return 600;
    return utf8proc_charwidth(codePoint) * 600;
}

}  // namespace

std::string markupText(std::string_view text) {
    std::string result;
    result.reserve(text.size());
    forEachCodePoint(text, [&](utf8proc_int32_t codePoint, std::string_view bytes) {
        if (codePoint == '&')
            result += "&amp;";
        else if (codePoint == '<')
            result += "&lt;";
        else if (codePoint == '>')
            result += "&gt;";
        else if (codePoint == '"')
            result += "&quot;";
        else if (codePoint < 0 || (codePoint < 0x20 && codePoint != '\n' && codePoint != '\t') ||
                 (codePoint >= 0x7F && codePoint < 0xA0) || codePoint == 0xFFFE || codePoint == 0xFFFF)
            result += "\uFFFD";
        else
            result += bytes;
        return true;
    });
    return result;
}

std::string pictureNumber(double number) {
    std::array<char, 400> buffer;
    const double rounded = std::round(number * 100) / 100 + 0.0;  // no "-0"
    return {
        buffer.data(),
        std::to_chars(buffer.data(), buffer.data() + buffer.size(), rounded, std::chars_format::fixed).ptr};
}

double textWidth(std::string_view text, double fontSize) {
    double width = 0;
    forEachCodePoint(text, [&](utf8proc_int32_t codePoint, std::string_view) {
        width += widthOf(codePoint);
        return true;
    });
    return width * fontSize / 1000;
}

std::string fittingText(std::string_view text, double fontSize, double mostWidth) {
    if (textWidth(text, fontSize) <= mostWidth) return std::string(text);
    double left = mostWidth / fontSize * 1000 - 1000;
    std::string result;
    forEachCodePoint(text, [&](utf8proc_int32_t codePoint, std::string_view bytes) {
        left -= widthOf(codePoint);
        if (left < 0) return false;
        result += bytes;
        return true;
    });
    while (result.ends_with(' ')) result.pop_back();
    return result + "…";
}

}  // namespace kelvane
