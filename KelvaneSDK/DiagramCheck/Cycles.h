#pragma once

#include <functional>
#include <vector>

#include "KelvaneSDK/DiagramCheck/CheckedDiagram.h"

namespace KelvaneSDK {

/// Which wires count.
using WireFilter = std::function<bool(const Wire& wire)>;

/// Nodes that all lead to one another through wires, at least one wire among them.
struct Cycle {
    std::vector<NodeIndex> members;
    /// One way round: each wire leads from the node before.
    std::vector<Wire> path;
};

/// Every strongly connected component with a wire in it, once, without recursion.
std::vector<Cycle> findCycles(const CheckedDiagram& diagram, const WireFilter& counts);

}  // namespace KelvaneSDK
