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

// The present evaluation of the diagram, compiled anew after changes.
inline Evaluation& Kelvane::plan() {
    return evaluation && !evaluation->isOutOfDate() ? *evaluation : compile();
}

Evaluation& Kelvane::compile() {
    evaluation.reset();
    evaluation = std::make_unique<Evaluation>(nodes, state);
    for (std::size_t i = 0; i < handles.size(); ++i) handles[i].place = evaluation->labelOf(handleLabels[i]);
    return *evaluation;
}

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
        state.budget.beginBatch();
        plan().evaluate(input.timestamp, input.updates, output.outputs);
    });
    if (isFilled) return;
    output.outputs.clear();
    evaluation.reset();
}

// ---------------------------------------------------------------- by handles

std::uint32_t Kelvane::handleOn(std::string_view label) {
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

void Kelvane::set(InputStreamHandle streams, const Value& value) {
    // Of a diagram that was replaced.
    if (streams.index >= handles.size()) return;
    HandleEntry& handle = handles[streams.index];
    handle.value = value;
    if (std::exchange(handle.setFor, handleRound) != handleRound)
        handlesSet[handlesSetCount++] = streams.index;
}

void Kelvane::evaluateSet(double timestamp) {
    const bool isEvaluated = !failed && perform([&] {
        state.budget.beginBatch();
        plan().evaluate(timestamp, handles, {handlesSet.data(), handlesSetCount});
    });
    handlesSetCount = 0;
    ++handleRound;
    if (!isEvaluated) evaluation.reset();
}

const Value* Kelvane::result(VariableOutputHandle outputs) const {
    if (!evaluation || outputs.index >= handles.size()) return nullptr;
    return evaluation->result(handles[outputs.index].place);
}

}  // namespace KelvaneSDK
