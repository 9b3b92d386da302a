#include <simdjson.h>

#include <charconv>
#include <cmath>
#include <random>

#include "Benchmark.h"
#include "KelvaneSDK/KelvaneSDK.h"
#include "Processes.h"
#include "References.h"

namespace KelvaneBenchmarks {

namespace {

using namespace KelvaneSDK;

// The reference writer: std::to_chars and append.

template <class Number>
void append(std::string& text, Number number) {
    std::array<char, 32> digits;
    text.append(digits.data(), std::to_chars(digits.begin(), digits.end(), number).ptr);
}

void appendLine(std::string& text, double timestamp, std::string_view name, const Payload& value) {
    text += R"({"timestamp":)";
    append(text, timestamp);
    text += R"(,"name":")";
    text += name;
    if (const auto* x = std::get_if<double>(&value)) {
        text += R"(","floatValue":)";
        append(text, *x);
    } else if (const auto* v = std::get_if<Vector>(&value)) {
        text += R"(","vectorValue":{"x":)";
        append(text, v->x);
        text += R"(,"y":)";
        append(text, v->y);
        text += R"(,"z":)";
        append(text, v->z);
        text += '}';
    } else if (const auto* n = std::get_if<std::int64_t>(&value)) {
        text += R"(","integerValue":)";
        append(text, *n);
    } else {
        text += std::get<bool>(value) ? R"(","booleanValue":true)" : R"(","booleanValue":false)";
    }
    text += "}\n";
}

// Measurements of somebody who walks, always the same: numbers in full and rounded, and some streams slower
// than others.
class Walk {
public:
    struct Update {
        std::string_view name;
        Value value;
    };

    double timestamp() const { return 1712345678 + static_cast<double>(tick) / 100; }
    /// The updates of the next batch, in ascending order of their names.
    const std::vector<Update>& next() {
        ++tick;
        updates.clear();
        heading = std::fmod(heading + noise() + 360, 360);
        steps += tick % 60 == 0 ? 1 : 0;
        updates.push_back({"acceleration", Vector{noise(), noise(), 9.81 + noise()}});
        updates.push_back({"heading", std::round(heading * 100) / 100});
        if (tick % 3 == 0) updates.push_back({"indoors", tick % 4000 < 2000});
        if (tick % 5 == 0) updates.push_back({"pressure", 101325 + noise()});
        updates.push_back({"rotation rate", Vector{rounded(), rounded(), rounded()}});
        updates.push_back({"speed", 1.4 + noise() / 10});
        if (tick % 3 == 0) updates.push_back({"steps", steps});
        if (tick % 10 == 0) updates.push_back({"temperature", std::round(200 + noise()) / 10});
        return updates;
    }

private:
    double noise() { return static_cast<double>(random()) / 0x1p63 - 1; }
    // Never -0, which std::to_chars writes as a whole number.
    double rounded() { return std::round(noise() * 10000) / 10000 + 0.0; }

    std::mt19937_64 random{42};
    std::int64_t tick = 0, steps = 0;
    double heading = 90;
    std::vector<Update> updates;
};

std::string recordingOf(std::size_t bytes) {
    std::string text;
    text.reserve(bytes + 4096);
    for (Walk walk; text.size() < bytes;) {
        for (const auto& [name, value] : walk.next())
            appendLine(text, walk.timestamp(), name, payloadOf(value));
    }
    text.reserve(text.size() + simdjson::SIMDJSON_PADDING);
    return text;
}

/// What a reader saw. Timestamps, names and values count once for each update.
struct Content {
    std::uint64_t updates = 0, digest = 0;

    void add(std::size_t count, double timestamp) {
        updates += count;
        digest += count * digestOf(timestamp);
    }
    template <class AnyValue>
    void add(std::string_view name, const AnyValue& value) {
        digest += name.size() + 11 * digestOf(value);
    }
    std::uint64_t sum() const { return digest + updates; }
};

// The reference reader: every line's fields taken into a timestamp, a name and a variant.
Content readByDocuments(const std::string& text) {
    namespace json = simdjson::ondemand;
    const auto vectorOf = [](json::object object) {
        return Vector{object["x"].get_double(), object["y"].get_double(), object["z"].get_double()};
    };
    Content content;
    json::parser parser;
#ifdef SIMDJSON_THREADS_ENABLED
    parser.threaded = false;  // everybody has one core
#endif
    json::document_stream stream;
    if (parser.iterate_many(text.data(), text.size(), 1000000).get(stream)) fail("the reference cannot read");
    for (auto document : stream) {
        double timestamp = 0;
        std::string_view name;
        Payload value;
        for (auto field : document.get_object()) {
            const auto key = field.key().value();
            if (key == "timestamp") {
                timestamp = field.value().get_double();
            } else if (key == "name") {
                name = field.value().get_string();
            } else if (key == "floatValue") {
                value = field.value().get_double().value();
            } else if (key == "vectorValue") {
                value = vectorOf(field.value().get_object());
            } else if (key == "integerValue") {
                value = field.value().get_int64().value();
            } else if (key == "booleanValue") {
                value = field.value().get_bool().value();
            }
        }
        content.add(1, timestamp);
        content.add(name, value);
    }
    return content;
}

// Our reader, in the pieces that a file brings.
Content readByBatches(std::string_view text) {
    constexpr std::size_t pieceSize = 256 * 1024;
    Content content;
    RecordingReader reader({.ending = RecordingOptions::Ending::lineBreakAllowed});
    const auto take = [&] {
        while (const auto* batch = reader.next()) {
            content.add(batch->updates.size(), batch->timestamp);
            for (const auto& [label, value] : batch->updates) content.add(label, value);
        }
    };
    for (; !text.empty(); text.remove_prefix(std::min(pieceSize, text.size()))) {
        reader.append(text.substr(0, pieceSize));
        take();
    }
    reader.finish();
    take();
    if (reader.failure()) fail("the recording is not read: " + reader.failure()->reason);
    return content;
}

using SharedFile = std::shared_ptr<const TemporaryFile>;

SharedFile diagramOfOneNode() {
    Shape shape{{{"speed", {1.5}}}, {}, {}, {}};
    shape.output(shape.append(Operation::multiply, {Operand::Kind::stream, 0}, shape.constant(3.6)));
    return std::make_shared<TemporaryFile>(".json", documentOf(shape));
}

// The tool, from its start to its end, over a recording a number of times, with the results to the null
// device.
Contestant tool(const char* name, const SharedFile& diagram, const SharedFile& recording,
                std::uint64_t updates, std::size_t times = 1, const std::string& options = "") {
    return [=](Trial& trial) {
        std::string command =
            std::string("'") + KELVANE_TOOL + "' run --stats " + options + " '" + diagram->path + "'";
        for (std::size_t i = 0; i < times; ++i) command += " '" + recording->path + "'";
        const auto result = runCommand(command + " 2>&1 >/dev/null");
        if (result.output.find(' ' + std::to_string(times * updates) + " updates") == std::string::npos)
            fail(result.output);
        trial.figure(name, result.seconds * 1e3);
    };
}

Subject readingSubject() {
    return {{{"recording of 100 MB read to batches", "ms", "kelvane", "iterate_many", 1.5, 1},
             {"kelvane run of 100 MB, one node", "ms", "kelvane run", "iterate_many", 2, 1.3}},
            [] {
                const auto text = std::make_shared<const std::string>(recordingOf(100'000'000));
                const auto reader = [=](const char* name, auto read) -> Contestant {
                    return [=](Trial& trial) {
                        Content content;
                        trial.figure(name, 1e3 * secondsOf([&] { content = read(*text); }));
                        trial.result("content", name, content.sum());
                    };
                };
                return std::vector<Contestant>{
                    reader("kelvane", readByBatches), reader("iterate_many", readByDocuments),
                    tool("kelvane run", diagramOfOneNode(), std::make_shared<TemporaryFile>(".jsonl", *text),
                         readByDocuments(*text).updates)};
            }};
}

Subject jobsSubject() {
    return {{{"kelvane run over 8 recordings of 25 MB", "ms", "-j 2", "-j 1", 0.6, 0.52}}, [] {
                const auto text = recordingOf(25'000'000);
                const auto recording = std::make_shared<TemporaryFile>("-8.jsonl", text);
                const auto diagram = diagramOfOneNode();
                const auto updates = readByDocuments(text).updates;
                return std::vector<Contestant>{tool("-j 2", diagram, recording, updates, 8, "-j 2"),
                                               tool("-j 1", diagram, recording, updates, 8, "-j 1")};
            }};
}

Subject writingSubject() {
    return {{{"results written", "ns/line", "kelvane", "to_chars", 1.2, 1}}, [] {
                struct Batch {
                    double timestamp;
                    std::vector<std::pair<std::string_view, Payload>> updates;
                };
                const auto batches = std::make_shared<std::vector<Batch>>(50000);
                const auto outputs = std::make_shared<std::vector<KelvaneOutput>>(batches->size());
                std::size_t lines = 0;
                Walk walk;
                for (std::size_t i = 0; i < batches->size(); ++i) {
                    const auto& updates = walk.next();
                    (*batches)[i].timestamp = (*outputs)[i].timestamp = walk.timestamp();
                    lines += updates.size();
                    for (const auto& [name, value] : updates) {
                        (*batches)[i].updates.emplace_back(name, payloadOf(value));
                        (*outputs)[i].outputs.emplace(std::string(name), value);
                    }
                }
                const auto appendOurs = [](std::string& text, const KelvaneOutput& output) {
                    appendJsonLines(text, output);
                };
                const auto appendPlainly = [](std::string& text, const Batch& batch) {
                    for (const auto& [name, value] : batch.updates)
                        appendLine(text, batch.timestamp, name, value);
                };
                const auto writer = [=](const char* name, auto list, auto appendBatch) -> Contestant {
                    return [=](Trial& trial) {
                        std::string text;
                        text.reserve(2'000'000);
                        std::uint64_t digest = 0;
                        const double seconds = secondsOf([&] {
                            for (const auto& batch : *list) {
                                appendBatch(text, batch);
                                if (text.size() < 1'000'000) continue;
                                digest = 31 * digest + std::hash<std::string_view>()(text);
                                text.clear();
                            }
                        });
                        trial.figure(name, seconds * 1e9 / static_cast<double>(lines));
                        trial.result("text", name, digest + std::hash<std::string_view>()(text));
                    };
                };
                return std::vector{writer("kelvane", outputs, appendOurs),
                                   writer("to_chars", batches, appendPlainly)};
            }};
}

}  // namespace

std::vector<Subject> recordingSubjects() { return {readingSubject(), jobsSubject(), writingSubject()}; }

void runReader(std::size_t reads) {
    const auto text = recordingOf(500'000);
    for (std::size_t i = 0; i < reads; ++i) readByBatches(text);
}

}  // namespace KelvaneBenchmarks
