#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kelvane {

/// Rows of text in columns, as terminals show them.
class Table {
public:
    struct Column {
        std::string_view title;
        bool isRight = false;
    };

    /// Without any title there is no row of titles. Rows begin with `indentation`.
    explicit Table(std::vector<Column> titles, std::string_view indentation = {})
        : columns(std::move(titles)), margin(indentation) {}
    /// A cell per column; control characters are escaped. `below` are whole lines, which follow the row.
    void add(std::vector<std::string> cells, std::string below = {});
    /// The titles and the rows, without blanks at the ends of lines.
    std::string text() const;

private:
    std::vector<Column> columns;
    struct Row {
        std::vector<std::string> cells;
        std::string below = {};
    };

    std::string margin;
    std::vector<Row> rows;
};

/// How many columns of a terminal a text takes, one a character.
std::size_t shownWidth(std::string_view text);

}  // namespace kelvane
