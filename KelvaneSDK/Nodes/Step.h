#pragma once

// Internal: a function node as a compiled diagram evaluates it.

#include "KelvaneSDK/FunctionNode.h"
#include "KelvaneSDK/Nodes/NodeState.h"

namespace KelvaneSDK {

/// What a node computes that gives a value, or stops, whenever every input has news and a value.
/// The inputs are consumed before; `latest` is their latest timestamp.
using Compute = void (*)(FunctionNode& node, const StepInput* inputs, double latest);

/// A function node as the engine evaluates it: what it reads and writes, within reach.
struct Step {
    /// Runs the node if its inputs are ready for it. True when it ran.
    using Run = bool (*)(Step& step);

    Run run = nullptr;
    /// Null for nodes that may fall silent.
    Compute compute = nullptr;
    FunctionNode* node = nullptr;
    /// The node's input slots, every one of them connected.
    StepInput* inputs = nullptr;
    std::size_t inputCount = 0;

    /// Lets a step of `count` inputs compute whenever they are ready.
    template <std::size_t count, Compute newCompute>
    void setCompute() {
        compute = newCompute;
        run = runWhenReady<count, newCompute>;
    }

private:
    template <std::size_t count, Compute newCompute>
    static bool runWhenReady(Step& step) {
        StepInput* const inputs = step.inputs;
        double latest = 0;
        for (std::size_t i = 0; i < count; ++i) {
            const GivenValue& source = *inputs[i].source;
            if (!inputs[i].hasNews() || !source.hasValue()) return false;
            if (latest <= source.timestamp) latest = source.timestamp;
        }
        for (std::size_t i = 0; i < count; ++i) inputs[i].consume();
        newCompute(*step.node, inputs, latest);
        return true;
    }
};

}  // namespace KelvaneSDK
