#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "Files.h"

struct z_stream_s;

namespace kelvane {

/// Writes columns of numbers as a page carries them: base64 of gzip of their bytes, little-endian. The bytes
/// of a column stand in planes, all first ones, then all second ones, ..., which packs far better.
class ChunkWriter {
public:
    explicit ChunkWriter(PendingText& output);
    ~ChunkWriter();
    ChunkWriter(const ChunkWriter&) = delete;
    ChunkWriter& operator=(const ChunkWriter&) = delete;

    template <class Number>
    void writeColumn(std::span<const Number> column) {
        writePlanes(reinterpret_cast<const unsigned char*>(column.data()), column.size(), sizeof(Number));
    }
    /// Writes bytes as they are.
    void writeBytes(std::string_view bytes);
    /// After all columns; the writer is of no use then.
    void finish();

private:
    void writePlanes(const unsigned char* bytes, std::size_t count, std::size_t size);
    void compress(std::string_view bytes, int flush);
    void append(std::string_view bytes);

    PendingText& text;
    std::unique_ptr<z_stream_s> stream;
    /// Bytes that wait for the rest of three.
    std::string waiting;
};

}  // namespace kelvane
