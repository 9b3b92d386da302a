#include <unistd.h>

#include <array>
#include <optional>

#include "Commands.h"
#include "Diagram.h"
#include "EditedDocument.h"
#include "EngineOptions.h"
#include "Files.h"
#include "Interruption.h"
#include "ManyRecordings.h"
#include "MemoryLimit.h"
#include "Messages.h"
#include "Progress.h"
#include "ReadAhead.h"
#include "Replay.h"

namespace kelvane {

namespace {

int runOne(const RunOptions& options) {
    const auto start = std::chrono::steady_clock::now();
    const std::string path = options.recordings.empty() ? "-" : options.recordings.front();
    if (options.diagram == "-" && path == "-") {
        throw Failure{ExitStatus::wrongUsage,
                      "kelvane: the diagram and the recording cannot both be standard input"};
    }
    LibraryMessages messages;
    const auto diagram = loadDiagram(options.diagram);
    const bool isTyped = path == "-" && ::isatty(STDIN_FILENO) != 0;
    if (isTyped && !options.isQuiet)
        report("kelvane: the recording is read from the terminal; Ctrl-D ends it, an empty line a batch");
    ReadAhead recording(path, options.keepsGoing, true,
                        options.isLive || isTyped ? std::optional(options.liveWait) : std::nullopt);
    ResultOutput output(options.output, std::array{options.diagram, path});
    applyOptions(*diagram.engine, options);
    Replay replay(*diagram.engine, options, recording, &output, report);
    messages.passTo([&](std::string_view line) { replay.takeLine(line); });
    replay.run(!options.isQuiet && !isTerminal(options.output));
    int status = 128 + interruption();
    if (interruption() != 0) {
        output.endEarly();
    } else {
        output.finish();
        const auto failure = replay.failure(diagram);
        if (!failure.empty()) report(failure);
        const bool hasErrors = diagram.hasErrors || messages.hasErrors() || !failure.empty();
        status = hasErrors ? ExitStatus::failed : ExitStatus::done;
        replay.giveWarnings(diagram, path,
                            [](const std::string& line) { report("kelvane: warning: " + line); });
    }
    if (options.withStatistics) reportStatistics(replay.amount(), start);
    return status;
}

/// The text of the diagram with the constants of the run.
std::string tunedDiagram(const RunOptions& options) {
    if (options.save == "-" || options.save == options.output) {
        throw Failure{ExitStatus::wrongUsage,
                      "kelvane: --save " + printable(options.save) + ": the results are written there"};
    }
    if (options.diagram == "-") {
        throw Failure{ExitStatus::wrongUsage,
                      "kelvane: --save: the diagram is standard input; `kelvane set -` writes it"};
    }
    return editedDocument(nameOf(options.diagram), readWholeFile(options.diagram),
                          [&](DiagramEditor& editor) {
                              for (const auto& setting : options.constants) editor.set(setting);
                          });
}

/// What one recording is observed for would be written over by the next.
void refuseForMany(const RunOptions& options) {
    const auto* const option = options.withProfile        ? "--profile"
                               : !options.profile.empty() ? "--profile-json"
                               : !options.trace.empty()   ? "--trace"
                               : options.isLive           ? "--live"
                                                          : nullptr;
    if (option != nullptr) refuseOption(option, "only one recording, and no --jobs, was expected");
}

}  // namespace

int run(const RunOptions& options) {
    if (!options.maxMemory.empty()) limitMemory(options.maxMemory);
    const auto tuned = options.save.empty() ? std::string() : tunedDiagram(options);
    std::optional<ResultOutput> saved;
    if (!options.save.empty()) saved.emplace(options.save, options.recordings);
    const bool isForMany = isForManyRecordings(options);
    if (isForMany) refuseForMany(options);
    const int status = isForMany ? runMany(options) : runOne(options);
    if (saved && interruption() == 0) {
        saved->text() = tuned;
        saved->finish();
    }
    return status;
}

}  // namespace kelvane
