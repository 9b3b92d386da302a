#pragma once

#include <bitset>
#include <vector>

#include "KelvaneSDK/DiagramCheck/CheckedDiagram.h"

namespace KelvaneSDK {

/// A set of payload types, by ValueType.
using PayloadTypes = std::bitset<16>;
/// The payload type of a slot class; none for the generic classes.
PayloadTypes typesOf(ValueClass valueClass);

/// What can come of a wired diagram once batches arrive, whatever the values: which nodes run and give an
/// output, and which types travel. Streams are taken to bring values. Of nodes of unknown type, and of
/// connections that could not be made, nothing bad is assumed.
class WiringReading {
public:
    explicit WiringReading(const CheckedDiagram& diagram);

    /// Nothing in the document keeps the node from running (or a constant or stream from bringing values).
    bool canRun(NodeIndex node) const { return runs[node]; }
    bool canEmit(NodeIndex node) const { return runs[node] && mayEmit(node); }
    /// The node runs at least once, whatever the values, as soon as every stream brought one; and gives an
    /// output whenever it runs.
    bool surelyRuns(NodeIndex node) const { return runsSurely[node]; }
    bool surelyEmits(NodeIndex node) const { return runsSurely[node] && emitsAlways(node); }
    /// The function's value operation exists for the type that its slots took on.
    bool supportsItsTypes(NodeIndex node) const;
    PayloadTypes typesInto(Port port) const { return arriving[port]; }
    PayloadTypes typesFrom(NodeIndex node) const { return carried[node]; }
    /// What is known of the node is incomplete: it is reached from a node of unknown type or a connection
    /// that could not be made.
    bool isInDoubt(NodeIndex node) const { return doubtful[node]; }
    /// The constant that alone feeds an input of its type.
    std::optional<NodeIndex> constantInto(NodeIndex node, std::size_t input) const;
    const Value& valueOf(NodeIndex constant) const {
        return *diagram[constant].node->outputValue()->payload();
    }

private:
    std::vector<bool> spread(bool surely) const;
    void spreadDoubt();
    void spreadTypes();
    bool mayEmit(NodeIndex node) const;
    bool emitsAlways(NodeIndex node) const;
    bool takesWhatComes(NodeIndex node) const;

    const CheckedDiagram& diagram;
    std::vector<bool> doubtful, runs, runsSurely;
    std::vector<PayloadTypes> carried, arriving;
};

}  // namespace KelvaneSDK
