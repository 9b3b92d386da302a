#pragma once

#include <functional>
#include <string>

#include "KelvaneSDK/DiagramCheck/Wiring.h"

namespace KelvaneSDK {

/// The values of constants, and of functions that compute them from constants alone. What is computed is
/// bounded, however the document multiplies its lists.
class FixedValues {
public:
    /// `mayTry` answers whether a function with these fixed inputs is to be tried.
    FixedValues(const NodeTable& nodes, const Wiring& wiring,
                const std::function<bool(const FixedValues& values, NodeIndex function)>& mayTry);

    /// The value that a node gives in every batch, or null.
    const Value* of(NodeIndex node) const { return values[node] ? &*values[node] : nullptr; }
    /// Why a function with fixed inputs stops in the first batch; empty when it does not.
    const std::string& stopOf(NodeIndex node) const { return stops[node]; }
    /// The node of which an input always holds the value, a fixed one of the input's type.
    std::optional<NodeIndex> sourceOf(NodeIndex node, std::size_t input) const;

private:
    bool allInputsAreFixed(NodeIndex function) const;
    void tryOut(NodeIndex function);
    std::size_t elementsInto(NodeIndex function) const;
    bool giveInputs(Node& node, NodeIndex function) const;

    const NodeTable& nodes;
    const Wiring& wiring;
    std::vector<std::optional<Value>> values;
    std::vector<std::string> stops;
    std::vector<bool> tried;
    std::size_t elementsLeft;
};

}  // namespace KelvaneSDK
