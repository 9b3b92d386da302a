#pragma once

// Internal: the order in which a sweep comes to visit the function nodes.

#include <span>
#include <vector>

#include "KelvaneSDK/Node.h"

namespace KelvaneSDK {

/// The nodes of a diagram that bring values to its functions.
struct WiredNodes {
    std::vector<Node*> constants, streams, functions;
};

/// Which pass of a batch a sweep belongs to. In the further passes, which feed outputs back, constants are
/// not pushed again, so that a slot that a constant shares with a function waits for the function.
enum class SweepPass : std::uint8_t { first, further };

struct SettledOrder {
    /// The function nodes in the order in which a sweep visits them.
    std::vector<Node*> order;
    /// Those that a sweep never visits, because they wait for a cycle: with any, it never ends.
    std::vector<Node*> waiting;
    /// A slot that a function feeds counted as dealt with, since it was when a stream or constant fed it:
    /// true of one sweep only.
    bool isForOneSweep = false;
};

/// A sweep walks the functions in their present order and moves each node whose inputs are not all dealt with
/// to the end. What it arrives at is known from the wiring alone: an input is dealt with in the round in
/// which the first of its feeders is visited, or in the next one where that feeder stands after the node; the
/// node is visited in the round of its last input, and within a round the present order holds. Takes time in
/// proportion to n log n.
SettledOrder settledOrder(const WiredNodes& nodes, SweepPass pass);

/// Some slot is fed by a constant and a function, so that the two passes may settle differently.
bool hasSharedConstantSlots(const WiredNodes& nodes);

}  // namespace KelvaneSDK
