#include <array>

#include "Browser.h"
#include "Commands.h"
#include "Diagram.h"
#include "EngineOptions.h"
#include "Files.h"
#include "Interruption.h"
#include "MemoryLimit.h"
#include "Messages.h"
#include "Progress.h"
#include "ReadAhead.h"
#include "Replay.h"
#include "Report/ReportPage.h"
#include "Report/ValueRecorder.h"

namespace kelvane {

int makeReport(const ReportOptions& options) {
    const auto& run = options.run;
    if (run.diagram == "-" && options.recording == "-") {
        throw Failure{ExitStatus::wrongUsage,
                      "kelvane: the diagram and the recording cannot both be standard input"};
    }
    if (options.opens && run.output == "-")
        refuseOption("--open", "the report goes to standard output; -o FILE was expected");
    limitMemory(run.maxMemory);
    LibraryMessages messages;
    const auto diagram = loadDiagram(run.diagram);
    ReadAhead recording(options.recording, run.keepsGoing, true);
    ResultOutput output(run.output, std::array{run.diagram, options.recording});
    applyOptions(*diagram.engine, run);
    const ValueRecorder recorder(*diagram.engine);
    Replay replay(*diagram.engine, run, recording, nullptr, report);
    messages.passTo([&](std::string_view line) { replay.takeLine(line); });
    replay.run(!options.isQuiet && !isTerminal(run.output));
    if (interruption() != 0) return 128 + interruption();
    const auto failure = replay.failure(diagram);
    if (!failure.empty()) report(failure);
    RecordedRun recorded{diagram, recorder, nameOf(options.recording), failure, {}, !run.constants.empty()};
    replay.giveWarnings(diagram, options.recording, [&](const std::string& line) {
        if (!options.isQuiet) report("kelvane: warning: " + line);
        recorded.warnings.push_back(line);
    });
    double written = 0;
    Progress progress(
        "writing " + nameOf(run.output), "node", [&] { return written; },
        !options.isQuiet && !isTerminal(run.output));
    writeReportPage(recorded, output, [&](std::size_t done, std::size_t all) {
        written = static_cast<double>(done) / static_cast<double>(all);
        progress.show(done);
    });
    output.finish();
    if (options.opens) endMemoryLimit();
    if (options.opens && !openInBrowser(run.output)) {
        report("kelvane: --open: no browser could be started; open " + nameOf(run.output) +
               " in one, or name one in the environment's BROWSER");
    }
    const bool hasErrors = diagram.hasErrors || messages.hasErrors() || !failure.empty();
    return hasErrors ? ExitStatus::failed : ExitStatus::done;
}

}  // namespace kelvane
