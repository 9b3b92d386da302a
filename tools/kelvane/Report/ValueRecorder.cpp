#include "Report/ValueRecorder.h"

namespace kelvane {

using namespace KelvaneSDK;

ValueRecorder::ValueRecorder(Kelvane& observed) : RunTally(true), engine(observed) { engine.observe(this); }

ValueRecorder::~ValueRecorder() { engine.observe(nullptr); }

const ValueSeries* ValueRecorder::seriesOf(const Node& node) const {
    const auto found = series.find(&node);
    return found == series.end() ? nullptr : &found->second;
}

void ValueRecorder::batchBegan(double timestamp) {
    RunTally::batchBegan(timestamp);
    if (batches() == 2 && series.empty() && !firstUpdate) timestamps.clear();
    timestamps.push_back(timestamp);
}

void ValueRecorder::streamUpdated(const StreamUpdate& update) {
    RunTally::streamUpdated(update);
    if (!firstUpdate) firstUpdate = latestTime();
    add(update.stream, update.isTaken ? &update.value : nullptr);
}

void ValueRecorder::nodeRan(const NodeRun& run) {
    RunTally::nodeRan(run);
    add(run.node, run.emitted);
}

void ValueRecorder::outputWritten(const Node& output, const Value* value) {
    RunTally::outputWritten(output, value);
    add(output, value);
}

void ValueRecorder::add(const Node& node, const Value* value) {
    if (value != nullptr) series[&node].add(static_cast<std::uint32_t>(timestamps.size() - 1), *value);
}

}  // namespace kelvane
