#include <array>

#include "Commands.h"
#include "Diagram.h"
#include "EngineOptions.h"
#include "Files.h"
#include "Interruption.h"
#include "ManyRecordings.h"
#include "MemoryLimit.h"
#include "Messages.h"
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
    const auto diagram = loadDiagram(options.diagram, messages);
    ReadAhead recording(
        path, options.keepsGoing ? Recording::InvalidLine::isSkipped : Recording::InvalidLine::ends, true);
    ResultOutput output(options.output, std::array{options.diagram, path});
    applyOptions(*diagram.engine, options);
    Replay replay(*diagram.engine, recording, output, report);
    replay.run();
    int status = 128 + interruption();
    if (interruption() != 0) {
        output.endEarly();
    } else {
        output.finish();
        const auto failure = replay.failure(diagram);
        if (!failure.empty()) report(failure);
        const bool hasErrors = diagram.hasErrors || messages.hasErrors() || !failure.empty();
        status = hasErrors ? ExitStatus::failed : ExitStatus::done;
    }
    if (options.withStatistics) reportStatistics(replay.amount(), start);
    return status;
}

}  // namespace

int run(const RunOptions& options) {
    if (!options.maxMemory.empty()) limitMemory(options.maxMemory);
    return isForManyRecordings(options) ? runMany(options) : runOne(options);
}

}  // namespace kelvane
