#include "Table.h"

#include <algorithm>

#include "Messages.h"

namespace kelvane {

std::size_t shownWidth(std::string_view text) {
    return static_cast<std::size_t>(std::count_if(
        text.begin(), text.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xc0) != 0x80; }));
}

void Table::add(std::vector<std::string> cells, std::string below) {
    for (auto& cell : cells) cell = printable(cell);
    rows.push_back({std::move(cells), std::move(below)});
}

std::string Table::text() const {
    std::vector<std::string> titles;
    for (const auto& column : columns) titles.emplace_back(column.title);
    std::vector<std::size_t> widths;
    for (const auto& title : titles) widths.push_back(shownWidth(title));
    for (const auto& row : rows) {
        for (std::size_t i = 0; i < row.cells.size(); ++i)
            widths[i] = std::max(widths[i], shownWidth(row.cells[i]));
    }
    std::string result;
    const auto append = [&](const std::vector<std::string>& row) {
        result += margin;
        for (std::size_t i = 0; i < row.size(); ++i) {
            const std::string blanks(widths[i] - shownWidth(row[i]), ' ');
            if (i > 0) result += "  ";
            result += columns[i].isRight ? blanks + row[i] : row[i] + blanks;
        }
        result.erase(result.find_last_not_of(' ') + 1);
        result += '\n';
    };
    const auto isTitle = [](const std::string& title) { return !title.empty(); };
    if (std::any_of(titles.begin(), titles.end(), isTitle)) append(titles);
    for (const auto& [cells, below] : rows) {
        append(cells);
        result += below;
    }
    return result;
}

}  // namespace kelvane
