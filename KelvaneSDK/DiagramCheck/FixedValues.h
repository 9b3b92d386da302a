#pragma once

#include <functional>

#include "KelvaneSDK/DiagramCheck/Wiring.h"

namespace KelvaneSDK {

/// The values of constants, and of functions that compute them from constants alone.
class FixedValues {
public:
    /// `isSafe` answers whether a function with these fixed inputs runs without stopping.
    FixedValues(const NodeTable& nodes, const Wiring& wiring,
                const std::function<bool(const FixedValues& values, NodeIndex function)>& isSafe);

    /// The value that a node gives in every batch, or null.
    const Value* of(NodeIndex node) const { return values[node] ? &*values[node] : nullptr; }
    /// The node that alone feeds an input with a fixed value of the input's type.
    std::optional<NodeIndex> sourceOf(NodeIndex node, std::size_t input) const;

private:
    std::optional<Value> computed(NodeIndex function) const;

    const NodeTable& nodes;
    const Wiring& wiring;
    std::vector<std::optional<Value>> values;
};

}  // namespace KelvaneSDK
