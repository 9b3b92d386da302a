#include "Replay.h"

#include <array>
#include <cstdio>

#include "Interruption.h"
#include "Messages.h"
#include "Progress.h"

namespace kelvane {

using namespace KelvaneSDK;

Amount& Amount::operator+=(const Amount& other) {
    batches += other.batches;
    updates += other.updates;
    outputValues += other.outputValues;
    return *this;
}

std::string Amount::text() const {
    return counted(batches, "batch") + ", " + counted(updates, "update") + ", " +
           counted(outputValues, "output value");
}

Replay::Replay(Kelvane& chosenEngine, const RunOptions& chosen, ReadAhead& input, PendingText* output,
               std::function<void(const std::string&)> messages)
    : engine(chosenEngine),
      options(chosen),
      recording(input),
      results(output),
      reportLine(std::move(messages)),
      initial(initialValues(chosenEngine, chosen.initial)) {
    if (!options.isQuiet) warnings.emplace(engine);
    if (RunObserver::isNeeded(options)) observer.emplace(engine, options);
}

void Replay::run(bool showsProgress) {
    Progress progress(
        recording.name(), "update", [this] { return recording.share(); }, showsProgress);
    while (!stopReason && !interrupted()) {
        const auto* const piece = recording.next();
        if (piece == nullptr) break;
        auto message = piece->messages.begin();
        for (std::size_t i = 0; i <= piece->count && !stopReason && !interrupted(); ++i) {
            for (; message != piece->messages.end() && message->first == i; ++message)
                reportLine(message->second);
            if (i < piece->count) evaluate(initial.appliedTo(piece->batches[i]));
            if (results != nullptr && results->text().size() > mostPending) results->flush();
        }
        if (results != nullptr) results->flush();
        progress.show(done.updates);
    }
}

void Replay::evaluate(const KelvaneInput& batch) {
    ++done.batches;
    done.updates += batch.updates.size();
    if (warnings) warnings->take(batch);
    engine.evaluateInto(batch, result);
    if (observer) observer->addTaps(result);
    if (warnings) warnings->take(result);
    if (engine.failure()) {
        stopReason = engine.failure();
    } else if (results != nullptr && !appendJsonLines(results->text(), result)) {
        stopReason = StopReason{"out of memory", {}};
    }
    done.outputValues += result.outputs.size();
}

void Replay::giveWarnings(const Diagram& diagram, const std::string& recordingPath,
                          const std::function<void(const std::string&)>& take) {
    if (observer) observer->finish(diagram);
    if (!warnings || stopReason || (done.updates == 0 && hasFailed)) return;
    warnings->take(recording.losses());
    const std::string why =
        "kelvane why " + diagram.name + " " + (recordingPath == "-" ? "RECORDING" : nameOf(recordingPath));
    warnings->give(take, why);
}

std::string Replay::failure(const Diagram& diagram, const std::string& recordingName) {
    if (!stopReason) {
        auto failure = recording.failure();
        hasFailed = !failure.empty();
        return failure;
    }
    return "kelvane: " + diagram.name + " stopped in batch " + std::to_string(done.batches) +
           (recordingName.empty() ? "" : " of " + recordingName) + " at timestamp " +
           getValueString(result.timestamp) + ": " + diagram.stopText(*stopReason);
}

void reportStatistics(const Amount& amount, std::chrono::steady_clock::time_point start) {
    const auto elapsed = std::chrono::steady_clock::now() - start;
    std::array<char, 32> seconds{};
    std::snprintf(seconds.data(), seconds.size(), "%.3f", std::chrono::duration<double>(elapsed).count());
    report("kelvane: " + amount.text() + ", " + seconds.data() + " seconds");
}

}  // namespace kelvane
