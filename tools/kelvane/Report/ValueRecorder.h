#pragma once

#include <optional>
#include <unordered_map>
#include <vector>

#include "KelvaneSDK/KelvaneSDK.h"
#include "Report/ValueSeries.h"

namespace kelvane {

/// Keeps what every node gave in each batch of a run, and what became of it.
class ValueRecorder final : public KelvaneSDK::RunTally {
public:
    /// Observes the engine while it lives.
    explicit ValueRecorder(KelvaneSDK::Kelvane& engine);
    ~ValueRecorder() override;
    ValueRecorder(const ValueRecorder&) = delete;
    ValueRecorder& operator=(const ValueRecorder&) = delete;

    /// The batches' timestamps. Recordings have an empty batch at time 0 before what they begin with; it is
    /// left out where nothing happens in it, for it may be years before the others.
    const std::vector<double>& times() const { return timestamps; }
    /// When the first update came, or else the first batch's time.
    double begin() const { return firstUpdate.value_or(firstTime()); }
    /// Null for a node that gave nothing.
    const ValueSeries* seriesOf(const KelvaneSDK::Node& node) const;

    void batchBegan(double timestamp) override;
    void streamUpdated(const StreamUpdate& update) override;
    void nodeRan(const NodeRun& run) override;
    void outputWritten(const KelvaneSDK::Node& output, const KelvaneSDK::Value* value) override;

private:
    void add(const KelvaneSDK::Node& node, const KelvaneSDK::Value* value);

    KelvaneSDK::Kelvane& engine;
    std::vector<double> timestamps;
    std::optional<double> firstUpdate;
    std::unordered_map<const KelvaneSDK::Node*, ValueSeries> series;
};

}  // namespace kelvane
