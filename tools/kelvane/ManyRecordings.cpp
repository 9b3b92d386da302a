#include "ManyRecordings.h"

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <exception>
#include <memory>
#include <mutex>
#include <new>
#include <optional>
#include <thread>
#include <utility>
#include <vector>

#include "Diagram.h"
#include "EngineOptions.h"
#include "Files.h"
#include "Interruption.h"
#include "Messages.h"
#include "ReadAhead.h"
#include "RecordingList.h"
#include "Replay.h"
#include "Turns.h"

namespace kelvane {

using namespace KelvaneSDK;

namespace {

std::vector<ListedRecording> recordingsOf(const RunOptions& options) {
    if (options.diagram == "-" &&
        std::count(options.recordings.begin(), options.recordings.end(), "@-") > 0) {
        throw Failure{ExitStatus::wrongUsage,
                      "kelvane: the diagram and the list cannot both be standard input"};
    }
    auto recordings = listRecordings(options.recordings);
    if (!options.outputFolder.empty()) chooseResultPaths(recordings, options.outputFolder, options.diagram);
    return recordings;
}

/// The files that are read, which a common output must not overwrite.
std::vector<std::string> inputPaths(const RunOptions& options,
                                    const std::vector<ListedRecording>& recordings) {
    std::vector<std::string> paths{options.diagram};
    for (const auto& recording : recordings) paths.push_back(recording.path);
    return paths;
}

bool isNewer(const struct stat& file, const std::optional<struct stat>& other) {
    return other && std::pair(file.st_mtim.tv_sec, file.st_mtim.tv_nsec) >
                        std::pair(other->st_mtim.tv_sec, other->st_mtim.tv_nsec);
}

class ManyRecordings {
public:
    explicit ManyRecordings(const RunOptions& chosen)
        : options(chosen),
          recordings(recordingsOf(options)),
          diagram(loadDiagram(options.diagram)),
          output(options.output, inputPaths(options, recordings)),
          jobs(std::min<std::size_t>(static_cast<std::size_t>(options.jobs.value_or(1)), recordings.size())),
          turns(aheadPerJob * jobs) {
        applyOptions(*diagram.engine, options);
    }

    int process() {
        evaluateAll();
        if (turns.failure()) throw Failure(*turns.failure());
        if (interruption() != 0) {
            output.endEarly();
            report("kelvane: interrupted; " + ofAll(finished) + " done");
            return 128 + interruption();
        }
        output.finish();
        if (failures > 0) report("kelvane: " + ofAll(failures) + " failed");
        if (options.withStatistics) reportStatistics(total, start);
        const bool hasErrors = failures > 0 || diagram.hasErrors || messages.hasErrors();
        return hasErrors ? ExitStatus::failed : ExitStatus::done;
    }

private:
    // Results that wait for their turn hold memory and files.
    static constexpr std::size_t aheadPerJob = 4;

    /// What one recording brings, in its turn.
    struct Texts {
        Texts(Turns& turns, std::size_t place, ResultOutput& output)
            : results(turns, place,
                      [&output](std::string& lines) {
                          output.text().swap(lines);
                          output.flush();
                      }),
              messages(turns, place, [](std::string& lines) { writeAll(STDERR_FILENO, lines); }) {}

        void report(const std::string& line) {
            messages.text() += line + "\n";
            messages.flush();
        }
        void flush() {
            results.flush();
            messages.flush();
        }

        TextInTurn results, messages;
    };

    void evaluateAll() {
        std::vector<std::thread> others;
        try {
            while (others.size() + 1 < jobs) others.emplace_back([this] { work(); });
        } catch (const std::exception&) {
            report("kelvane: only " + std::to_string(others.size() + 1) + " of " + std::to_string(jobs) +
                   " jobs could be started");
        }
        work();
        for (auto& other : others) other.join();
    }

    void work() {
        try {
            for (auto place = next++; place < recordings.size() && turns.awaitNear(place); place = next++)
                take(place);
        } catch (const std::bad_alloc&) {
            turns.fail({ExitStatus::failed, "kelvane: out of memory"});
        }
    }

    void take(std::size_t place) {
        const auto& recording = recordings[place];
        const auto name = nameOf(recording.path);
        const auto texts = std::make_shared<Texts>(turns, place, output);
        if (isUpToDate(recording)) {
            texts->report(name + ": skipped, " + nameOf(recording.resultPath) + " is newer");
            count({}, false);
        } else {
            Amount amount;
            bool hasErrors = true;
            try {
                hasErrors = !evaluate(recording, *texts, amount);
            } catch (const Failure& failure) {
                if (!failure.message.empty()) texts->report(failure.message);
            } catch (const std::bad_alloc&) {
                texts->report("kelvane: " + name + ": out of memory");
            }
            if (interrupted()) {
                texts->flush();
                return turns.close();
            }
            texts->report(name + ": " + amount.text() + (hasErrors ? "; failed" : ""));
            count(amount, hasErrors);
        }
        turns.end(place, [texts] { texts->flush(); });
    }

    bool isUpToDate(const ListedRecording& recording) const {
        if (!options.resumes) return false;
        const auto result = statusOf(recording.resultPath);
        return result && S_ISREG(result->st_mode) && isNewer(*result, statusOf(recording.path)) &&
               isNewer(*result, statusOf(options.diagram));
    }

    /// True when all went well.
    bool evaluate(const ListedRecording& listed, Texts& texts, Amount& amount) {
        const auto name = nameOf(listed.path);
        const auto reportLine = [&](const std::string& line) { texts.report(line); };
        const auto status = statusOf(listed.path);
        ReadAhead recording(listed.path, options.keepsGoing, false);
        std::optional<ResultOutput> file;
        if (!listed.resultPath.empty()) file.emplace(listed.resultPath);
        bool hasErrors = false;
        // A reset would not do: the slots of outputs keep their values.
        const auto engine = anotherEngine(diagram);
        applyOptions(*engine, options);
        PendingText* const results = file ? static_cast<PendingText*>(&*file) : &texts.results;
        Replay replay(*engine, options, recording, results, reportLine);
        engine->setDiagnosticSink([&](std::string_view line) {
            hasErrors |= isError(line);
            replay.takeLine(line);
            texts.report(name + ": " + printable(line));
        });
        replay.run();
        amount = replay.amount();
        if (interrupted()) return false;
        const auto failure = replay.failure(diagram, name);
        if (!failure.empty()) reportLine(failure);
        replay.giveWarnings(diagram, listed.path,
                            [&](const std::string& line) { reportLine(name + ": warning: " + line); });
        hasErrors |= !failure.empty();
        // What is not right is no newer than its recording, so that another run does it again.
        if (file) file->finish(hasErrors && status ? std::optional(status->st_mtim) : std::nullopt);
        return !hasErrors;
    }

    void count(const Amount& amount, bool hasErrors) {
        const std::lock_guard lock(countMutex);
        total += amount;
        ++finished;
        failures += hasErrors ? 1 : 0;
    }

    std::string ofAll(std::size_t number) const {
        return std::to_string(number) + " of " + counted(recordings.size(), "recording");
    }

    const std::chrono::steady_clock::time_point start = std::chrono::steady_clock::now();
    const RunOptions& options;
    const std::vector<ListedRecording> recordings;
    LibraryMessages messages;
    Diagram diagram;
    ResultOutput output;
    const std::size_t jobs;
    Turns turns;
    std::atomic<std::size_t> next = 0;
    std::mutex countMutex;
    Amount total;
    std::size_t finished = 0, failures = 0;
};

}  // namespace

bool isForManyRecordings(const RunOptions& options) {
    if (options.recordings.size() > 1 || options.jobs || !options.outputFolder.empty()) return true;
    if (options.recordings.empty()) return false;
    const auto& path = options.recordings.front();
    const auto status = path == "-" ? std::nullopt : statusOf(path);
    return path.starts_with('@') || (status && S_ISDIR(status->st_mode));
}

int runMany(const RunOptions& options) { return ManyRecordings(options).process(); }

}  // namespace kelvane
