#include "Report/ChunkWriter.h"

#include <zlib.h>

#include <algorithm>
#include <array>
#include <bit>
#include <new>

namespace kelvane {

namespace {

constexpr std::size_t bufferSize = 64 * 1024, mostPending = 1024 * 1024;

}  // namespace

ChunkWriter::ChunkWriter(PendingText& output) : text(output), stream(std::make_unique<z_stream_s>()) {
    // Higher levels make measured numbers hardly smaller.
    constexpr int level = Z_BEST_SPEED, largestWindow = 15, gzip = 16, memoryLevel = 9;
    if (deflateInit2(stream.get(), level, Z_DEFLATED, largestWindow + gzip, memoryLevel,
                     Z_DEFAULT_STRATEGY) != Z_OK)
        throw std::bad_alloc();
}

ChunkWriter::~ChunkWriter() { deflateEnd(stream.get()); }

void ChunkWriter::writePlanes(const unsigned char* bytes, std::size_t count, std::size_t size) {
    std::array<char, bufferSize> buffer;
    for (std::size_t plane = 0; plane < size; ++plane) {
        const auto place = std::endian::native == std::endian::little ? plane : size - 1 - plane;
        for (std::size_t done = 0; done < count;) {
            const auto length = std::min(buffer.size(), count - done);
            for (std::size_t i = 0; i < length; ++i)
                buffer[i] = static_cast<char>(bytes[(done + i) * size + place]);
            compress({buffer.data(), length}, Z_NO_FLUSH);
            done += length;
        }
    }
}

void ChunkWriter::writeBytes(std::string_view bytes) {
    while (!bytes.empty()) {
        const auto piece = bytes.substr(0, bufferSize);
        compress(piece, Z_NO_FLUSH);
        bytes.remove_prefix(piece.size());
    }
}

void ChunkWriter::finish() {
    compress({}, Z_FINISH);
    if (!waiting.empty()) {
        const auto missing = 3 - waiting.size();
        append(std::string(missing, '\0'));
        text.text().replace(text.text().size() - missing, missing, missing, '=');
    }
    text.flush();
}

void ChunkWriter::compress(std::string_view bytes, int flush) {
    std::array<char, bufferSize> packed;
    stream->next_in = reinterpret_cast<const Bytef*>(bytes.data());
    stream->avail_in = static_cast<uInt>(bytes.size());
    do {
        stream->next_out = reinterpret_cast<Bytef*>(packed.data());
        stream->avail_out = static_cast<uInt>(packed.size());
        deflate(stream.get(), flush);
        append({packed.data(), packed.size() - stream->avail_out});
    } while (stream->avail_out == 0);
}

void ChunkWriter::append(std::string_view bytes) {
    constexpr std::string_view digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    waiting += bytes;
    const auto whole = waiting.size() / 3;
    auto& target = text.text();
    const auto before = target.size();
    target.resize(before + whole * 4);
    char* place = target.data() + before;
    const char* byte = waiting.data();
    const auto bits = [&](int shift) { return unsigned{static_cast<unsigned char>(*byte++)} << shift; };
    for (std::size_t i = 0; i < whole; ++i) {
        const auto high = bits(16), middle = bits(8), low = bits(0);
        const unsigned three = high | middle | low;
        for (const int shift : {18, 12, 6, 0}) *place++ = digits[three >> shift & 63];
    }
    waiting.erase(0, whole * 3);
    if (target.size() > mostPending) text.flush();
}

}  // namespace kelvane
