#include <algorithm>
#include <chrono>
#include <limits>
#include <utility>

#include "KelvaneSDK/Functions/ElementArithmetic.h"
#include "KelvaneSDK/Kelvane/EngineState.h"
#include "KelvaneSDK/Kelvane/Evaluation.h"

namespace KelvaneSDK {

namespace {

double wallClock() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

}  // namespace

// The present evaluation of the diagram, compiled anew after changes.
inline Evaluation& EngineState::plan() {
    return evaluation && !evaluation->isOutOfDate() ? *evaluation : compile();
}

Evaluation& EngineState::compile() {
    evaluation.reset();
    evaluation = std::make_unique<Evaluation>(nodes, state);
    for (std::size_t i = 0; i < handles.size(); ++i) handles[i].place = evaluation->labelOf(handleLabels[i]);
    return *evaluation;
}

void Kelvane::updateInputStreams(const KelvaneInput& input) {
    const double start = wallClock();
    double interval = std::numeric_limits<double>::max();
    if (input.timestamp <= engine->previousTimestamp) {
        engine->framesSkipped = 0;
    } else {
        interval = input.timestamp - engine->previousTimestamp;
    }
    engine->previousTimestamp = input.timestamp;

    if (interval < engine->lastProcessTime) {
        engine->lastProcessTime = 0;
        const bool isCounted = engine->perform([&] {
            const auto skipped = checkedSum(engine->framesSkipped, 1);
            if (!skipped) stopProgram("the count of skipped batches overflows 64 bits");
            engine->framesSkipped = *skipped;
        });
        if (!isCounted) return;
        if (const auto receiver = engine->updatesReceiver.lock())
            receiver->newVariableOutputUpdates({input.timestamp, {}});
        return;
    }

    evaluateInto(input, engine->diagramOutput);
    engine->lastProcessTime = wallClock() - start;
    if (engine->diagramOutput.outputs.empty()) return;
    // Moved out, so that a receiver may give the engine its next batch while it still reads this result.
    KelvaneOutput output = std::move(engine->diagramOutput);
    if (const auto receiver = engine->updatesReceiver.lock()) receiver->newVariableOutputUpdates(output);
    engine->diagramOutput = std::move(output);
}

KelvaneOutput Kelvane::evaluate(const KelvaneInput& input) {
    KelvaneOutput output;
    evaluateInto(input, output);
    return output;
}

void Kelvane::evaluateInto(const KelvaneInput& input, KelvaneOutput& output) {
    EngineState& own = *engine;
    output.timestamp = input.timestamp;
    const bool isFilled = !own.failed && own.perform([&] {
        own.state.budget.beginBatch();
        own.plan().evaluate(input.timestamp, input.updates, output.outputs);
    });
    if (isFilled) return;
    output.outputs.clear();
    own.evaluation.reset();
}

// A handle on the label, if one of the nodes bears it.
template <class NodeType>
std::optional<std::uint32_t> EngineState::handleOn(std::string_view label,
                                                   const std::vector<NodeType*>& bearers) {
    std::optional<std::uint32_t> index;
    perform([&] {
        const bool isBorne = std::any_of(bearers.begin(), bearers.end(),
                                         [&](const auto* node) { return node->label() == label; });
        if (isBorne) index = handleOn(label);
    });
    return index;
}

std::uint32_t EngineState::handleOn(std::string_view label) {
    const auto known = std::find(handleLabels.begin(), handleLabels.end(), label);
    const auto index = static_cast<std::uint32_t>(known - handleLabels.begin());
    if (index < handles.size()) return index;
    const auto place = plan().labelOf(label);
    handlesSet.resize(index + 1);
    handles.reserve(index + 1);
    handleLabels.emplace_back(label);
    handles.emplace_back().place = place;
    return index;
}

std::optional<InputStreamHandle> Kelvane::inputStream(std::string_view label) {
    const auto index = engine->handleOn(label, engine->nodes.streams);
    return index ? std::optional(InputStreamHandle(*index)) : std::nullopt;
}

std::optional<VariableOutputHandle> Kelvane::variableOutput(std::string_view label) {
    const auto index = engine->handleOn(label, engine->nodes.outputs);
    return index ? std::optional(VariableOutputHandle(*index)) : std::nullopt;
}

void Kelvane::set(InputStreamHandle streams, const Value& value) {
    EngineState& own = *engine;
    // Of a diagram that was replaced.
    if (streams.index >= own.handles.size()) return;
    HandleEntry& handle = own.handles[streams.index];
    handle.value = value;
    if (std::exchange(handle.setFor, own.handleRound) != own.handleRound)
        own.handlesSet[own.handlesSetCount++] = streams.index;
}

void Kelvane::evaluateSet(double timestamp) {
    EngineState& own = *engine;
    const bool isEvaluated = !own.failed && own.perform([&] {
        own.state.budget.beginBatch();
        own.plan().evaluate(timestamp, own.handles, {own.handlesSet.data(), own.handlesSetCount});
    });
    own.handlesSetCount = 0;
    ++own.handleRound;
    if (!isEvaluated) own.evaluation.reset();
}

const Value* Kelvane::result(VariableOutputHandle outputs) const {
    EngineState& own = *engine;
    if (!own.evaluation || outputs.index >= own.handles.size()) return nullptr;
    return own.evaluation->result(own.handles[outputs.index].place);
}

}  // namespace KelvaneSDK
