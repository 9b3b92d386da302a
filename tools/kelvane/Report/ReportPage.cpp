#include "Report/ReportPage.h"

#include <algorithm>
#include <chrono>
#include <map>
#include <span>
#include <string_view>
#include <utility>

#include "KelvaneSDK/DiagramCheck/DiagramCheck.h"
#include "KelvaneSDK/KelvaneSDK.h"
#include "NodeNames.h"
#include "NotNumbers.h"
#include "Pictures/DiagramPicture.h"
#include "Pictures/Markup.h"
#include "Report/ViewerPage.h"

namespace kelvane {

using namespace KelvaneSDK;

namespace {

/// "walk.jsonl" of "data/walk.jsonl"
std::string fileNameOf(const std::string& path) { return path.substr(path.rfind('/') + 1); }

std::string_view kindName(NodeCategory category) {
    switch (category) {
        case NodeCategory::Constant:
            return "constant";
        case NodeCategory::InputStream:
            return "stream";
        case NodeCategory::VariableOutput:
            return "output";
        default:
            return "function";
    }
}

std::string_view typeOf(const Node& node) {
    const bool isOutput = node.category == NodeCategory::VariableOutput;
    return isOutput ? node.typeString : node.outputValue()->typeString();
}

std::string chunkName(std::size_t place) { return "kelvane-values-" + std::to_string(place); }

class ReportPage {
public:
    ReportPage(const RecordedRun& chosen, PendingText& text)
        : run(chosen),
          engine(*run.diagram.engine),
          output(text),
          diagramName(fileNameOf(run.diagram.name)),
          recordingName(fileNameOf(run.recording)),
          findings(checkDiagram(run.diagram.text)) {
        for (const auto category : allNodeCategories) {
            for (const auto& node : engine.nodeList(category)) {
                nodes.push_back(node.get());
                if (const auto* const series = run.recorder.seriesOf(*node)) addChunk(*series);
            }
        }
    }

    void write(const std::function<void(std::size_t, std::size_t)>& progress) {
        auto page = viewerPage();
        const auto writeUpTo = [&](std::string_view placeholder) {
            const auto end = page.find(placeholder);
            output.text() += page.substr(0, end);
            page.remove_prefix(end + placeholder.size());
        };
        writeUpTo("<!--kelvane-title-->");
        output.text() += markupText(diagramName + " – " + recordingName);
        writeUpTo("<!--kelvane-picture-->");
        output.text() += picture();
        writeUpTo("<!--kelvane-data-->");
        writeData(progress);
        output.text() += page;
    }

private:
    // What passes values on shares the chunk of what it has them from.
    void addChunk(const ValueSeries& series) {
        const auto same = std::find_if(chunks.begin(), chunks.end(), [&](const ValueSeries* chunk) {
            return chunk->hasSameColumns(series);
        });
        chunkOf.push_back(static_cast<std::size_t>(same - chunks.begin()));
        if (same == chunks.end()) chunks.push_back(&series);
    }

    std::string picture() const {
        auto data = readDiagram(run.diagram.text);
        if (!data) return {};
        PictureOptions options;
        options.title = diagramName;
        options.forViewer = true;
        for (const auto& finding : findings) {
            if (finding.nodeId) options.notes.push_back({*finding.nodeId, finding.severity, finding.message});
        }
        return svgPicture(run.isTuned ? withConstants(std::move(*data)) : *data, options);
    }

    DiagramData withConstants(DiagramData data) const {
        std::map<std::int64_t, const Node*> constants;
        for (const auto& node : engine.nodeList(NodeCategory::Constant))
            constants[node->id.value_or(-1)] = node.get();
        for (auto& property : data.info.properties) {
            const auto node = constants.find(property.id);
            if (property.propertyString != "OutputValue" || node == constants.end()) continue;
            for (const auto& own : node->second->getProperties())
                if (own.propertyString == "OutputValue") property.valueString = own.valueString;
        }
        return data;
    }

    void writeData(const std::function<void(std::size_t, std::size_t)>& progress) {
        std::string json;
        writeRun(json);
        output.text() += "<script type=\"application/json\" id=\"kelvane-report\">";
        // No tag may end the element.
        for (const char c : json) c == '<' ? output.text() += "\\u003c" : output.text() += c;
        output.text() += "</script>\n";
        writeChunk("kelvane-times",
                   [&](ChunkWriter& chunk) { chunk.writeColumn(std::span(run.recorder.times())); });
        for (std::size_t i = 0; i < chunks.size(); ++i) {
            writeChunk(chunkName(i), [&](ChunkWriter& chunk) { chunks[i]->write(chunk); });
            progress(i + 1, chunks.size());
        }
    }

    template <class Write>
    void writeChunk(const std::string& name, const Write& write) {
        output.text() += "<script type=\"application/octet-stream\" id=\"" + name + "\">";
        ChunkWriter chunk(output);
        write(chunk);
        chunk.finish();
        output.text() += "</script>\n";
    }

    template <class List, class Write>
    static void writeList(JsonWriter& json, std::string_view key, const List& list, const Write& write) {
        json.key(key);
        json.beginArray();
        for (const auto& each : list) write(each);
        json.endArray();
    }

    void writeRun(std::string& text) const {
        const auto& recorder = run.recorder;
        JsonWriter json(text);
        json.beginObject();
        json.member("version", std::int64_t{1});
        json.member("tool", "kelvane " KELVANE_VERSION);
        json.member("diagram", std::string_view(diagramName));
        json.member("recording", std::string_view(recordingName));
        json.member("batches", static_cast<std::int64_t>(recorder.times().size()));
        const auto writeTime = [&](std::string_view key, double time) {
            json.key(key);
            recorder.batches() > 0 ? json.value(time) : json.null();
        };
        writeTime("begin", recorder.begin());
        writeTime("end", recorder.latestTime());
        if (!run.stopped.empty()) json.member("stopped", std::string_view(run.stopped));
        std::int64_t place = 0;
        const Feeders feeders(engine);
        writeList(json, "nodes", nodes, [&](const Node* node) { writeNode(json, *node, feeders, place); });
        writeList(json, "quiet", quietNodes(engine, recorder),
                  [&](const Node* node) { writeQuietNode(json, *node); });
        writeList(json, "findings", findings, [&](const Finding& finding) { writeFinding(json, finding); });
        const auto writeText = [&](const std::string& line) { json.value(std::string_view(line)); };
        writeList(json, "warnings", warnings(), writeText);
        json.member("times", "kelvane-times");
        writeSeries(json);
        json.endObject();
    }

    std::vector<std::string> warnings() const {
        auto lines = run.warnings;
        const NodePlaces places(run.diagram);
        for (const auto* node : beginningsOfNaN(engine, run.recorder))
            lines.push_back(notNumberText(places, run.recorder, *node));
        return lines;
    }

    void writeNode(JsonWriter& json, const Node& node, const Feeders& feeders, std::int64_t& place) const {
        const auto& tally = run.recorder.of(node);
        const bool isFunction = node.category == NodeCategory::Function;
        json.beginObject();
        json.member("id", node.id.value_or(-1));
        json.member("kind", kindName(*node.category));
        json.member("class", node.typeString);
        const auto label = node.descriptionString().value_or("");
        json.member("name", label.empty() ? node.typeString : label);
        json.member("type", typeOf(node));
        if (node.category == NodeCategory::Constant && node.outputValue()->payload() != nullptr)
            json.member("constant", std::string_view(valueExcerpt(*node.outputValue()->payload())));
        json.member("runs", static_cast<std::int64_t>(isFunction ? tally.runs : 0));
        json.member("emissions", static_cast<std::int64_t>(tally.emissions));
        json.member(
            "nanoseconds",
            static_cast<std::int64_t>(
                isFunction ? std::chrono::duration_cast<std::chrono::nanoseconds>(tally.time).count() : 0));
        writeList(json, "inputs", node.inputValues(), [&](const auto* slot) {
            json.beginObject();
            json.member("name", slot->label != nullptr ? slot->label : "");
            json.member("type", slot->typeString());
            writeList(json, "from", feeders.of(*slot),
                      [&](const Node* feeder) { json.value(feeder->id.value_or(-1)); });
            json.endObject();
        });
        if (run.recorder.seriesOf(node) != nullptr) json.member("series", place++);
        json.endObject();
    }

    void writeQuietNode(JsonWriter& json, const Node& node) const {
        json.beginObject();
        json.member("node", node.id.value_or(-1));
        writeList(json, "causes", whySilent(engine, run.recorder, node), [&](const SilenceCause& cause) {
            json.beginObject();
            json.member("node", cause.node->id.value_or(-1));
            json.member("code", cause.code);
            json.member("text", std::string_view(cause.text));
            if (!cause.remedy.empty()) json.member("remedy", std::string_view(cause.remedy));
            json.endObject();
        });
        json.endObject();
    }

    void writeFinding(JsonWriter& json, const Finding& finding) const {
        auto place = placeOf(diagramName, finding);
        place.pop_back();
        json.beginObject();
        json.member("severity", severityName(finding.severity));
        json.member("code", std::string_view(finding.code));
        if (finding.nodeId) json.member("node", *finding.nodeId);
        json.member("place", std::string_view(place));
        json.member("text", std::string_view(finding.message));
        if (!finding.hint.empty()) json.member("hint", std::string_view(finding.hint));
        json.endObject();
    }

    void writeSeries(JsonWriter& json) const {
        std::size_t place = 0;
        writeList(json, "series", nodes, [&](const Node* node) {
            const auto* const series = run.recorder.seriesOf(*node);
            if (series == nullptr) return;
            json.beginObject();
            json.member("node", node->id.value_or(-1));
            json.member("type", valueTypeName(series->type()));
            json.member("count", static_cast<std::int64_t>(series->count()));
            json.member("chunk", std::string_view(chunkName(chunkOf[place++])));
            if (series->isDense()) json.member("dense", true);
            json.member("encoding", series->encodingName());
            const auto names = series->componentNames();
            json.member("components", static_cast<std::int64_t>(std::max<std::size_t>(names.size(), 1)));
            if (!names.empty())
                writeList(json, "names", names, [&](std::string_view name) { json.value(name); });
            json.endObject();
        });
    }

    const RecordedRun& run;
    const Kelvane& engine;
    PendingText& output;
    const std::string diagramName, recordingName;
    const std::vector<Finding> findings;
    std::vector<const Node*> nodes;
    /// What is written, and which of them each series is.
    std::vector<const ValueSeries*> chunks;
    std::vector<std::size_t> chunkOf;
};

}  // namespace

void writeReportPage(const RecordedRun& run, PendingText& output,
                     const std::function<void(std::size_t, std::size_t)>& progress) {
    ReportPage(run, output).write(progress);
}

}  // namespace kelvane
