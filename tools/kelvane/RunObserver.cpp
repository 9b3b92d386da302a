#include "RunObserver.h"

#include <algorithm>
#include <cstdio>

#include "Messages.h"
#include "Table.h"

namespace kelvane {

using namespace KelvaneSDK;

namespace {

double microseconds(EvaluationObserver::Clock::duration duration) {
    return std::chrono::duration<double, std::micro>(duration).count();
}

std::string fixed(double number, int digits) {
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%.*f", digits, number);
    return text.data();
}

struct ProfileRow {
    std::string name;
    std::uint64_t nodes = 1, runs = 0, emissions = 0;
    double time = 0;
};

void writeRows(JsonWriter& json, std::string_view key, const std::vector<ProfileRow>& rows, double total) {
    json.key(key);
    json.beginArray();
    for (const auto& row : rows) {
        json.beginObject();
        json.member("name", std::string_view(row.name));
        json.member("nodes", static_cast<std::int64_t>(row.nodes));
        json.member("runs", static_cast<std::int64_t>(row.runs));
        json.member("emissions", static_cast<std::int64_t>(row.emissions));
        json.member("microseconds", row.time);
        json.member("share", total > 0 ? row.time / total : 0.0);
        json.endObject();
    }
    json.endArray();
}

void appendRows(std::string& text, std::string_view title, const std::vector<ProfileRow>& rows,
                double total) {
    constexpr std::size_t mostShown = 30;
    Table table({{title},
                 {"nodes", true},
                 {"runs", true},
                 {"emitted", true},
                 {"µs", true},
                 {"ns/run", true},
                 {"share", true}});
    for (std::size_t i = 0; i < rows.size() && i < mostShown; ++i) {
        const auto& row = rows[i];
        table.add({row.name, std::to_string(row.nodes), std::to_string(row.runs),
                   std::to_string(row.emissions), fixed(row.time, 0),
                   fixed(row.runs > 0 ? row.time * 1000 / static_cast<double>(row.runs) : 0, 0),
                   fixed(total > 0 ? 100 * row.time / total : 0, 1) + " %"});
    }
    text += table.text();
    if (rows.size() > mostShown) text += "and " + std::to_string(rows.size() - mostShown) + " more\n";
}

}  // namespace

bool RunObserver::isNeeded(const RunOptions& options) {
    return !options.taps.empty() || options.withProfile || !options.profile.empty() || !options.trace.empty();
}

RunObserver::RunObserver(Kelvane& observed, const RunOptions& chosen)
    : RunTally(chosen.withProfile || !chosen.profile.empty() || !chosen.trace.empty()),
      engine(observed),
      options(chosen) {
    for (const auto& name : options.taps) {
        const auto nodes = nodesNamed(engine, "--tap " + name, name);
        if (nodes.size() > 1) {
            std::string ids;
            for (const auto* node : nodes)
                ids += (ids.empty() ? "#" : ", #") + std::to_string(node->id.value_or(0));
            refuseOption("--tap " + name, "several nodes are called so; choose one of " + ids);
        }
        taps[nodes.front()].label = name;
    }
    if (!options.trace.empty()) {
        traceFile = std::make_unique<ResultOutput>(options.trace);
        traceFile->text() = "{\"traceEvents\":[";
    }
    engine.observe(this);
}

RunObserver::~RunObserver() { engine.observe(nullptr); }

void RunObserver::batchBegan(double timestamp) {
    RunTally::batchBegan(timestamp);
    for (auto& [node, tap] : taps) tap.value.reset();
    if (traceFile) batchStart = Clock::now();
}

void RunObserver::note(const Node& node, const Value* value) {
    if (taps.empty() || value == nullptr) return;
    if (const auto tap = taps.find(&node); tap != taps.end()) tap->second.value = *value;
}

void RunObserver::streamUpdated(const StreamUpdate& update) {
    RunTally::streamUpdated(update);
    if (update.isTaken) note(update.stream, &update.value);
}

void RunObserver::nodeRan(const NodeRun& run) {
    RunTally::nodeRan(run);
    note(run.node, run.emitted);
    if (traceFile) trace(shortName(run.node), run.node.typeString, run.begin, run.end, &run);
}

void RunObserver::outputWritten(const Node& output, const Value* value) {
    RunTally::outputWritten(output, value);
    note(output, value);
}

void RunObserver::batchEnded() {
    if (traceFile) trace("batch", "batch", batchStart, Clock::now(), nullptr);
}

void RunObserver::trace(std::string_view name, std::string_view category, Clock::time_point from,
                        Clock::time_point to, const NodeRun* run) {
    constexpr std::size_t mostPending = std::size_t{1} << 20;
    auto& text = traceFile->text();
    text += isFirstEvent ? "\n" : ",\n";
    isFirstEvent = false;
    JsonWriter json(text, JsonWriter::Layout::compact);
    json.beginObject();
    json.member("name", name);
    json.member("cat", category);
    json.member("ph", std::string_view("X"));
    json.member("ts", microseconds(from - start));
    json.member("dur", microseconds(to - from));
    json.member("pid", std::int64_t{1});
    json.member("tid", std::int64_t{1});
    json.key("args");
    json.beginObject();
    json.member("t", latestTime());
    if (run != nullptr) {
        json.member("id", run->node.id.value_or(-1));
        json.member("emitted", run->emitted != nullptr);
        if (!run->silence.empty()) json.member("silence", run->silence);
    }
    json.endObject();
    json.endObject();
    if (text.size() > mostPending) traceFile->flush();
}

void RunObserver::addTaps(KelvaneOutput& result) {
    for (const auto& [node, tap] : taps) {
        if (tap.value) result.outputs.insert_or_assign(tap.label, *tap.value);
    }
}

void RunObserver::finish(const Diagram& diagram) {
    if (traceFile) {
        traceFile->text() += "\n]}\n";
        traceFile->finish();
    }
    if (!options.withProfile && options.profile.empty()) return;
    const NodePlaces places(diagram);
    std::vector<ProfileRow> nodes, functions;
    double total = 0;
    for (const auto& node : engine.nodeList(NodeCategory::Function)) {
        const auto& tally = of(*node);
        nodes.push_back({places.nameOf(*node), 1, tally.runs, tally.emissions, microseconds(tally.time)});
        total += nodes.back().time;
        const auto same = std::find_if(functions.begin(), functions.end(),
                                       [&](const auto& row) { return row.name == node->typeString; });
        auto& row = same == functions.end()
                        ? functions.emplace_back(ProfileRow{std::string(node->typeString), 0})
                        : *same;
        ++row.nodes;
        row.runs += tally.runs;
        row.emissions += tally.emissions;
        row.time += nodes.back().time;
    }
    const auto byTime = [](const auto& a, const auto& b) { return a.time > b.time; };
    std::stable_sort(nodes.begin(), nodes.end(), byTime);
    std::stable_sort(functions.begin(), functions.end(), byTime);
    if (!options.profile.empty()) {
        ResultOutput file(options.profile);
        JsonWriter json(file.text(), JsonWriter::Layout::pretty);
        json.beginObject();
        json.member("batches", static_cast<std::int64_t>(batches()));
        json.member("microseconds", total);
        writeRows(json, "functions", functions, total);
        writeRows(json, "nodes", nodes, total);
        json.endObject();
        file.text() += '\n';
        file.finish();
    }
    if (!options.withProfile) return;
    std::string text;
    appendRows(text, "function", functions, total);
    text += '\n';
    appendRows(text, "node", nodes, total);
    text += counted(batches(), "batch") + ", " + fixed(total / 1000, 1) +
            " ms in functions, as measured while observed";
    report(text);
}

}  // namespace kelvane
