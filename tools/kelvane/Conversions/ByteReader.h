#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "DataFile.h"

namespace kelvane {

/// A file's bytes, one by one or in pieces of known length. Damage and interruptions end it with a `Failure`.
class ByteReader {
public:
    static constexpr int atEnd = -1;

    explicit ByteReader(std::unique_ptr<DataFile> opened);

    /// The next byte, which stays, or `atEnd`.
    int peek() { return used < filled.size() || fill() ? static_cast<unsigned char>(filled[used]) : atEnd; }
    /// The next byte, or `atEnd`.
    int get() {
        const int byte = peek();
        if (byte != atEnd) ++used;
        return byte;
    }
    /// The next `count` bytes, which live until the next call; fails where the file has fewer.
    std::string_view take(std::size_t count);
    void skip(std::uint64_t count);

    /// How many bytes have been taken.
    std::uint64_t offset() const { return before + used; }
    const std::string& name() const { return file->name(); }
    /// Ends the conversion: "walk.edf: byte 12: what".
    [[noreturn]] void fail(const std::string& what) const { failAt(offset(), what); }
    [[noreturn]] void failAt(std::uint64_t place, const std::string& what) const;

private:
    bool fill();

    std::unique_ptr<DataFile> file;
    std::vector<char> space;
    std::string_view filled;
    std::size_t used = 0;
    std::uint64_t before = 0;  // bytes in front of `filled`
    std::string piece;
};

}  // namespace kelvane
