#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "KelvaneSDK/TextForm/ConstantTypes.h"

namespace KelvaneSDK {

/// In which order the connections come that no list orders.
enum class ConnectionOrder : std::uint8_t {
    byDependency,  ///< by target, a node behind those that feed it
    byTarget,      ///< by target, in the order of the nodes
    bySource,      ///< as byDependency, but first by the nodes that they lead out of
};

/// The wires, which stand by target and input, in another order.
std::vector<std::size_t> connectionOrder(ConnectionOrder order, std::size_t nodeCount,
                                         std::span<const TextWire> wires);

}  // namespace KelvaneSDK
