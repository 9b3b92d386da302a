#include <algorithm>
#include <map>
#include <optional>
#include <span>

#include "Commands.h"
#include "Diagram.h"
#include "Files.h"
#include "Interruption.h"
#include "Messages.h"
#include "Recording.h"

namespace kelvane {

using namespace KelvaneSDK;

namespace {

struct LocatedFinding {
    std::string path;
    Finding finding;
};

/// What a recording gives: for each label the types of its values.
struct RecordingContent {
    std::string name;
    struct Uses {
        std::size_t count = 0;
        double firstTimestamp = 0;
    };
    std::map<std::string, std::map<ValueType, Uses>, std::less<>> streams;
    /// What ended the reading early, with file and line; empty when all was read.
    std::string failure;
};

RecordingContent readContent(const std::string& path) {
    Recording recording(path);
    RecordingContent content{nameOf(path), {}, {}};
    KelvaneInput batch;
    while (recording.readPiece()) {
        while (recording.next(batch)) {
            for (const auto& [label, value] : batch.updates) {
                auto& uses = content.streams[std::string(label)]
                                 .try_emplace(value.type(), RecordingContent::Uses{0, batch.timestamp})
                                 .first->second;
                ++uses.count;
            }
        }
    }
    if (interruption() != 0) throw Failure{128 + interruption(), {}};
    content.failure = recording.failure();
    return content;
}

/// The input streams and variable outputs of a document, built apart from the nodes that may have errors.
class Endpoints {
public:
    explicit Endpoints(const DiagramInfo& document) : info(document) {
        DiagramInfo endpoints;
        for (const auto& node : info.nodes) {
            const auto category = categoryNamed(node.classString);
            const bool isEndpoint =
                category == NodeCategory::InputStream || category == NodeCategory::VariableOutput;
            if (isEndpoint && engine.nodeTypes().find(*category, node.typeString))
                endpoints.nodes.push_back(node);
        }
        endpoints.properties = info.properties;
        engine.setDiagnosticSink([](std::string_view) {});
        engine.read(DiagramData{std::move(endpoints)}.encode(), true);
    }

    /// Where a recording and the input streams do not meet.
    std::vector<Finding> compare(const RecordingContent& recording) const {
        const auto streams = labels(engine, NodeCategory::InputStream);
        const auto outputs = labels(engine, NodeCategory::VariableOutput);
        std::vector<std::string> recorded;
        for (const auto& [label, types] : recording.streams) recorded.push_back(label);

        std::vector<Finding> findings;
        for (const auto& stream : engine.nodeList(NodeCategory::InputStream)) {
            const auto found = recording.streams.find(stream->label());
            if (found != recording.streams.end()) {
                compareTypes(*stream, found->second, findings);
            } else if (std::find(outputs.begin(), outputs.end(), stream->label()) == outputs.end()) {
                // A variable output of the same label would have fed the stream.
                auto& finding = add(findings, "stream-not-recorded", Severity::warning, *stream);
                finding.message = "the recording gives no values for this input stream";
                finding.hint = nearestNameHint(stream->label(), recorded);
            }
        }
        for (const auto& [label, types] : recording.streams) {
            if (std::find(streams.begin(), streams.end(), label) != streams.end()) continue;
            auto& finding = findings.emplace_back();
            finding.code = "stream-unknown";
            finding.severity = Severity::warning;
            finding.subject = label;
            finding.message = "no input stream takes the recorded values " + inQuotes(label);
            finding.hint = nearestNameHint(label, streams);
        }
        return findings;
    }

private:
    void compareTypes(const Node& stream, const std::map<ValueType, RecordingContent::Uses>& types,
                      std::vector<Finding>& findings) const {
        for (const auto& [type, uses] : types) {
            if (payloadType(stream.outputValue()->valueClass()) == type) continue;
            add(findings, "stream-type", Severity::error, stream).message =
                "the recording gives " + counted(uses.count, "value") + " of type " +
                std::string(valueTypeName(type)) + ", the first at timestamp " +
                getValueString(uses.firstTimestamp) + "; " + std::string(stream.typeString) + " was expected";
        }
    }

    Finding& add(std::vector<Finding>& findings, std::string_view code, Severity severity,
                 const Node& node) const {
        auto& finding = findings.emplace_back();
        finding.code = code;
        finding.severity = severity;
        const auto record = std::find_if(info.nodes.begin(), info.nodes.end(),
                                         [&](const auto& candidate) { return candidate.id == node.id; });
        finding.pointer = "/nodes/" + std::to_string(record - info.nodes.begin());
        finding.nodeId = node.id;
        finding.typeString = node.typeString;
        finding.label = node.label();
        return finding;
    }

    const DiagramInfo& info;
    Kelvane engine;
};

class Check {
public:
    explicit Check(const CheckOptions& chosen) : options(chosen) {
        if (!options.recording.empty()) recording = readContent(options.recording);
        for (const auto& path : options.diagrams) checkOne(path);
        if (recording && !recording->failure.empty()) ++errors;
    }

    std::string text() const {
        std::string text;
        for (const auto& [path, found] : findings) text += findingLine(nameOf(path), found) + "\n";
        if (recording && !recording->failure.empty()) text += recording->failure + "\n";
        return text + counted(options.diagrams.size() - unreadable, "diagram") +
               " checked: " + counted(errors, "error") + ", " + counted(warnings, "warning") + "\n";
    }

    std::string json() const {
        std::string text;
        JsonWriter json(text, JsonWriter::Layout::pretty);
        json.beginObject();
        json.key("findings");
        json.beginArray();
        for (const auto& found : findings) write(json, found);
        json.endArray();
        if (recording && !recording->failure.empty()) {
            json.member("recordingFailure", std::string_view(recording->failure));
        }
        json.member("errors", static_cast<std::int64_t>(errors));
        json.member("warnings", static_cast<std::int64_t>(warnings));
        json.endObject();
        return text + "\n";
    }

    int exitStatus() const {
        const bool hasFailed = errors > 0 || unreadable > 0 || (options.isStrict && warnings > 0);
        return hasFailed ? ExitStatus::failed : ExitStatus::done;
    }

private:
    void checkOne(const std::string& path) {
        std::string text;
        try {
            text = readWholeFile(path);
        } catch (const Failure& failure) {
            if (failure.message.empty()) throw;
            report(failure.message);
            ++unreadable;
            return;
        }
        for (auto& found : checkDiagram(text)) add(path, std::move(found));
        if (!recording) return;
        const auto data = readDiagram(text);
        if (!data) return;
        auto compared = Endpoints(data->info).compare(*recording);
        // What is about the document as a whole comes last, and has no place.
        const auto placed = std::stable_partition(
            compared.begin(), compared.end(), [](const Finding& found) { return !found.pointer.empty(); });
        placeFindings(std::span(compared.begin(), placed), text);
        for (auto& found : compared) add(path, std::move(found));
    }

    void add(const std::string& path, Finding found) {
        ++(found.severity == Severity::warning ? warnings : errors);
        findings.push_back({path, std::move(found)});
    }

    static void write(JsonWriter& json, const LocatedFinding& located) {
        const auto& found = located.finding;
        const auto text = [&](std::string_view key, const std::string& content) {
            if (!content.empty()) json.member(key, std::string_view(content));
        };
        json.beginObject();
        json.member("file", std::string_view(located.path));
        json.member("code", std::string_view(found.code));
        json.member("severity", severityName(found.severity));
        json.member("pointer", std::string_view(found.pointer));
        if (found.line > 0) {
            json.member("line", static_cast<std::int64_t>(found.line));
            json.member("column", static_cast<std::int64_t>(found.column));
        }
        if (found.nodeId) json.member("nodeId", *found.nodeId);
        text("typeString", found.typeString);
        text("label", found.label);
        text("subject", found.subject);
        json.member("message", std::string_view(found.message));
        text("hint", found.hint);
        json.endObject();
    }

    const CheckOptions& options;
    std::optional<RecordingContent> recording;
    std::vector<LocatedFinding> findings;
    std::size_t errors = 0, warnings = 0, unreadable = 0;
};

std::string codesText() {
    std::string text;
    for (const auto& [code, least, most, meaning, remedy] : findingCodes()) {
        text += std::string(code) + " (" + std::string(severityName(least)) +
                (least == most ? "" : " to " + std::string(severityName(most))) + ")\n    " +
                std::string(meaning) + "\n    " + std::string(remedy) + "\n";
    }
    return text;
}

std::string codesJson() {
    std::string text;
    JsonWriter json(text, JsonWriter::Layout::pretty);
    json.beginArray();
    for (const auto& [code, least, most, meaning, remedy] : findingCodes()) {
        json.beginObject();
        json.member("code", code);
        json.member("leastSeverity", severityName(least));
        json.member("mostSeverity", severityName(most));
        json.member("meaning", meaning);
        json.member("remedy", remedy);
        json.endObject();
    }
    json.endArray();
    return text + "\n";
}

}  // namespace

int check(const CheckOptions& options) {
    if (options.listsCodes) {
        writeToStandardOutput(options.asJson ? codesJson() : codesText());
        return ExitStatus::done;
    }
    if (options.diagrams.empty()) {
        throw Failure{ExitStatus::wrongUsage, "kelvane: DIAGRAM is required; kelvane help check says more"};
    }
    const auto readsStandardInput = std::count(options.diagrams.begin(), options.diagrams.end(), "-") +
                                    (options.recording == "-" ? 1 : 0);
    if (readsStandardInput > 1) {
        throw Failure{ExitStatus::wrongUsage, "kelvane: standard input can be read once only"};
    }
    const Check check(options);
    writeToStandardOutput(options.asJson ? check.json() : check.text());
    return check.exitStatus();
}

}  // namespace kelvane
