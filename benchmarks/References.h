#pragma once

#include <bit>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <variant>

#include "Benchmark.h"
#include "Shapes.h"

namespace KelvaneBenchmarks {

using KelvaneSDK::Orientation;
using KelvaneSDK::Vector;

using Payload = std::variant<std::monostate, bool, std::int64_t, double, Vector, Orientation, std::string,
                             std::shared_ptr<const std::vector<double>>>;

Payload payloadOf(const Value& value);

// Digests of outputs are summed, so that they do not depend on the outputs' order.
inline std::uint64_t digestOf(double x) { return std::bit_cast<std::uint64_t>(x); }
inline std::uint64_t digestOf(std::int64_t n) { return static_cast<std::uint64_t>(n); }
inline std::uint64_t digestOf(bool b) { return b ? 1 : 0; }
inline std::uint64_t digestOf(const Vector& v) {
    return digestOf(v.x) + 3 * digestOf(v.y) + 5 * digestOf(v.z);
}
inline std::uint64_t digestOf(const Orientation& q) {
    return digestOf(Vector{q.x, q.y, q.z}) + 7 * digestOf(q.w);
}
inline std::uint64_t digestOf(const Value& value) {
    if (const auto x = value.get<double>()) return digestOf(*x);
    if (const auto v = value.get<Vector>()) return digestOf(*v);
    if (const auto q = value.get<Orientation>()) return digestOf(*q);
    if (const auto n = value.get<std::int64_t>()) return digestOf(*n);
    if (const auto b = value.get<bool>()) return digestOf(*b);
    return value.elementCount();
}
inline std::uint64_t digestOf(const Payload& payload) {
    if (const auto* x = std::get_if<double>(&payload)) return digestOf(*x);
    if (const auto* v = std::get_if<Vector>(&payload)) return digestOf(*v);
    if (const auto* q = std::get_if<Orientation>(&payload)) return digestOf(*q);
    if (const auto* n = std::get_if<std::int64_t>(&payload)) return digestOf(*n);
    return digestOf(std::get<bool>(payload));
}

/// A node of the push graph: it keeps a slot per input and runs, by a virtual call, once all are fresh. Its
/// result is copied into every slot that it feeds.
class PushNode {
public:
    virtual ~PushNode() = default;
    virtual void run(double timestamp) = 0;

    void receive(std::size_t slot, const Payload& value, double timestamp) {
        Slot& to = slots[slot];
        to.value = value;
        to.timestamp = timestamp;
        if (to.isFresh) return;
        to.isFresh = true;
        if (++freshSlots < slots.size()) return;
        for (Slot& each : slots) each.isFresh = false;
        freshSlots = 0;
        run(timestamp);
    }

    struct Slot {
        Payload value;
        double timestamp = 0;
        bool isFresh = false;
    };
    struct Link {
        PushNode* to;
        std::size_t slot;
    };
    std::vector<Slot> slots;
    std::vector<Link> links;
    std::string label;
    Payload constant;

protected:
    void emit(const Payload& value, double timestamp) {
        for (const auto& [to, slot] : links) to->receive(slot, value, timestamp);
    }

private:
    std::size_t freshSlots = 0;
};

/// The engine that one writes by hand in an afternoon: what users would otherwise have.
class PushGraph {
public:
    explicit PushGraph(const Shape& shape);

    /// Runs batches from number `first` on and returns the digest of all outputs.
    std::uint64_t run(std::size_t first, std::size_t count);
    /// The same as an application would call it: inputs found by their label, outputs collected with theirs.
    std::uint64_t runByLabel(std::size_t first, std::size_t count);

private:
    std::vector<std::unique_ptr<PushNode>> nodes;
    std::vector<std::vector<Payload>> values;
    std::unordered_map<std::string, PushNode*> streams;
    std::vector<PushNode*> streamList;
    std::uint64_t digest = 0;
    bool isCollecting = false;
    std::vector<std::pair<const std::string*, Payload>> collected;

    friend class PushOutput;
};

/// A node of the push graph without slots and links.
std::unique_ptr<PushNode> makePushNode(Operation operation);

/// The floor: scalar steps as a flat list over one array of doubles.
class Tape {
public:
    explicit Tape(const Shape& shape);
    std::uint64_t run(std::size_t first, std::size_t count);
    std::vector<double> outputsOf(std::size_t batch);

private:
    struct Instruction {
        Operation operation;
        std::array<std::uint32_t, 3> from;
        std::uint32_t to;
    };
    void step(std::size_t batch);

    std::vector<Instruction> instructions;
    std::vector<double> registers;
    std::vector<std::vector<double>> values;
    std::vector<std::uint32_t> outputs;
};

/// A scalar shape as a patch of Pure Data, with the figure "Pure Data" in ns a node; empty where that is not
/// installed.
Contestant pureData(const Shape& shape);

}  // namespace KelvaneBenchmarks
