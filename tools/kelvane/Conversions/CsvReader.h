#pragma once

#include <memory>
#include <string>
#include <vector>

#include "ByteReader.h"

namespace kelvane {

/// The rows of a table in comma-separated values (RFC 4180): fields may stand in double quotes, and hold line
/// breaks and doubled quotes there. Lines end with LF or CR LF; a byte order mark is passed over.
class CsvReader {
public:
    /// Passes over so many lines. `separator` '\0': that of comma, semicolon and tab that is most frequent in
    /// the next one.
    CsvReader(std::unique_ptr<DataFile> file, std::size_t skippedLines, char separator);

    /// The next row; false at the end. Lines without any character are passed over.
    bool next(std::vector<std::string>& row);

    /// The line, from 1, on which the last row began.
    std::size_t line() const { return firstLine; }
    char separator() const { return chosen; }
    /// The file's path and name as messages show it.
    const std::string& name() const { return bytes.name(); }
    /// Ends the conversion: "walk.csv:12: what".
    [[noreturn]] void fail(const std::string& what) const { failAt(firstLine, what); }

private:
    [[noreturn]] void failAt(std::size_t line, const std::string& what) const;
    static char mostFrequent(std::string_view line);
    void readField(std::string& field);
    void readQuoted(std::string& field);

    char chosen;
    ByteReader bytes;
    std::size_t currentLine = 1, firstLine = 1;
    std::size_t length = 0;  // of the row
};

}  // namespace kelvane
