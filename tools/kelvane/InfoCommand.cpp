#include <map>
#include <memory>
#include <utility>

#include "Commands.h"
#include "DataFile.h"
#include "Diagram.h"
#include "Files.h"
#include "Interruption.h"
#include "Messages.h"
#include "Recording.h"
#include "RecordingSummary.h"
#include "Table.h"

namespace kelvane {

using namespace KelvaneSDK;

namespace {

struct Row {
    std::string label, type;
    /// A constant's value, or what is unusual about a stream or an output.
    std::string remark;
};

/// What people want to know about a diagram; rows in document order, functions by name.
struct Summary {
    std::vector<Row> inputStreams, variableOutputs, constants;
    std::vector<std::string> manualLines;
    std::map<std::string, std::int64_t> functionCounts;
};

Summary summaryOf(const Kelvane& engine) {
    Summary summary;
    for (const auto& node : engine.nodeList(NodeCategory::InputStream)) {
        const bool forwards = hasProperty(*node, {"Forwarding", "true"});
        summary.inputStreams.push_back(
            {std::string(node->label()), std::string(node->typeString), forwards ? "" : "not forwarded"});
    }
    for (const auto& node : engine.nodeList(NodeCategory::VariableOutput)) {
        const bool isHidden = hasProperty(*node, {"Hidden", "true"});
        summary.variableOutputs.push_back(
            {std::string(node->label()), std::string(node->typeString), isHidden ? "hidden" : ""});
    }
    for (const auto& node : engine.nodeList(NodeCategory::Constant)) {
        const auto* value = node->outputValue()->payload();
        const std::string type(node->typeString), label(node->label());
        summary.constants.push_back({label == type ? "#" + std::to_string(node->id.value_or(-1)) : label,
                                     type, value ? getValueString(*value) : ""});
    }
    for (const auto& node : engine.nodeList(NodeCategory::Function))
        ++summary.functionCounts[std::string(node->typeString)];
    summary.manualLines = engine.getManualLines();
    return summary;
}

void appendTable(std::string& text, std::string_view title, const std::vector<Row>& rows) {
    if (rows.empty()) return;
    Table table({{}, {}, {}}, "  ");
    for (const auto& row : rows) table.add({row.label, row.type, row.remark});
    text += std::string(title) + "\n" + table.text();
}

std::string textOf(const Summary& summary) {
    std::string text;
    appendTable(text, "Input streams", summary.inputStreams);
    appendTable(text, "Variable outputs", summary.variableOutputs);
    appendTable(text, "Constants", summary.constants);
    std::vector<Row> counts;
    for (const auto& [name, count] : summary.functionCounts)
        counts.push_back({name, std::to_string(count), ""});
    appendTable(text, "Functions", counts);
    if (!summary.manualLines.empty()) text += "Manual\n";
    for (const auto& line : summary.manualLines) text += "  " + printable(line) + "\n";
    return text;
}

template <class Members>
void writeRows(JsonWriter& json, std::string_view key, const std::vector<Row>& rows, Members members) {
    json.key(key);
    json.beginArray();
    for (const auto& row : rows) {
        json.beginObject();
        json.member("label", std::string_view(row.label));
        json.member("type", std::string_view(row.type));
        members(row);
        json.endObject();
    }
    json.endArray();
}

std::string jsonOf(const Summary& summary) {
    std::string text;
    JsonWriter json(text, JsonWriter::Layout::pretty);
    json.beginObject();
    writeRows(json, "inputStreams", summary.inputStreams,
              [&](const Row& row) { json.member("forwarding", row.remark.empty()); });
    writeRows(json, "variableOutputs", summary.variableOutputs,
              [&](const Row& row) { json.member("hidden", !row.remark.empty()); });
    writeRows(json, "constants", summary.constants,
              [&](const Row& row) { json.member("value", std::string_view(row.remark)); });
    json.key("functions");
    json.beginObject();
    for (const auto& [name, count] : summary.functionCounts) json.member(name, count);
    json.endObject();
    json.key("manualLines");
    json.beginArray();
    for (const auto& line : summary.manualLines) json.value(std::string_view(line));
    json.endArray();
    json.endObject();
    return text + "\n";
}

int infoOfRecording(std::unique_ptr<DataFile> file, bool asJson) {
    Recording recording(std::move(file));
    RecordingSummary summary;
    while (recording.readPiece()) {
        while (const auto* update = recording.nextUpdate()) summary.add(*update);
    }
    if (interruption() != 0) throw Failure{128 + interruption(), {}};
    writeToStandardOutput(asJson ? jsonOf(summary, recording.name()) : textOf(summary, recording.name()));
    const auto failure = recording.failure();
    if (!failure.empty()) report(failure);
    return failure.empty() ? ExitStatus::done : ExitStatus::failed;
}

}  // namespace

int info(const InfoOptions& options) {
    auto file = std::make_unique<DataFile>(options.path);
    if (isRecording(*file)) return infoOfRecording(std::move(file), options.asJson);
    LibraryMessages messages;
    const auto diagram = buildDiagram(file->name(), file->readRest());
    const auto summary = summaryOf(*diagram.engine);
    writeToStandardOutput(options.asJson ? jsonOf(summary) : textOf(summary));
    return diagram.exitStatus();
}

}  // namespace kelvane
