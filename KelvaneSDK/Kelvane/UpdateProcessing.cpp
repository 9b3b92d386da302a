#include <chrono>
#include <limits>
#include <utility>

#include "KelvaneSDK/Kelvane/Kelvane.h"

#include "KelvaneSDK/Diagnostics.h"
#include "KelvaneSDK/ElementArithmetic.h"
#include "KelvaneSDK/MemoryGuard.h"

namespace KelvaneSDK {

namespace {

double wallClock() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

bool isReady(const Node& node) {
    for (const auto* slot : node.inputValues()) {
        if (!slot->checked && !slot->connectable) return false;
    }
    return true;
}

bool isFullyConnected(const Node& node) {
    for (const auto* slot : node.inputValues()) {
        if (slot->connectable) return false;
    }
    return true;
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
        const auto skipped = checkedSum(framesSkipped, 1);
        if (!skipped) stopProgram("the count of skipped batches overflows 64 bits");
        framesSkipped = *skipped;
        if (const auto receiver = updatesReceiver.lock())
            receiver->newVariableOutputUpdates({input.timestamp, {}});
        return;
    }

    evaluateBatch(input.timestamp, input.updates);
    lastProcessTime = wallClock() - start;
    removeUnwantedOutputs();
    if (diagramOutput.outputs.empty()) return;
    // Moved out, so that a receiver may give the engine its next batch while it still reads this result.
    const KelvaneOutput output = std::move(diagramOutput);
    if (const auto receiver = updatesReceiver.lock()) receiver->newVariableOutputUpdates(output);
}

KelvaneOutput Kelvane::evaluate(const KelvaneInput& input) {
    evaluateBatch(input.timestamp, input.updates);
    removeUnwantedOutputs();
    return std::move(diagramOutput);
}

void Kelvane::evaluateBatch(double timestamp, const LabelledValues& updates) {
    budget.beginBatch();
    diagramOutput = {timestamp, {}};
    const bool completed =
        !outOfMemory && withinMemory([&] { return evaluatePasses(timestamp, updates), true; });
    if (completed) return;
    outOfMemory = true;
    diagramOutput.outputs.clear();
    printDiagnostic(outOfMemoryLine);
}

void Kelvane::evaluatePasses(double timestamp, const LabelledValues& updates) {
    allInputValues = updates;
    pushConstants();

    // A variable output feeds the input streams of its label, in a further pass of the same batch. Every
    // label is fed at most once, so the passes end.
    LabelledValues fed;
    const LabelledValues* values = &updates;
    do {
        setInputStreams(*values, timestamp);
        sweepFunctionNodes();
        auto collected = collectVariableOutputs();
        clearChecked();
        for (auto* stream : inputStreams) stream->output().updated = false;
        fed.clear();
        for (auto& [label, value] : collected) {
            if (!value) {
                diagramOutput.outputs.erase(label);
                continue;
            }
            diagramOutput.outputs.insert_or_assign(label, *value);
            if (allInputValues.try_emplace(label, *value).second) fed.try_emplace(label, std::move(*value));
        }
        values = &fed;
    } while (needsPass(fed));
}

// A pass that feeds no stream would evaluate nothing and is left out, unless it may still change the order: a
// slot that a constant shares with a function is unchecked by now, so that its node waits for the function.
bool Kelvane::needsPass(const LabelledValues& fed) const {
    if (fed.empty()) return false;
    for (const auto* stream : inputStreams) {
        if (fed.contains(stream->label())) return true;
    }
    for (const auto& node : nodeList(NodeCategory::Constant)) {
        for (const auto* slot : node->connectedInputValues()) {
            if (!slot->checked) return true;
        }
    }
    return false;
}

void Kelvane::pushConstants() {
    for (const auto& node : nodeList(NodeCategory::Constant)) {
        node->forwardOutput();
        for (auto* slot : node->connectedInputValues()) slot->checked = true;
    }
}

void Kelvane::setInputStreams(const LabelledValues& values, double timestamp) {
    for (auto* stream : inputStreams) {
        const auto& label = stream->label();
        const auto found = values.find(label);
        if (found == values.end()) {
            stream->markConnectedChecked();
            continue;
        }
        stream->setValue(found->second, timestamp);
        diagramOutput.outputs.insert_or_assign(label, *stream->output().payload());
    }
}

bool Kelvane::visit(Node& node) {
    for (auto* slot : node.connectedInputValues()) slot->checked = true;
    if (!node.allInputsHaveValues() || !node.allInputsUpdated() || !isFullyConnected(node)) return false;
    node.process();
    return true;
}

void Kelvane::sweepFunctionNodes() {
    for (bool progress = true; std::exchange(progress, false);) {
        std::size_t settled = 0;
        if (!functionNodes.empty()) functionNodes.front()->checkTime();
        while (settled < functionNodes.size() && isReady(*functionNodes[settled])) {
            progress |= visit(*functionNodes[settled++]);
        }
        if (settled == functionNodes.size()) continue;

        // Nodes that wait move to the end of the order. The rest of the order is kept as a ring, so that a
        // move costs constant time; what becomes ready leaves the ring for the settled front. A cycle of
        // function nodes keeps the ring turning without end.
        std::vector<Node*> ring(functionNodes.begin() + static_cast<std::ptrdiff_t>(settled),
                                functionNodes.end());
        std::size_t head = 0, count = ring.size();
        while (count > 0) {
            Node* const node = ring[head];
            const std::size_t end = (head + count) % ring.size();
            head = (head + 1) % ring.size();
            if (!isReady(*node)) {
                ring[end] = node;
                if (head == 0) node->checkTime();
                continue;
            }
            --count;
            functionNodes[settled++] = node;
            progress |= visit(*node);
        }
    }
}

Kelvane::CollectedOutputs Kelvane::collectVariableOutputs() {
    CollectedOutputs collected;
    for (auto* node : variableOutputs) {
        if (!node->allInputsUpdated()) continue;
        node->process();
        collected.insert_or_assign(node->label(), node->output().value());
    }
    return collected;
}

void Kelvane::clearChecked() {
    for (const auto& node : nodeList(NodeCategory::Function)) {
        for (auto* slot : node->connectedInputValues()) slot->checked = false;
    }
}

void Kelvane::removeUnwantedOutputs() {
    auto& outputs = diagramOutput.outputs;
    for (const auto* node : variableOutputs) {
        if (node->hidden) outputs.erase(node->label());
    }
    for (const auto* node : inputStreams) {
        if (!node->forwarding) outputs.erase(node->label());
    }
}

}  // namespace KelvaneSDK
