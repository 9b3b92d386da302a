#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>

#include "Diagram.h"
#include "EngineOptions.h"
#include "Files.h"
#include "ReadAhead.h"
#include "RunObserver.h"
#include "RunWarnings.h"

namespace kelvane {

/// How much was done.
struct Amount {
    std::size_t batches = 0, updates = 0, outputValues = 0;

    Amount& operator+=(const Amount& other);
    /// "3 batches, 2 updates, 4 output values"
    std::string text() const;
};

/// One recording on its way through one engine. The results are flushed whenever the recording has no more at
/// once.
class Replay {
public:
    /// `output` takes the results where they are wanted, `messages` the reports of skipped lines.
    Replay(KelvaneSDK::Kelvane& chosenEngine, const RunOptions& options, ReadAhead& input,
           PendingText* output, std::function<void(const std::string&)> messages);

    /// Takes what the library prints meanwhile.
    void takeLine(std::string_view line) {
        if (warnings) warnings->take(line);
    }
    /// Evaluates until the recording ends, the diagram stops or all is interrupted; says on a terminal how
    /// far it is where it `showsProgress`.
    void run(bool showsProgress = false);
    /// Why not all was evaluated, or which lines were skipped; empty when nothing went wrong. `diagram` and
    /// `recordingName` are for a diagram that stopped; the latter may be empty.
    std::string failure(const Diagram& diagram, const std::string& recordingName = {});
    const Amount& amount() const { return done; }
    /// After failure(): what the options asked to see is written, and `take` gets what stayed silent or was
    /// lost, unless the options keep it back.
    void giveWarnings(const Diagram& diagram, const std::string& recordingPath,
                      const std::function<void(const std::string&)>& take);

private:
    // Results may be many times as long as the piece of the recording that they come from.
    static constexpr std::size_t mostPending = 1024 * 1024;

    void evaluate(const KelvaneSDK::KelvaneInput& batch);

    KelvaneSDK::Kelvane& engine;
    const RunOptions& options;
    ReadAhead& recording;
    PendingText* results;
    std::function<void(const std::string&)> reportLine;
    std::optional<RunWarnings> warnings;
    std::optional<RunObserver> observer;
    InitialValues initial;
    Amount done;
    KelvaneSDK::KelvaneOutput result;
    std::optional<KelvaneSDK::StopReason> stopReason;
    bool hasFailed = false;
};

/// Reports an amount and the time that it took.
void reportStatistics(const Amount& amount, std::chrono::steady_clock::time_point start);

}  // namespace kelvane
