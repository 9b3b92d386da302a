#include "DataFile.h"

#include <zlib.h>
#include <zstd.h>

#include <algorithm>
#include <array>
#include <new>

#include "Interruption.h"
#include "Messages.h"

namespace kelvane {

/// Data of one format, which may consist of several parts, one behind the other.
class Decompressor {
public:
    virtual ~Decompressor() = default;
    /// Takes from `input` and fills `output` from its beginning; the number of bytes written. Null `error`:
    /// all is well.
    virtual std::size_t step(std::string_view& input, std::span<char> output, const char*& error) = 0;
    /// Whether the data may end here.
    virtual bool isComplete() const = 0;
    virtual std::string_view format() const = 0;
};

namespace {

constexpr std::size_t inputSize = 64 * 1024;
constexpr std::size_t magicLength = 4;

class Gzip final : public Decompressor {
public:
    Gzip() {
        constexpr int largestWindow = 15, gzipOnly = 16;
        if (inflateInit2(&stream, largestWindow + gzipOnly) != Z_OK) throw std::bad_alloc();
    }
    ~Gzip() override { inflateEnd(&stream); }
    Gzip(const Gzip&) = delete;
    Gzip& operator=(const Gzip&) = delete;

    std::size_t step(std::string_view& input, std::span<char> output, const char*& error) override {
        if (isBetween && !input.empty()) {
            inflateReset(&stream);
            isBetween = false;
        }
        stream.next_in = reinterpret_cast<const Bytef*>(input.data());
        stream.avail_in = static_cast<uInt>(input.size());
        stream.next_out = reinterpret_cast<Bytef*>(output.data());
        stream.avail_out = static_cast<uInt>(output.size());
        const int result = inflate(&stream, Z_NO_FLUSH);
        input.remove_prefix(input.size() - stream.avail_in);
        if (result == Z_MEM_ERROR) throw std::bad_alloc();
        isBetween = result == Z_STREAM_END;
        if (result != Z_OK && result != Z_STREAM_END && result != Z_BUF_ERROR)
            error = stream.msg != nullptr ? stream.msg : "it cannot be decompressed";
        return output.size() - stream.avail_out;
    }
    bool isComplete() const override { return isBetween; }
    std::string_view format() const override { return "gzip"; }

private:
    z_stream stream{};
    bool isBetween = false;
};

class Zstd final : public Decompressor {
public:
    std::size_t step(std::string_view& input, std::span<char> output, const char*& error) override {
        if (!stream) throw std::bad_alloc();
        // Of what is given at once, an error does not say where it stands.
        constexpr std::size_t most = 4096;
        ZSTD_inBuffer in{input.data(), std::min(input.size(), most), 0};
        ZSTD_outBuffer out{output.data(), output.size(), 0};
        const auto result = ZSTD_decompressStream(stream.get(), &out, &in);
        input.remove_prefix(in.pos);
        if (ZSTD_isError(result) != 0) {
            error = ZSTD_getErrorName(result);
        } else if (in.pos > 0 || out.pos > 0) {
            isBetween = result == 0;
        }
        return out.pos;
    }
    bool isComplete() const override { return isBetween; }
    std::string_view format() const override { return "zstd"; }

private:
    struct Free {
        void operator()(ZSTD_DStream* decoder) const { ZSTD_freeDStream(decoder); }
    };
    std::unique_ptr<ZSTD_DStream, Free> stream{ZSTD_createDStream()};
    bool isBetween = false;
};

bool isGzip(std::string_view text) { return text.starts_with("\x1f\x8b"); }

/// A frame, or one that other tools put before it, which is skipped.
bool isZstd(std::string_view text) {
    return text.starts_with("\x28\xb5\x2f\xfd") ||
           (text.size() >= magicLength && (text[0] & 0xf0) == 0x50 && text.substr(1, 3) == "\x2a\x4d\x18");
}

/// Whether a text that begins like this may be compressed.
bool mayBeCompressed(char first) { return first == '\x1f' || first == '\x28' || (first & 0xf0) == 0x50; }

}  // namespace

DataFile::DataFile(const std::string& path) : file(path) {}
DataFile::~DataFile() = default;

std::string_view DataFile::read(std::span<char> space) {
    if (given == looked.size()) return readFile(space);
    const auto count = std::min(space.size(), looked.size() - given);
    std::copy_n(looked.begin() + static_cast<std::ptrdiff_t>(given), count, space.begin());
    given += count;
    return {space.data(), count};
}

bool DataFile::awaitInput(double seconds) const {
    return given < looked.size() || !input.empty() || decompressor != nullptr || file.awaitInput(seconds);
}

std::string_view DataFile::lineAt(std::size_t index, std::size_t most) {
    std::array<char, 4096> space{};
    std::size_t begin = 0, searched = 0;
    for (;;) {
        const auto lineBreak = looked.find('\n', searched);
        if (lineBreak != std::string::npos && index == 0)
            return std::string_view(looked).substr(begin, lineBreak - begin);
        if (lineBreak != std::string::npos) {
            begin = searched = lineBreak + 1;
            --index;
            continue;
        }
        searched = looked.size();
        const auto piece = searched - begin < most ? readFile(space) : std::string_view();
        if (piece.empty()) return index == 0 ? std::string_view(looked).substr(begin) : std::string_view();
        looked += piece;
    }
}

std::string DataFile::readRest() {
    std::string text;
    std::vector<char> space(inputSize);
    for (auto piece = read(space); !piece.empty(); piece = read(space)) {
        text += piece;
        if (text.size() <= longestDocument) continue;
        throw Failure{ExitStatus::failed, "kelvane: " + name() + " is longer than the limit of " +
                                              std::to_string(longestDocument >> 20) + " MiB"};
    }
    if (interruption() != 0) throw Failure{128 + interruption(), {}};
    if (!fault.empty()) throw Failure{ExitStatus::failed, fault};
    return text;
}

std::string_view DataFile::readFile(std::span<char> space) {
    if (!isStarted) start();
    if (decompressor) return decompress(space);
    if (input.empty()) return isAtEnd ? std::string_view() : file.read(space);
    const auto count = input.copy(space.data(), space.size());
    input.remove_prefix(count);
    return {space.data(), count};
}

// What cannot be compressed is not waited for.
void DataFile::start() {
    isStarted = true;
    inputSpace.resize(inputSize);
    input = file.read(inputSpace);
    while (!input.empty() && input.size() < magicLength && mayBeCompressed(input.front())) {
        const auto more = file.read(std::span(inputSpace).subspan(input.size()));
        if (more.empty()) break;
        input = {inputSpace.data(), input.size() + more.size()};
    }
    isAtEnd = input.empty();
    if (isGzip(input)) {
        decompressor = std::make_unique<Gzip>();
    } else if (isZstd(input)) {
        decompressor = std::make_unique<Zstd>();
    }
}

std::string_view DataFile::decompress(std::span<char> space) {
    while (fault.empty() && !isAtEnd) {
        const char* error = nullptr;
        const auto before = input.size();
        const auto count = decompressor->step(input, space, error);
        taken += before - input.size();
        if (error != nullptr) {
            fault = name() + ": the " + std::string(decompressor->format()) +
                    " data is damaged at about byte " + std::to_string(taken) + " of the file: " + error;
        }
        if (count > 0) return {space.data(), count};
        if (error != nullptr || !input.empty()) continue;
        input = file.read(inputSpace);
        if (interrupted()) return {};
        isAtEnd = input.empty();
        if (isAtEnd && !decompressor->isComplete()) {
            fault = name() + ": the " + std::string(decompressor->format()) + " data breaks off at byte " +
                    std::to_string(taken) + ", where the file ends: it was cut off";
        }
    }
    return {};
}

}  // namespace kelvane
