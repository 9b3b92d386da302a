#include "Replay.h"

#include <array>
#include <cstdio>

#include "Interruption.h"
#include "Messages.h"

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

void Replay::run() {
    while (!stopReason && !interrupted()) {
        const auto* const piece = recording.next();
        if (piece == nullptr) break;
        auto message = piece->messages.begin();
        for (std::size_t i = 0; i <= piece->count && !stopReason && !interrupted(); ++i) {
            for (; message != piece->messages.end() && message->first == i; ++message)
                reportSkipped(message->second);
            if (i < piece->count) evaluate(piece->batches[i]);
            if (results.text().size() > mostPending) results.flush();
        }
        results.flush();
    }
}

void Replay::evaluate(const KelvaneInput& batch) {
    ++done.batches;
    done.updates += batch.updates.size();
    engine.evaluateInto(batch, result);
    if (engine.failure()) {
        stopReason = engine.failure();
    } else if (!appendJsonLines(results.text(), result)) {
        stopReason = StopReason{"out of memory", {}};
    }
    done.outputValues += result.outputs.size();
}

std::string Replay::failure(const Diagram& diagram, const std::string& recordingName) {
    if (!stopReason) return recording.failure();
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
