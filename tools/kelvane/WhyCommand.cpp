#include <algorithm>
#include <map>

#include "Commands.h"
#include "EngineOptions.h"
#include "Interruption.h"
#include "Messages.h"
#include "NodeNames.h"
#include "NotNumbers.h"
#include "Replay.h"
#include "ValueOrigin.h"

namespace kelvane {

using namespace KelvaneSDK;

namespace {

/// One batch, node by node.
class BatchObserver final : public EvaluationObserver {
public:
    struct Event {
        bool ran = false;
        std::optional<Value> emitted;
        std::string silence;
    };

    void batchBegan(double timestamp) override {
        events.clear();
        time = timestamp;
    }
    void streamUpdated(const StreamUpdate& update) override {
        auto& event = events[&update.stream];
        event.ran = true;
        if (update.isTaken) event.emitted = update.value;
        if (!update.isTaken) event.silence = "the value was of another type";
    }
    void nodeRan(const NodeRun& run) override {
        auto& event = events[&run.node];
        event.ran = true;
        if (run.emitted != nullptr) event.emitted = *run.emitted;
        event.silence = run.silence;
    }
    void outputWritten(const Node& output, const Value* value) override {
        auto& event = events[&output];
        event.ran = true;
        if (value != nullptr) event.emitted = *value;
        if (value == nullptr) event.silence = "the value was of another type";
    }

    Event of(const Node& node) const {
        const auto found = events.find(&node);
        return found == events.end() ? Event{} : found->second;
    }
    double timestamp() const { return time; }

private:
    std::map<const Node*, Event> events;
    double time = 0;
};

/// A node that is silent, and why.
struct Silent {
    const Node* node;
    std::vector<SilenceCause> causes;
};

class Why {
public:
    explicit Why(const WhyOptions& chosen)
        : options(chosen), diagram(loadDiagram(options.diagram)), places(diagram) {
        RunOptions limits;
        limits.constants = options.constants;
        limits.initial = options.initial;
        applyOptions(*diagram.engine, limits);
    }

    int run() {
        std::vector<const Node*> asked;
        if (!options.node.empty()) asked = nodesNamed(*diagram.engine, options.node, options.node);
        std::string text;
        const std::string failure = options.at ? showBatch(asked, text) : explain(asked, text);
        if (interruption() != 0) return 128 + interruption();
        writeToStandardOutput(std::move(text));
        if (!failure.empty()) report(failure);
        return diagram.hasErrors || !failure.empty() ? ExitStatus::failed : ExitStatus::done;
    }

private:
    /// Calls evaluate(batch) for each until that is false; why not all were read, if so.
    template <class Evaluate>
    std::string forEachBatch(const Evaluate& evaluate) {
        ReadAhead recording(options.recording.empty() ? "-" : options.recording, true, true);
        auto initial = initialValues(*diagram.engine, options.initial);
        while (const auto* piece = recording.next()) {
            for (const auto& [place, message] : piece->messages) report(message);
            for (std::size_t i = 0; i < piece->count; ++i) {
                if (interrupted() || !evaluate(initial.appliedTo(piece->batches[i]))) return {};
            }
        }
        return recording.failure();
    }

    std::string stopText(const KelvaneInput& batch) const {
        return "kelvane: " + diagram.name + " stopped at timestamp " + getValueString(batch.timestamp) +
               ": " + diagram.stopText(*diagram.engine->failure());
    }

    std::string explain(const std::vector<const Node*>& asked, std::string& text) {
        auto& engine = *diagram.engine;
        RunTally tally;
        engine.observe(&tally);
        KelvaneOutput result;
        std::string stop;
        std::string failure = forEachBatch([&](const KelvaneInput& batch) {
            engine.evaluateInto(batch, result);
            if (engine.failure()) stop = stopText(batch);
            return stop.empty();
        });
        engine.observe(nullptr);
        if (!stop.empty()) failure = stop;
        std::vector<Silent> silent;
        for (const auto* node : asked.empty() ? quietNodes(engine, tally) : asked)
            silent.push_back({node, whySilent(engine, tally, *node)});
        const bool concernsNaN =
            asked.empty() || std::any_of(asked.begin(), asked.end(),
                                         [&](const auto* node) { return tally.of(*node).notNumbers > 0; });
        const auto notNumbers = concernsNaN ? beginningsOfNaN(engine, tally) : std::vector<const Node*>();
        text = options.asJson ? jsonOf(tally, silent, notNumbers)
                              : textOf(tally, silent, notNumbers, !asked.empty());
        return failure;
    }

    std::string linkText(const SilenceCause& cause) const {
        return places.nameOf(*cause.node) + ": " + printable(cause.text);
    }

    std::string textOf(const RunTally& tally, const std::vector<Silent>& silent,
                       const std::vector<const Node*>& notNumbers, bool isAsked) const {
        std::string text = counted(tally.batches(), "batch");
        if (tally.batches() > 0)
            text +=
                ", t = " + getValueString(tally.firstTime()) + " to " + getValueString(tally.latestTime());
        text += '\n';
        // What has one root is reported once.
        std::vector<std::vector<const Silent*>> groups;
        std::map<std::pair<const Node*, std::string_view>, std::size_t> groupOf;
        for (const auto& each : silent) {
            const auto& root = each.causes.back();
            const auto [place, isNew] = groupOf.try_emplace({root.node, root.code}, groups.size());
            if (isNew) groups.emplace_back();
            groups[place->second].push_back(&each);
        }
        std::stable_sort(groups.begin(), groups.end(),
                         [&](const auto& a, const auto& b) { return gravity(tally, a) > gravity(tally, b); });
        for (const auto& group : groups) {
            const auto& first = *group.front();
            const auto& own = tally.of(*first.node);
            text += "\n" + places.nameOf(*first.node) +
                    (own.emissions == 0 ? " gave nothing" : " gave " + counted(own.emissions, "value")) +
                    "\n";
            for (const auto& cause : first.causes) {
                const bool isNamed = cause.node == first.node;
                text += "    " + (isNamed ? printable(cause.text) : linkText(cause)) + "\n";
            }
            if (const auto& remedy = first.causes.back().remedy; !remedy.empty())
                text += "    what helps: " + printable(remedy) + "\n";
            if (group.size() > 1) text += "    the same holds back" + names(group) + "\n";
        }
        for (const auto* node : notNumbers) text += "\n" + notNumberText(places, tally, *node) + "\n";
        if (silent.empty() && notNumbers.empty() && !isAsked)
            text += "every function ran as often as its inputs let it, and every output gave values\n";
        return text;
    }

    // Outputs and nodes that gave nothing go before those that gave less.
    static std::size_t gravity(const RunTally& tally, const std::vector<const Silent*>& group) {
        std::size_t gravity = 0;
        for (const auto* each : group) {
            if (tally.of(*each->node).emissions > 0) continue;
            gravity =
                std::max<std::size_t>(gravity, each->node->category == NodeCategory::VariableOutput ? 2 : 1);
        }
        return gravity;
    }

    static std::string names(const std::vector<const Silent*>& group) {
        constexpr std::size_t mostShown = 6;
        std::string text;
        for (std::size_t i = 1; i < group.size() && i <= mostShown; ++i)
            text += (i > 1 ? ", " : " ") + printable(shortName(*group[i]->node));
        if (group.size() > mostShown + 1)
            text += " and " + std::to_string(group.size() - mostShown - 1) + " more";
        return text;
    }

    void writeNode(JsonWriter& json, const Node& node) const {
        json.member("id", node.id.value_or(-1));
        json.member("category", node.classString());
        json.member("type", node.typeString);
        json.member("label", node.descriptionString().value_or(""));
        if (const auto line = places.lineOf(node); line > 0)
            json.member("line", static_cast<std::int64_t>(line));
    }

    std::string jsonOf(const RunTally& tally, const std::vector<Silent>& silent,
                       const std::vector<const Node*>& notNumbers) const {
        std::string text;
        JsonWriter json(text, JsonWriter::Layout::pretty);
        json.beginObject();
        json.member("batches", static_cast<std::int64_t>(tally.batches()));
        json.key("nodes");
        json.beginArray();
        for (const auto& [node, causes] : silent) {
            json.beginObject();
            writeNode(json, *node);
            json.member("runs", static_cast<std::int64_t>(tally.of(*node).runs));
            json.member("emissions", static_cast<std::int64_t>(tally.of(*node).emissions));
            json.key("causes");
            json.beginArray();
            for (const auto& cause : causes) {
                json.beginObject();
                writeNode(json, *cause.node);
                json.member("code", cause.code);
                json.member("text", std::string_view(cause.text));
                if (!cause.remedy.empty()) json.member("remedy", std::string_view(cause.remedy));
                json.endObject();
            }
            json.endArray();
            json.endObject();
        }
        json.endArray();
        json.key("notNumbers");
        json.beginArray();
        for (const auto* node : notNumbers) {
            const auto& own = tally.of(*node);
            json.beginObject();
            writeNode(json, *node);
            json.member("count", static_cast<std::int64_t>(own.notNumbers));
            json.member("since", *own.firstNotNumber);
            json.member("beganHere", own.beganNotNumber);
            json.endObject();
        }
        json.endArray();
        json.endObject();
        return text + "\n";
    }

    // The last batch that is not after the time.
    std::string showBatch(std::vector<const Node*> asked, std::string& text) {
        auto& engine = *diagram.engine;
        BatchObserver observer;
        KelvaneOutput result;
        std::optional<KelvaneInput> waiting;
        std::string stop;
        std::size_t index = 0;
        const auto evaluateWaiting = [&] {
            if (!waiting) return;
            engine.evaluateInto(*waiting, result);
            ++index;
            if (engine.failure()) stop = stopText(*waiting);
        };
        engine.observe(&observer);
        std::string failure = forEachBatch([&](const KelvaneInput& batch) {
            if (batch.timestamp > *options.at && waiting) return false;
            evaluateWaiting();
            waiting = batch;
            return stop.empty();
        });
        if (stop.empty()) evaluateWaiting();
        engine.observe(nullptr);
        if (!stop.empty()) failure = stop;
        if (asked.empty()) {
            for (const auto category : allNodeCategories) {
                for (const auto& node : engine.nodeList(category)) asked.push_back(node.get());
            }
        }
        if (options.asJson) {
            text = jsonOf(observer, index, asked);
            return failure;
        }
        text = "batch " + std::to_string(index) + ", t = " + getValueString(observer.timestamp()) + "\n";
        for (const auto* node : asked) {
            const auto event = observer.of(*node);
            text += places.nameOf(*node) + ": " + eventText(*node, event) + "\n";
            for (const auto* slot : node->inputValues()) text += "    " + inputText(*slot) + "\n";
        }
        return failure;
    }

    std::string jsonOf(const BatchObserver& observer, std::size_t index,
                       const std::vector<const Node*>& nodes) const {
        std::string text;
        JsonWriter json(text, JsonWriter::Layout::pretty);
        json.beginObject();
        json.member("batch", static_cast<std::int64_t>(index));
        json.member("timestamp", observer.timestamp());
        json.key("nodes");
        json.beginArray();
        for (const auto* node : nodes) {
            const auto event = observer.of(*node);
            json.beginObject();
            writeNode(json, *node);
            json.member("ran", event.ran);
            if (event.emitted) json.member("value", std::string_view(getValueString(*event.emitted)));
            if (!event.silence.empty()) json.member("silence", std::string_view(event.silence));
            json.key("inputs");
            json.beginArray();
            for (const auto* slot : node->inputValues()) {
                json.beginObject();
                json.member("input", slot->label != nullptr ? slot->label : "");
                if (const auto* const held = slot->payload()) {
                    json.member("value", std::string_view(getValueString(*held)));
                    json.member("timestamp", slot->timestamp());
                }
                json.member("waits", slot->updated());
                json.endObject();
            }
            json.endArray();
            json.endObject();
        }
        json.endArray();
        json.endObject();
        return text + "\n";
    }

    static std::string eventText(const Node& node, const BatchObserver::Event& event) {
        if (node.category == NodeCategory::Constant) {
            const auto* const value = node.outputValue()->payload();
            return value == nullptr ? "no value" : printable(getValueString(*value));
        }
        if (event.emitted) return "gave " + printable(getValueString(*event.emitted));
        if (!event.ran) return node.category == NodeCategory::InputStream ? "no update" : "did not run";
        return "ran and gave nothing" + (event.silence.empty() ? "" : ": " + event.silence);
    }

    const WhyOptions& options;
    LibraryMessages messages;
    Diagram diagram;
    const NodePlaces places;
};

}  // namespace

int why(const WhyOptions& options) { return Why(options).run(); }

}  // namespace kelvane
