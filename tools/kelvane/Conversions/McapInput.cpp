#include <zstd.h>

#include <array>
#include <map>
#include <utility>

#include "ByteReader.h"
#include "Formats.h"
#include "KelvaneSDK/FileProcessing/InputRecording.h"
#include "Mcap.h"
#include "Messages.h"

namespace kelvane {

using namespace KelvaneSDK;

namespace {

// A line of a recording is no longer either; and more than a chunk holds would fill the memory.
constexpr std::uint64_t longestMessage = 64 << 20, longestChunk = 256 << 20, longestDescription = 16 << 20;
constexpr std::size_t recordHead = 9, messageHead = 22;

/// Takes fields from the front of a record; what is not there ends the conversion.
class FieldReader {
public:
    FieldReader(std::string_view content, const ByteReader& reader) : rest(content), bytes(reader) {}

    template <class Integer>
    Integer number() {
        const auto taken = take(sizeof(Integer));
        Integer value = 0;
        for (std::size_t i = sizeof(Integer); i > 0; --i)
            value = static_cast<Integer>(static_cast<std::uint64_t>(value) << 8 |
                                         static_cast<unsigned char>(taken[i - 1]));
        return value;
    }
    std::string_view text() { return take(number<std::uint32_t>()); }
    std::string_view take(std::uint64_t count) {
        if (count > rest.size()) bytes.fail("a record is shorter than what it says to hold");
        const auto taken = rest.substr(0, static_cast<std::size_t>(count));
        rest.remove_prefix(taken.size());
        return taken;
    }
    std::string_view remaining() const { return rest; }
    bool isAtEnd() const { return rest.empty(); }

private:
    std::string_view rest;
    const ByteReader& bytes;
};

class McapInput final : public UpdateInput {
public:
    explicit McapInput(std::unique_ptr<DataFile> file)
        : bytes(std::move(file)),
          reader({.lines = RecordingOptions::Lines::results, .longestLine = longestMessage}) {
        if (bytes.take(mcapMagic.size()) != mcapMagic) bytes.failAt(0, "this is no MCAP file of version 0");
    }

    bool next(Update& update) override {
        for (;;) {
            if (const auto* const read = reader.nextUpdate()) {
                update.take(*read);
                return true;
            }
            if (reader.failure())
                bytes.fail("a message cannot be read: " + printable(reader.failure()->reason));
            if (!nextMessage()) return false;
            reader.append(line);
        }
    }

private:
    /// Leaves the next message that is one of ours in `line`; false at the end.
    bool nextMessage() {
        while (!hasEnded) {
            if (!chunk.empty()) {
                FieldReader fields(chunk, bytes);
                const auto kind = static_cast<McapRecord>(fields.number<std::uint8_t>());
                const auto content = fields.take(fields.number<std::uint64_t>());
                chunk = fields.remaining();
                if (takeRecord(kind, content)) return true;
            } else if (inChunk > 0) {
                const auto before = bytes.offset();
                const bool isMessage = readRecord();
                const auto taken = bytes.offset() - before;
                if (taken > inChunk) bytes.fail("a record reaches beyond the end of its chunk");
                inChunk -= taken;
                if (isMessage) return true;
            } else if (readRecord()) {
                return true;
            }
        }
        if (ourMessages == 0 && otherMessages > 0) {
            throw Failure{ExitStatus::failed, bytes.name() + ": none of the " +
                                                  counted(otherMessages, "message") +
                                                  " is one that kelvane convert wrote; no others are read"};
        }
        if (otherMessages > 0 && !std::exchange(hasReported, true)) {
            report(bytes.name() + ": " + counted(otherMessages, "message") +
                   " of other programs' schemas left out");
        }
        return false;
    }

    /// Reads a record of the file; true when it is a message of ours.
    bool readRecord() {
        FieldReader head(bytes.take(recordHead), bytes);
        const auto kind = static_cast<McapRecord>(head.number<std::uint8_t>());
        const auto length = head.number<std::uint64_t>();
        switch (kind) {
            case McapRecord::chunk:
                openChunk(length);
                return false;
            case McapRecord::schema:
            case McapRecord::channel:
                return takeRecord(kind, piece(length, longestDescription));
            case McapRecord::message:
                return takeRecord(kind, piece(length, longestMessage));
            case McapRecord::dataEnd:
            case McapRecord::footer:
                hasEnded = true;
                return false;
            default:
                bytes.skip(length);
                return false;
        }
    }

    std::string_view piece(std::uint64_t length, std::uint64_t most) {
        if (length > most)
            bytes.fail("a record of " + std::to_string(length) + " bytes is longer than the limit of " +
                       std::to_string(most));
        return bytes.take(static_cast<std::size_t>(length));
    }

    bool takeRecord(McapRecord kind, std::string_view content) {
        FieldReader fields(content, bytes);
        if (kind == McapRecord::schema) {
            const auto id = fields.number<std::uint16_t>();
            isOurs[id] = fields.text().starts_with(mcapSchemaPrefix);
        } else if (kind == McapRecord::channel) {
            const auto id = fields.number<std::uint16_t>();
            const auto schema = isOurs.find(fields.number<std::uint16_t>());
            fields.text();
            channels[id] = schema != isOurs.end() && schema->second && fields.text() == "json";
        } else if (kind == McapRecord::message) {
            const auto channel = channels.find(fields.number<std::uint16_t>());
            fields.take(messageHead - sizeof(std::uint16_t));
            if (channel == channels.end()) bytes.fail("a message is of a channel that is not described");
            ++(channel->second ? ourMessages : otherMessages);
            if (!channel->second) return false;
            line = fields.remaining();
            line += '\n';
            return true;
        }
        return false;
    }

    /// The records of an uncompressed chunk are read as if they stood alone.
    void openChunk(std::uint64_t length) {
        if (inChunk > 0) bytes.fail("a chunk stands within a chunk");
        const auto begin = bytes.offset();
        FieldReader head(bytes.take(32), bytes);
        head.take(16);
        const auto size = head.number<std::uint64_t>();
        head.number<std::uint32_t>();
        const auto nameLength = head.number<std::uint32_t>();
        constexpr std::uint32_t longestName = 64;
        if (nameLength > longestName) bytes.fail("the name of a compression is too long");
        const std::string compression(bytes.take(nameLength));
        const auto stored = FieldReader(bytes.take(8), bytes).number<std::uint64_t>();
        if (stored > length || bytes.offset() - begin > length - stored)
            bytes.fail("a chunk is shorter than what it says to hold");
        if (compression.empty()) {
            inChunk = stored;
        } else if (compression == "zstd") {
            decompress(stored, size);
        } else {
            bytes.fail("a chunk is compressed by " + inQuotes(compression) + "; only zstd is read");
        }
    }

    void decompress(std::uint64_t stored, std::uint64_t size) {
        if (size > longestChunk || stored > longestChunk)
            bytes.fail("a chunk of " + std::to_string(std::max(size, stored)) +
                       " bytes is longer than the limit of " + std::to_string(longestChunk));
        const auto packed = bytes.take(static_cast<std::size_t>(stored));
        unpacked.resize(static_cast<std::size_t>(size));
        const auto result = ZSTD_decompress(unpacked.data(), unpacked.size(), packed.data(), packed.size());
        if (ZSTD_isError(result) != 0 || result != size)
            bytes.fail("the chunk that ends here cannot be decompressed");
        chunk = unpacked;
    }

    ByteReader bytes;
    RecordingReader reader;
    std::map<std::uint16_t, bool> isOurs, channels;
    std::string line, unpacked;
    std::string_view chunk;     // what is left of a chunk that was compressed
    std::uint64_t inChunk = 0;  // bytes that are left of one that was not
    std::size_t ourMessages = 0, otherMessages = 0;
    bool hasEnded = false, hasReported = false;
};

}  // namespace

std::unique_ptr<UpdateInput> openMcap(std::unique_ptr<DataFile> file, const ConvertOptions&) {
    return std::make_unique<McapInput>(std::move(file));
}

}  // namespace kelvane
