#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <optional>

#include "Commands.h"
#include "Diagram.h"
#include "Files.h"
#include "Interruption.h"
#include "MemoryLimit.h"
#include "Messages.h"
#include "Recording.h"

namespace kelvane {

using namespace KelvaneSDK;

namespace {

[[noreturn]] void refuseOption(const std::string& option, const std::string& reason) {
    throw Failure{ExitStatus::wrongUsage, "kelvane: " + printable(option) + ": " + reason};
}

/// Where the label of "LABEL=TEXT" ends: a label may contain "=" itself.
std::size_t endOfLabel(std::string_view setting, const std::vector<std::string>& known) {
    for (auto end = setting.find('='); end != std::string_view::npos; end = setting.find('=', end + 1)) {
        if (std::find(known.begin(), known.end(), setting.substr(0, end)) != known.end()) return end;
    }
    return std::string_view::npos;
}

void setConstant(Kelvane& engine, const std::string& setting) {
    const std::string option = "--set " + setting;
    const auto known = labels(engine, NodeCategory::Constant);
    const auto end = endOfLabel(setting, known);
    if (end == std::string::npos) {
        const auto equals = setting.find('=');
        if (equals == std::string::npos) refuseOption(option, "LABEL=TEXT was expected");
        const auto label = setting.substr(0, equals);
        refuseOption(option,
                     withHint("no constant is called " + inQuotes(label), nearestNameHint(label, known)));
    }
    const auto label = setting.substr(0, end), text = setting.substr(end + 1);
    for (const auto& node : engine.nodeList(NodeCategory::Constant)) {
        if (node->label() != label) continue;
        const auto value = valueFromText(node->outputValue()->valueClass(), text);
        if (!value)
            refuseOption(option, inQuotes(text) + " does not read as " + std::string(node->typeString));
        engine.setConstant(label, *value);
    }
}

void hide(Kelvane& engine, const std::string& label) {
    auto known = labels(engine, NodeCategory::VariableOutput);
    const auto streams = labels(engine, NodeCategory::InputStream);
    known.insert(known.end(), streams.begin(), streams.end());
    if (std::find(known.begin(), known.end(), label) == known.end()) {
        refuseOption("--hide " + label,
                     withHint("no variable output or input stream is called " + inQuotes(label),
                              nearestNameHint(label, known)));
    }
    engine.setVariableOutputHidden(label, true);
    engine.setInputStreamForwarding(label, false);
}

void applyOptions(Kelvane& engine, const RunOptions& options) {
    for (const auto& setting : options.constants) setConstant(engine, setting);
    for (const auto& label : options.hidden) hide(engine, label);
    if (options.maxElements < 0) {
        refuseOption("--max-elements " + std::to_string(options.maxElements), "0 or more was expected");
    }
    if (std::isnan(options.maxBatchSeconds)) refuseOption("--max-batch-seconds", "a number was expected");
    engine.setLimits(
        {static_cast<std::size_t>(options.maxElements), options.maxBatchSeconds, &interrupted()});
    if (!options.withoutInputs) return;
    for (const auto& label : engine.getInputStreams()) engine.setInputStreamForwarding(label, false);
}

/// One recording on its way through one diagram.
class Run {
public:
    explicit Run(const RunOptions& options)
        : diagram(loadDiagram(options.diagram, messages)),
          recording(options.recording,
                    options.keepsGoing ? Recording::InvalidLine::isSkipped : Recording::InvalidLine::ends),
          output(options.output, std::array{options.diagram, options.recording}) {
        applyOptions(*diagram.engine, options);
    }

    int process() {
        evaluateAll();
        if (interruption() != 0) {
            output.endEarly();
            return 128 + interruption();
        }
        output.finish();
        if (stopReason) {
            report("kelvane: " + diagram.name + " stopped in batch " + std::to_string(batches) +
                   " at timestamp " + getValueString(result.timestamp) + ": " + printable(*stopReason));
            return ExitStatus::failed;
        }
        const auto failure = recording.failure();
        if (!failure.empty()) report(failure);
        const bool hasErrors = diagram.hasErrors || messages.hasErrors() || !failure.empty();
        return hasErrors ? ExitStatus::failed : ExitStatus::done;
    }

    void reportStatistics() const {
        const auto elapsed = std::chrono::steady_clock::now() - start;
        std::array<char, 32> seconds{};
        std::snprintf(seconds.data(), seconds.size(), "%.3f", std::chrono::duration<double>(elapsed).count());
        report("kelvane: " + std::to_string(batches) + " batches, " + std::to_string(updates) + " updates, " +
               std::to_string(outputValues) + " output values, " + seconds.data() + " seconds");
    }

private:
    // Results may be many times as long as the piece of the recording that they come from.
    static constexpr std::size_t mostPending = 1024 * 1024;

    void evaluateAll() {
        while (!stopReason && recording.readPiece()) {
            while (const auto* batch = recording.next()) {
                evaluate(*batch);
                if (output.text().size() > mostPending) output.flush();
                if (stopReason || interruption() != 0) break;
            }
            output.flush();
        }
    }

    void evaluate(const KelvaneInput& batch) {
        ++batches;
        updates += batch.updates.size();
        auto& engine = *diagram.engine;
        engine.evaluateInto(batch, result);
        if (engine.failure()) {
            stopReason = engine.failure()->text;
        } else if (!appendJsonLines(output.text(), result)) {
            stopReason = "out of memory";
        }
        outputValues += result.outputs.size();
    }

    std::chrono::steady_clock::time_point start = std::chrono::steady_clock::now();
    LibraryMessages messages;
    Diagram diagram;
    Recording recording;
    ResultOutput output;
    std::size_t batches = 0, updates = 0, outputValues = 0;
    KelvaneOutput result;
    std::optional<std::string> stopReason;
};

}  // namespace

int run(const RunOptions& options) {
    if (options.diagram == "-" && options.recording == "-") {
        throw Failure{ExitStatus::wrongUsage,
                      "kelvane: the diagram and the recording cannot both be standard input"};
    }
    if (!options.maxMemory.empty()) limitMemory(options.maxMemory);
    Run run(options);
    const int status = run.process();
    if (options.withStatistics) run.reportStatistics();
    return status;
}

}  // namespace kelvane
