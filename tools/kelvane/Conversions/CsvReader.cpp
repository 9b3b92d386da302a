#include "CsvReader.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include "Messages.h"

namespace kelvane {

namespace {

// Beyond these it is no table, or a quote was left open.
constexpr std::size_t longestRow = 64 << 20, mostFields = 100'000, longestOpening = 1 << 20;

}  // namespace

CsvReader::CsvReader(std::unique_ptr<DataFile> file, std::size_t skippedLines, char separator)
    : bytes([&] {
          const auto line = file->lineAt(skippedLines, longestOpening);
          chosen = separator == '\0' ? mostFrequent(line) : separator;
          return std::move(file);
      }()) {
    if (bytes.peek() == 0xff || bytes.peek() == 0xfe) failAt(1, "the text is not UTF-8 but UTF-16, it seems");
    for (; skippedLines > 0; --skippedLines, ++currentLine) {
        for (int byte = bytes.get(); byte != '\n' && byte != ByteReader::atEnd;) byte = bytes.get();
    }
}

char CsvReader::mostFrequent(std::string_view line) {
    std::array<std::pair<char, std::size_t>, 3> counts{{{',', 0}, {';', 0}, {'\t', 0}}};
    bool isQuoted = false;
    for (const char c : line) {
        isQuoted ^= c == '"';
        for (auto& [candidate, count] : counts) count += !isQuoted && c == candidate;
    }
    return std::max_element(counts.begin(), counts.end(),
                            [](const auto& a, const auto& b) { return a.second < b.second; })
        ->first;
}

bool CsvReader::next(std::vector<std::string>& row) {
    for (;;) {
        while (bytes.peek() == '\r') bytes.get();
        if (bytes.peek() != '\n') break;
        bytes.get();
        ++currentLine;
    }
    if (bytes.peek() == ByteReader::atEnd) return false;
    firstLine = currentLine;
    length = 0;
    std::size_t count = 0;
    for (;;) {
        if (count == mostFields)
            fail("the row has more than " + std::to_string(mostFields) + " fields: this is no table");
        if (count == row.size()) row.emplace_back();
        row[count].clear();
        readField(row[count++]);
        if (bytes.peek() != chosen) break;
        bytes.get();
    }
    row.resize(count);
    if (bytes.get() == '\n') ++currentLine;
    return true;
}

void CsvReader::readField(std::string& field) {
    if (bytes.peek() == '"') return readQuoted(field);
    for (;;) {
        const int byte = bytes.peek();
        if (byte == ByteReader::atEnd || byte == chosen || byte == '\n') break;
        if (byte == '\0') fail("there is a zero byte: this is no text");
        if (++length > longestRow) fail("the row is longer than " + std::to_string(longestRow) + " bytes");
        field += static_cast<char>(bytes.get());
    }
    if (field.ends_with('\r') && bytes.peek() != chosen) field.pop_back();
}

void CsvReader::readQuoted(std::string& field) {
    bytes.get();
    for (;;) {
        const int byte = bytes.get();
        if (byte == ByteReader::atEnd) fail("a quote that opens in this row is not closed");
        if (byte == '"') {
            if (bytes.peek() != '"') break;
            bytes.get();
        }
        if (++length > longestRow) {
            fail("the row is longer than " + std::to_string(longestRow) +
                 " bytes; is a quote that opens in it not closed?");
        }
        currentLine += byte == '\n';
        field += static_cast<char>(byte);
    }
    if (bytes.peek() == '\r') bytes.get();
    const int behind = bytes.peek();
    if (behind != ByteReader::atEnd && behind != chosen && behind != '\n')
        failAt(currentLine,
               "something stands behind the closing quote of a field; quotes in a field are doubled");
}

void CsvReader::failAt(std::size_t line, const std::string& what) const {
    throw Failure{ExitStatus::failed, name() + ":" + std::to_string(line) + ": " + what};
}

}  // namespace kelvane
