#include <zlib.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <utility>

#include "Formats.h"
#include "KelvaneSDK/KelvaneSDK.h"
#include "Mcap.h"
#include "Messages.h"
#include "ValueText.h"

namespace kelvane {

using namespace KelvaneSDK;

namespace {

/// The fields of a record, one behind the other.
class FieldWriter {
public:
    template <class Integer>
    FieldWriter& number(Integer value) {
        for (std::size_t i = 0; i < sizeof value; ++i)
            bytes += static_cast<char>(static_cast<std::uint64_t>(value) >> (8 * i) & 0xff);
        return *this;
    }
    FieldWriter& text(std::string_view value) {
        number(static_cast<std::uint32_t>(value.size()));
        bytes += value;
        return *this;
    }
    const std::string& content() const { return bytes; }

private:
    std::string bytes;
};

std::string recordOf(McapRecord kind, const std::string& content) {
    return FieldWriter()
               .number(static_cast<std::uint8_t>(kind))
               .number(std::uint64_t{content.size()})
               .content() +
           content;
}

/// The JSON Schema of a value, by whose members programs draw graphs.
std::string schemaOf(ValueType type) {
    const auto object = [](std::string_view members) {
        std::string properties;
        for (const char member : members) {
            properties += properties.empty() ? "\"" : ",\"";
            properties += member;
            properties += R"(":{"type":"number"})";
        }
        return R"({"type":"object","properties":{)" + properties + "}}";
    };
    const auto listOf = [](const std::string& item) { return R"({"type":"array","items":)" + item + "}"; };
    switch (type) {
        case ValueType::Float:
            return R"({"type":"number"})";
        case ValueType::Integer:
            return R"({"type":"integer"})";
        case ValueType::Boolean:
            return R"({"type":"boolean"})";
        case ValueType::Vector:
            return object("xyz");
        case ValueType::Orientation:
            return object("xyzw");
        case ValueType::String:
            return R"({"type":"string"})";
        case ValueType::Sequence:
        case ValueType::SampleArray:
            return listOf(object("tf"));
        case ValueType::FloatArray:
            return listOf(schemaOf(ValueType::Float));
        case ValueType::IntegerArray:
            return listOf(schemaOf(ValueType::Integer));
        case ValueType::BooleanArray:
            return listOf(schemaOf(ValueType::Boolean));
        case ValueType::StringArray:
            return listOf(schemaOf(ValueType::String));
        case ValueType::VectorArray:
            return listOf(schemaOf(ValueType::Vector));
        case ValueType::OrientationArray:
            return listOf(schemaOf(ValueType::Orientation));
        case ValueType::SequenceArray:
            return listOf(schemaOf(ValueType::Sequence));
    }
    return "{}";
}

/// Messages in chunks of a megabyte, each with an index, and a summary at the end.
class McapOutput final : public UpdateOutput {
public:
    explicit McapOutput(PendingText& target) : output(target) {
        write(std::string(mcapMagic));
        write(recordOf(McapRecord::header, FieldWriter().text("").text("kelvane").content()));
    }

    void take(const Update& update) override {
        const auto time = timeOf(update);
        const auto channel = channelOf(update.name, update.type);
        line.clear();
        appendLine(line, update.timestamp, update.name, update.type, update.value ? &*update.value : nullptr);
        line.pop_back();
        auto& counted = channels[channel - 1];
        chunk.index[channel].emplace_back(time, chunk.records.size());
        chunk.records +=
            recordOf(McapRecord::message, FieldWriter()
                                                  .number(channel)
                                                  .number(static_cast<std::uint32_t>(counted.messages++))
                                                  .number(time)
                                                  .number(time)
                                                  .content() +
                                              line);
        chunk.span.add(time);
        span.add(time);
        if (chunk.records.size() >= chunkSize) endChunk();
    }

    void finish() override {
        endChunk();
        write(recordOf(McapRecord::dataEnd, FieldWriter().number(std::uint32_t{0}).content()));
        const auto summaryStart = position;
        for (const auto& [type, schema] : schemas) write(schema.record);
        FieldWriter counts;
        for (std::size_t i = 0; i < channels.size(); ++i) {
            write(channels[i].record);
            counts.number(static_cast<std::uint16_t>(i + 1)).number(std::uint64_t{channels[i].messages});
        }
        std::uint64_t messages = 0;
        for (const auto& channel : channels) messages += channel.messages;
        for (const auto& record : chunkIndexes) write(record);
        write(recordOf(McapRecord::statistics, FieldWriter()
                                                   .number(messages)
                                                   .number(static_cast<std::uint16_t>(schemas.size()))
                                                   .number(static_cast<std::uint32_t>(channels.size()))
                                                   .number(std::uint32_t{0})
                                                   .number(std::uint32_t{0})
                                                   .number(static_cast<std::uint32_t>(chunkIndexes.size()))
                                                   .number(span.begin)
                                                   .number(span.end)
                                                   .text(counts.content())
                                                   .content()));
        write(recordOf(McapRecord::footer,
                       FieldWriter()
                           .number(position == summaryStart ? std::uint64_t{0} : summaryStart)
                           .number(std::uint64_t{0})
                           .number(std::uint32_t{0})
                           .content()));
        write(std::string(mcapMagic));
    }

private:
    static constexpr std::size_t chunkSize = 1 << 20;

    struct Span {
        std::uint64_t begin = 0, end = 0;
        bool isEmpty = true;

        void add(std::uint64_t time) {
            begin = isEmpty ? time : std::min(begin, time);
            end = isEmpty ? time : std::max(end, time);
            isEmpty = false;
        }
    };
    struct Schema {
        std::uint16_t id;
        std::string record;
    };
    struct Channel {
        std::string record;
        std::uint64_t messages = 0;
    };
    struct Chunk {
        std::string records;
        Span span;
        /// For each channel, the times and the places of its messages.
        std::map<std::uint16_t, std::vector<std::pair<std::uint64_t, std::uint64_t>>> index;
    };

    static std::uint64_t timeOf(const Update& update) {
        constexpr double perSecond = 1e9, most = 9e18;
        const double time = update.nanoseconds ? static_cast<double>(*update.nanoseconds)
                                               : std::round(update.timestamp * perSecond);
        if (!(time >= 0 && time < most)) {
            throw Failure{ExitStatus::failed,
                          "kelvane: MCAP has times from 0 to some 9e9 seconds; the time " +
                              numberText(update.timestamp) + " of " + inQuotes(update.name) +
                              " is none: --from-zero counts times from the first one"};
        }
        return update.nanoseconds ? static_cast<std::uint64_t>(*update.nanoseconds)
                                  : static_cast<std::uint64_t>(time);
    }

    /// That of the name and type; a new one is described in the chunk.
    std::uint16_t channelOf(const std::string& name, ValueType type) {
        const auto [known, isNew] = channelIds.try_emplace({name, type}, std::uint16_t{0});
        if (!isNew) return known->second;
        if (channels.size() == 0xffff)
            throw Failure{ExitStatus::failed, "kelvane: MCAP has no room for more than 65535 streams"};
        auto schema = schemas.find(type);
        if (schema == schemas.end()) {
            const auto id = static_cast<std::uint16_t>(schemas.size() + 1);
            const auto text =
                R"({"type":"object","properties":{"timestamp":{"type":"number"},"name":{"type":"string"},")" +
                keyOf(type) + "\":" + schemaOf(type) + "}}";
            FieldWriter fields;
            fields.number(id)
                .text(std::string(mcapSchemaPrefix) + std::string(valueTypeName(type)))
                .text("jsonschema")
                .text(text);
            schema = schemas.emplace(type, Schema{id, recordOf(McapRecord::schema, fields.content())}).first;
            chunk.records += schema->second.record;
        }
        known->second = static_cast<std::uint16_t>(channels.size() + 1);
        const auto fields =
            FieldWriter().number(known->second).number(schema->second.id).text(name).text("json").text("");
        channels.push_back({recordOf(McapRecord::channel, fields.content())});
        chunk.records += channels.back().record;
        return known->second;
    }

    void endChunk() {
        if (chunk.records.empty()) return;
        const auto size = std::uint64_t{chunk.records.size()};
        const auto start = position;
        const auto check = ::crc32(0, reinterpret_cast<const Bytef*>(chunk.records.data()),
                                   static_cast<uInt>(chunk.records.size()));
        write(recordOf(McapRecord::chunk, FieldWriter()
                                                  .number(chunk.span.begin)
                                                  .number(chunk.span.end)
                                                  .number(size)
                                                  .number(static_cast<std::uint32_t>(check))
                                                  .text("")
                                                  .number(size)
                                                  .content() +
                                              chunk.records));
        const auto end = position;
        FieldWriter offsets;
        for (const auto& [channel, messages] : chunk.index) {
            offsets.number(channel).number(position);
            FieldWriter places;
            for (const auto& [time, place] : messages) places.number(time).number(place);
            write(recordOf(McapRecord::messageIndex,
                           FieldWriter().number(channel).text(places.content()).content()));
        }
        chunkIndexes.push_back(recordOf(McapRecord::chunkIndex, FieldWriter()
                                                                    .number(chunk.span.begin)
                                                                    .number(chunk.span.end)
                                                                    .number(start)
                                                                    .number(end - start)
                                                                    .text(offsets.content())
                                                                    .number(position - end)
                                                                    .text("")
                                                                    .number(size)
                                                                    .number(size)
                                                                    .content()));
        chunk = {};
        output.flush();
    }

    void write(const std::string& bytes) {
        output.text() += bytes;
        position += bytes.size();
    }

    PendingText& output;
    std::uint64_t position = 0;
    std::map<ValueType, Schema> schemas;
    std::map<std::pair<std::string, ValueType>, std::uint16_t> channelIds;
    std::vector<Channel> channels;
    Chunk chunk;
    std::vector<std::string> chunkIndexes;
    Span span;
    std::string line;
};

}  // namespace

std::unique_ptr<UpdateOutput> createMcap(PendingText& text, const ConvertOptions&) {
    return std::make_unique<McapOutput>(text);
}

}  // namespace kelvane
