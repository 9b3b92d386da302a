#include "Pictures/TextLines.h"

#include "Pictures/Markup.h"

namespace kelvane {

std::vector<std::string> textLines(std::string_view text, double fontSize, double width,
                                   std::size_t mostLines) {
    constexpr std::string_view spaces = " \t\n\r";
    const double space = textWidth(" ", fontSize);
    std::vector<std::string> lines;
    std::string line;
    double used = 0;
    while (!text.empty()) {
        const auto begin = text.find_first_not_of(spaces);
        if (begin == std::string_view::npos) break;
        text.remove_prefix(begin);
        const auto word = text.substr(0, text.find_first_of(spaces));
        text.remove_prefix(word.size());
        const auto shown = fittingText(word, fontSize, width);
        const double wide = textWidth(shown, fontSize);
        if (!line.empty() && used + space + wide > width) {
            if (lines.size() + 1 == mostLines) {
                lines.push_back(line + " …");
                return lines;
            }
            lines.push_back(std::move(line));
            line.clear();
            used = 0;
        }
        used += (line.empty() ? 0 : space) + wide;
        line += (line.empty() ? "" : " ") + shown;
    }
    if (!line.empty()) lines.push_back(std::move(line));
    return lines;
}

}  // namespace kelvane
