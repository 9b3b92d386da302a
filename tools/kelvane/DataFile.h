#pragma once

#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "Files.h"

namespace kelvane {

class Decompressor;

/// A file of data or standard input, read piece by piece, and decompressed on the way where its first bytes
/// say that it is gzip or zstd. Memory does not grow with the file.
class DataFile {
public:
    explicit DataFile(const std::string& path);
    ~DataFile();
    DataFile(const DataFile&) = delete;
    DataFile& operator=(const DataFile&) = delete;

    /// As InputFile::read(), and empty where compressed data is damaged or incomplete.
    std::string_view read(std::span<char> space);
    /// The first line, without its line break, or as much of it as `most` bytes hold. read() gives it again.
    std::string_view firstLine(std::size_t most) { return lineAt(0, most); }
    /// The same of a later line, whose number is counted from 0.
    std::string_view lineAt(std::size_t index, std::size_t most);
    /// All that has not been read; refuses more than a document may hold.
    std::string readRest();

    /// What is wrong with compressed data, with the file and about where; empty when nothing is.
    const std::string& damage() const { return fault; }
    /// After firstLine() or lineAt().
    bool isEmpty() const { return looked.empty(); }
    bool isCompressed() const { return decompressor != nullptr; }
    /// As InputFile::awaitInput(); true where something waits to be taken or decompressed.
    bool awaitInput(double seconds) const;
    bool isRegular() const { return file.isRegular(); }
    double share() const { return file.share(); }
    const std::string& name() const { return file.name(); }

private:
    std::string_view readFile(std::span<char> space);
    std::string_view decompress(std::span<char> space);
    void start();

    InputFile file;
    std::unique_ptr<Decompressor> decompressor;
    std::vector<char> inputSpace;
    std::string_view input;  // what was read of the file and has not been taken
    std::size_t taken = 0;   // bytes of the file before `input`
    std::string looked;      // what lineAt() read, and how much of it was given again
    std::size_t given = 0;
    std::string fault;
    bool isStarted = false, isAtEnd = false;
};

}  // namespace kelvane
