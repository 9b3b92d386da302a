#pragma once

#include <cstdint>
#include <vector>

#include "KelvaneSDK/DiagramCheck/Wiring.h"

namespace KelvaneSDK {

/// A set of payload types.
class PayloadTypes {
public:
    PayloadTypes() = default;
    explicit PayloadTypes(ValueClass valueClass) {
        if (const auto type = payloadType(valueClass)) bits = bit(*type);
    }

    bool empty() const { return bits == 0; }
    bool contains(ValueType type) const { return (bits & bit(type)) != 0; }
    /// The first of the types.
    ValueType first() const;
    PayloadTypes onlyArrays() const;
    PayloadTypes operator|(PayloadTypes other) const { return PayloadTypes(bits | other.bits); }
    PayloadTypes operator&(PayloadTypes other) const { return PayloadTypes(bits & other.bits); }
    PayloadTypes without(PayloadTypes other) const { return PayloadTypes(bits & ~other.bits); }
    bool operator==(const PayloadTypes&) const = default;

private:
    explicit PayloadTypes(std::uint32_t raw) : bits(raw) {}
    static std::uint32_t bit(ValueType type) { return 1U << static_cast<unsigned>(type); }

    std::uint32_t bits = 0;
};

/// What can come of a wired document once batches arrive: who runs, and which types of values travel. Streams
/// are taken to bring values.
class Evaluation {
public:
    Evaluation(const NodeTable& nodes, const Wiring& wiring);

    /// Nothing in the document keeps the node from running (or a constant or stream from bringing values).
    bool canRun(NodeIndex node) const { return runs[node]; }
    bool canEmit(NodeIndex node) const { return runs[node] && emits[node]; }
    /// The node runs and gives an output at least once, whatever the values, as soon as every stream brought
    /// one.
    bool surelyRunsAndEmits(NodeIndex node) const { return surely[node]; }
    /// The function's value operation exists for the type that its slots took on.
    bool supportsItsTypes(NodeIndex node) const;
    PayloadTypes typesInto(Port port) const;
    PayloadTypes typesFrom(NodeIndex node) const { return carried[node]; }

private:
    template <class CanRun, class Emits>
    std::vector<bool> spread(CanRun canRunWith, Emits emitting) const;
    void spreadTypes();
    PayloadTypes ownTypes(NodeIndex node) const;

    const NodeTable& nodes;
    const Wiring& wiring;
    std::vector<bool> emits, runs, surely;
    std::vector<PayloadTypes> carried;
};

}  // namespace KelvaneSDK
