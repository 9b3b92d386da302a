#pragma once

#include <memory>
#include <string>
#include <unordered_map>

#include "Commands.h"
#include "Files.h"
#include "KelvaneSDK/KelvaneSDK.h"
#include "NodeNames.h"

namespace kelvane {

/// What `run` is asked to see within an evaluation: values of any node, the time that nodes take, a trace of
/// every run.
class RunObserver final : public KelvaneSDK::RunTally {
public:
    /// Whether the options ask for any of it.
    static bool isNeeded(const RunOptions& options);

    /// Observes the engine while it lives. Refuses taps that the diagram does not have.
    RunObserver(KelvaneSDK::Kelvane& engine, const RunOptions& options);
    ~RunObserver() override;

    /// Adds the values of the tapped nodes to the results of the batch.
    void addTaps(KelvaneSDK::KelvaneOutput& result);
    /// After the run: the profile, and the end of the trace.
    void finish(const Diagram& diagram);

    void batchBegan(double timestamp) override;
    void streamUpdated(const StreamUpdate& update) override;
    void nodeRan(const NodeRun& run) override;
    void outputWritten(const KelvaneSDK::Node& output, const KelvaneSDK::Value* value) override;
    void batchEnded() override;

private:
    void note(const KelvaneSDK::Node& node, const KelvaneSDK::Value* value);
    void trace(std::string_view name, std::string_view category, Clock::time_point from, Clock::time_point to,
               const NodeRun* run);

    KelvaneSDK::Kelvane& engine;
    const RunOptions& options;
    struct Tap {
        std::string label;
        std::optional<KelvaneSDK::Value> value;
    };
    std::unordered_map<const KelvaneSDK::Node*, Tap> taps;
    std::unique_ptr<ResultOutput> traceFile;
    const Clock::time_point start = Clock::now();
    Clock::time_point batchStart;
    bool isFirstEvent = true;
};

}  // namespace kelvane
