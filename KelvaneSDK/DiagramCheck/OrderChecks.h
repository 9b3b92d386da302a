#pragma once

#include "KelvaneSDK/DiagramCheck/Evaluation.h"
#include "KelvaneSDK/DiagramCheck/FindingList.h"

namespace KelvaneSDK {

/// Cycles of function nodes: those that the evaluation waits for without end, those that feed themselves
/// without end, and those that come to rest. Answers which nodes wait for a cycle.
std::vector<bool> checkOrder(const NodeTable& nodes, const Wiring& wiring, const Evaluation& evaluation,
                             FindingList& findings);

}  // namespace KelvaneSDK
