#include <algorithm>
#include <chrono>
#include <limits>
#include <utility>

#include "KelvaneSDK/ElementArithmetic.h"
#include "KelvaneSDK/Kelvane/EngineOperation.h"
#include "KelvaneSDK/Kelvane/Evaluation.h"
#include "KelvaneSDK/Kelvane/Kelvane.h"

namespace KelvaneSDK {

namespace {

double wallClock() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

}  // namespace

void Kelvane::updateInputStreams(const KelvaneInput& input) {
    const double start = wallClock();
    double interval = std::numeric_limits<double>::max();
    if (input.timestamp <= previousTimestamp) {
        framesSkipped = 0;
    } else {
        interval = input.timestamp - previousTimestamp;
    }
    previousTimestamp = input.timestamp;

    if (interval < lastProcessTime) {
        lastProcessTime = 0;
        const bool isCounted = perform([&] {
            const auto skipped = checkedSum(framesSkipped, 1);
            if (!skipped) stopProgram("the count of skipped batches overflows 64 bits");
            framesSkipped = *skipped;
        });
        if (!isCounted) return;
        if (const auto receiver = updatesReceiver.lock())
            receiver->newVariableOutputUpdates({input.timestamp, {}});
        return;
    }

    evaluateInto(input, diagramOutput);
    lastProcessTime = wallClock() - start;
    if (diagramOutput.outputs.empty()) return;
    // Moved out, so that a receiver may give the engine its next batch while it still reads this result.
    KelvaneOutput output = std::move(diagramOutput);
    if (const auto receiver = updatesReceiver.lock()) receiver->newVariableOutputUpdates(output);
    diagramOutput = std::move(output);
}

KelvaneOutput Kelvane::evaluate(const KelvaneInput& input) {
    KelvaneOutput output;
    evaluateInto(input, output);
    return output;
}

void Kelvane::evaluateInto(const KelvaneInput& input, KelvaneOutput& output) {
    output.timestamp = input.timestamp;
    const bool isFilled = !failed && perform([&] {
        evaluateBatch(input.timestamp, [&](Evaluation& batch) { batch.feed(input.updates); });
        evaluation->collect(output.outputs);
    });
    if (isFilled) return;
    output.outputs.clear();
    evaluation.reset();
}

// The present evaluation of the diagram, compiled anew after changes.
Evaluation& Kelvane::plan() {
    if (evaluation && !evaluation->isOutOfDate()) return *evaluation;
    evaluation.reset();
    evaluation = std::make_unique<Evaluation>(nodes, state);
    for (auto& handle : handles) handle.place = evaluation->labelOf(handle.label).value_or(~std::uint32_t{0});
    return *evaluation;
}

template <class Feed>
void Kelvane::evaluateBatch(double timestamp, const Feed& feed) {
    state.budget.beginBatch();
    Evaluation& batch = plan();
    batch.begin(timestamp);
    feed(batch);
    batch.run();
}

// ---------------------------------------------------------------- by handles

std::uint32_t Kelvane::handleOn(std::string_view label) {
    const auto known = std::find_if(handles.begin(), handles.end(),
                                    [&](const auto& handle) { return handle.label == label; });
    if (known == handles.end()) {
        handlesSet.reserve(handles.size() + 1);
        handles.push_back({std::string(label), plan().labelOf(label).value_or(~std::uint32_t{0})});
        return static_cast<std::uint32_t>(handles.size() - 1);
    }
    return static_cast<std::uint32_t>(known - handles.begin());
}

std::optional<InputStreamHandle> Kelvane::inputStream(std::string_view label) {
    std::optional<InputStreamHandle> handle;
    perform([&] {
        for (const auto* stream : nodes.streams) {
            if (stream->label() == label) handle = InputStreamHandle(handleOn(label));
            if (handle) return;
        }
    });
    return handle;
}

std::optional<VariableOutputHandle> Kelvane::variableOutput(std::string_view label) {
    std::optional<VariableOutputHandle> handle;
    perform([&] {
        for (const auto* output : nodes.outputs) {
            if (output->label() == label) handle = VariableOutputHandle(handleOn(label));
            if (handle) return;
        }
    });
    return handle;
}

void Kelvane::set(InputStreamHandle streams, Value value) {
    // Of a diagram that was replaced.
    if (streams.index >= handles.size()) return;
    HandleEntry& handle = handles[streams.index];
    handle.value = std::move(value);
    if (!std::exchange(handle.isSet, true)) handlesSet.push_back(streams.index);
}

void Kelvane::evaluateSet(double timestamp) {
    const bool isEvaluated = !failed && perform([&] {
        evaluateBatch(timestamp, [&](Evaluation& batch) {
            for (const auto index : handlesSet) {
                const auto& handle = handles[index];
                if (handle.place != ~std::uint32_t{0}) batch.feed(handle.place, handle.value);
            }
        });
    });
    for (const auto index : handlesSet) handles[index].isSet = false;
    handlesSet.clear();
    if (!isEvaluated) evaluation.reset();
}

const Value* Kelvane::result(VariableOutputHandle outputs) const {
    if (!evaluation || outputs.index >= handles.size()) return nullptr;
    const auto label = handles[outputs.index].place;
    return label != ~std::uint32_t{0} ? evaluation->result(label) : nullptr;
}

}  // namespace KelvaneSDK
