#include <map>

#include "Commands.h"
#include "EngineOptions.h"
#include "Files.h"
#include "Interruption.h"
#include "Messages.h"
#include "NodeNames.h"
#include "Pictures/DiagramPicture.h"
#include "Pictures/ShortValue.h"
#include "ReadAhead.h"

namespace kelvane {

using namespace KelvaneSDK;

namespace {

/// What each node gave last.
class LatestValues final : public EvaluationObserver {
public:
    void streamUpdated(const StreamUpdate& update) override {
        if (update.isTaken) values.insert_or_assign(&update.stream, update.value);
    }
    void nodeRan(const NodeRun& run) override {
        if (run.emitted != nullptr) values.insert_or_assign(&run.node, *run.emitted);
    }
    void outputWritten(const Node& output, const Value* value) override {
        if (value != nullptr) values.insert_or_assign(&output, *value);
    }

    std::string textOf(const Node& node) const {
        const auto found = values.find(&node);
        return found == values.end() ? "–" : shortValue(found->second);
    }

private:
    std::map<const Node*, Value> values;
};

class Draw {
public:
    explicit Draw(const DrawOptions& chosen)
        : options(chosen), text(readWholeFile(chosen.diagram)), name(nameOf(chosen.diagram)) {}

    int run() {
        picture.theme = themeNamed(options.theme);
        const auto format = formatOf();
        const auto document = readUnchecked(name, text);
        picture.title = name.substr(name.find_last_of('/') + 1);
        for (const auto& wanted : options.highlighted)
            for (const auto id : nodesNamed(document.info, "--highlight " + wanted, wanted))
                picture.highlighted.insert(id);
        for (const auto& finding : checkDiagram(text))
            if (finding.nodeId)
                picture.notes.push_back({*finding.nodeId, finding.severity,
                                         printable(finding.message) +
                                             (finding.hint.empty() ? "" : "; " + printable(finding.hint))});
        bool isComplete = true;
        if (!options.values.empty()) isComplete = addValues();
        if (interruption() != 0) return 128 + interruption();
        std::vector<std::string> inputs{options.diagram};
        if (!options.values.empty()) inputs.push_back(options.values);
        ResultOutput output(options.output, inputs);
        output.text() = format == "dot"       ? dotPicture(document, picture)
                        : format == "mermaid" ? mermaidPicture(document, picture)
                                              : svgPicture(document, picture);
        output.finish();
        return isComplete ? ExitStatus::done : ExitStatus::failed;
    }

private:
    std::string formatOf() const {
        if (!options.format.empty()) return options.format;
        if (options.output.ends_with(".dot") || options.output.ends_with(".gv")) return "dot";
        if (options.output.ends_with(".mmd") || options.output.ends_with(".mermaid")) return "mermaid";
        return "svg";
    }

    // False when not all of the recording was evaluated.
    bool addValues() {
        LibraryMessages messages;
        const auto diagram = buildDiagram(name, text);
        auto& engine = *diagram.engine;
        RunOptions limits;
        limits.constants = options.constants;
        limits.initial = options.initial;
        applyOptions(engine, limits);
        auto initial = initialValues(engine, options.initial);
        LatestValues latest;
        engine.observe(&latest);
        ReadAhead recording(options.values, true, true);
        KelvaneOutput result;
        std::string failure;
        bool goesOn = true;
        while (const auto* piece = goesOn ? recording.next() : nullptr) {
            for (const auto& [place, message] : piece->messages) report(message);
            for (std::size_t i = 0; i < piece->count && goesOn; ++i) {
                const auto& batch = initial.appliedTo(piece->batches[i]);
                goesOn = !interrupted() && !(options.at && batch.timestamp > *options.at);
                if (!goesOn) break;
                engine.evaluateInto(batch, result);
                if (!engine.failure()) continue;
                failure = "kelvane: " + name + " stopped at timestamp " + getValueString(batch.timestamp) +
                          ": " + diagram.stopText(*engine.failure());
                goesOn = false;
            }
        }
        engine.observe(nullptr);
        if (goesOn) failure = recording.failure();
        for (const auto category : allNodeCategories) {
            for (const auto& node : engine.nodeList(category)) {
                if (!node->id) continue;
                const auto* const constant =
                    category == NodeCategory::Constant ? node->outputValue()->payload() : nullptr;
                picture.values[*node->id] =
                    constant != nullptr ? shortValue(*constant) : latest.textOf(*node);
            }
        }
        if (!failure.empty()) report(failure);
        return failure.empty() && !diagram.hasErrors;
    }

    const DrawOptions& options;
    const std::string text, name;
    PictureOptions picture;
};

}  // namespace

int draw(const DrawOptions& options) {
    if (options.at && options.values.empty())
        throw Failure{ExitStatus::wrongUsage,
                      "kelvane: --at is a time in the recording of --values RECORDING"};
    return Draw(options).run();
}

}  // namespace kelvane
