#pragma once

// Internal: the nodes and handles of an engine, as its evaluation needs them.

#include <cstdint>
#include <vector>

#include "KelvaneSDK/Nodes/InputStreamNode.h"
#include "KelvaneSDK/Nodes/VariableOutputNode.h"

namespace KelvaneSDK {

struct DiagramNodes {
    std::vector<Node*> constants;
    std::vector<InputStreamNode*> streams;
    /// In the order of evaluation, which settles.
    std::vector<Node*> functions;
    std::vector<VariableOutputNode*> outputs;
};

/// What an application sets by a handle.
struct alignas(64) HandleEntry {
    Value value = 0.0;
    /// The round of evaluateSet() for which the value is set.
    std::uint64_t setFor = 0;
    /// Where the label stands in the present evaluation.
    std::uint32_t place = 0;
};

}  // namespace KelvaneSDK
