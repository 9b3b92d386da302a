#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace kelvane {

/// Rows of text in columns, as terminals show them.
class Table {
public:
    struct Column {
        std::string_view title;
        bool isRight = false;
    };

    explicit Table(std::vector<Column> titles) : columns(std::move(titles)) {}
    /// A cell per column; control characters are escaped.
    void add(std::vector<std::string> cells);
    /// The titles and the rows, without blanks at the ends of lines.
    std::string text() const;

private:
    std::vector<Column> columns;
    std::vector<std::vector<std::string>> rows;
};

/// How many columns of a terminal a text takes, one a character.
std::size_t shownWidth(std::string_view text);

}  // namespace kelvane
