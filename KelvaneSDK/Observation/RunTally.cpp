#include "KelvaneSDK/Observation/RunTally.h"

#include <algorithm>
#include <cmath>

namespace KelvaneSDK {

namespace {

bool isNaN(double number) { return std::isnan(number); }
bool isNaN(const Vector& vector) { return isNaN(vector.x) || isNaN(vector.y) || isNaN(vector.z); }
bool isNaN(const Orientation& rotation) {
    return isNaN(rotation.x) || isNaN(rotation.y) || isNaN(rotation.z) || isNaN(rotation.w);
}
bool isNaN(const Sample& sample) { return isNaN(sample.t) || isNaN(sample.f); }

template <class Item>
bool anyNaN(const Value& value) {
    const auto items = value.items<Item>();
    return std::any_of(items.begin(), items.end(), [](const auto& item) { return isNaN(item); });
}

bool anyInputHoldsNaN(const Node& node) {
    const auto inputs = node.inputValues();
    return std::any_of(inputs.begin(), inputs.end(), [](const auto* slot) {
        const Value* const held = slot->payload();
        return held != nullptr && holdsNaN(*held);
    });
}

}  // namespace

bool holdsNaN(const Value& value) {
    switch (value.type()) {
        case ValueType::Float:
            return isNaN(value.unchecked<double>());
        case ValueType::Vector:
            return isNaN(value.unchecked<Vector>());
        case ValueType::Orientation:
            return isNaN(value.unchecked<Orientation>());
        case ValueType::Sequence:
            return anyNaN<Sample>(value);
        case ValueType::FloatArray:
            return anyNaN<double>(value);
        case ValueType::VectorArray:
            return anyNaN<Vector>(value);
        case ValueType::OrientationArray:
            return anyNaN<Orientation>(value);
        case ValueType::SequenceArray: {
            const auto sequences = value.items<Sequence>();
            return std::any_of(sequences.begin(), sequences.end(),
                               [](const auto& sequence) { return holdsNaN(Value(sequence)); });
        }
        default:
            return false;
    }
}

Feeders::Feeders(const Kelvane& engine) {
    for (const auto category : allNodeCategories) {
        for (const auto& node : engine.nodeList(category)) {
            for (const auto* slot : node->connectedInputValues()) nodes[slot].push_back(node.get());
        }
    }
}

std::span<const Node* const> Feeders::of(const TimestampedVariable& input) const {
    const auto found = nodes.find(&input);
    return found == nodes.end() ? std::span<const Node* const>() : found->second;
}

const NodeTally& RunTally::of(const Node& node) const {
    static const NodeTally none;
    const auto found = tallies.find(&node);
    return found == tallies.end() ? none : found->second;
}

void RunTally::batchBegan(double timestamp) {
    now = timestamp;
    if (batchCount++ == 0) begin = timestamp;
}

void RunTally::streamUpdated(const StreamUpdate& update) {
    auto& tally = tallies[&update.stream];
    if (update.isTaken) {
        tally.fedBack += update.isFedBack ? 1 : 0;
        noteEmission(tally, update.stream, update.value);
    } else {
        if (tally.refused++ == 0) tally.firstRefused = now;
        tally.refusedType = update.value.type();
    }
}

void RunTally::nodeRan(const NodeRun& run) {
    auto& tally = tallies[&run.node];
    ++tally.runs;
    tally.time += run.end - run.begin;
    if (run.emitted != nullptr) return noteEmission(tally, run.node, *run.emitted);
    if (!tally.silentSince) tally.silentSince = now;
    const auto known = std::find_if(tally.silences.begin(), tally.silences.end(),
                                    [&](const auto& silence) { return silence.reason == run.silence; });
    auto& silence = known == tally.silences.end()
                        ? tally.silences.emplace_back(NodeTally::Silence{run.silence, 0, now})
                        : *known;
    ++silence.count;
    silence.last = now;
}

void RunTally::outputWritten(const Node& output, const Value* value) {
    auto& tally = tallies[&output];
    ++tally.runs;
    if (value != nullptr) return noteEmission(tally, output, *value);
    if (tally.refused++ == 0) tally.firstRefused = now;
    if (const Value* const brought = output.inputValues().front()->payload())
        tally.refusedType = brought->type();
}

void RunTally::noteEmission(NodeTally& tally, const Node& node, const Value& value) const {
    if (tally.emissions++ == 0) tally.firstEmission = now;
    tally.lastEmission = now;
    tally.silentSince.reset();
    if (const auto boolean = value.get<bool>()) tally.trues += *boolean ? 1 : 0;
    if (!holdsNaN(value)) return;
    if (tally.notNumbers++ > 0) return;
    tally.firstNotNumber = now;
    tally.beganNotNumber = !anyInputHoldsNaN(node);
}

}  // namespace KelvaneSDK
