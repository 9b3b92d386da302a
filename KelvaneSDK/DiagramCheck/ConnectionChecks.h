#pragma once

#include "KelvaneSDK/DiagramCheck/Evaluation.h"
#include "KelvaneSDK/DiagramCheck/FindingList.h"
#include "KelvaneSDK/DiagramCheck/Wiring.h"

namespace KelvaneSDK {

/// Makes the connections in document order and tells which fail.
void checkConnections(const DiagramInfo& document, const NodeTable& nodes, Wiring& wiring,
                      FindingList& findings);

/// What the finished wires bring: values of a wrong type, and inputs that are fed twice.
void checkWires(const NodeTable& nodes, const Wiring& wiring, const Evaluation& evaluation,
                FindingList& findings);

/// Nodes that never run or feed nothing, and slots whose type stays open or is not supported.
void checkUse(const NodeTable& nodes, const Wiring& wiring, const Evaluation& evaluation,
              const std::vector<bool>& waitsForCycle, FindingList& findings);

/// Constants with which a function stops, or never ends, as soon as it runs.
void checkConstants(const NodeTable& nodes, const Wiring& wiring, const Evaluation& evaluation,
                    FindingList& findings);

}  // namespace KelvaneSDK
