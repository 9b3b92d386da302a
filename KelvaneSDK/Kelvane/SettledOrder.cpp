#include "KelvaneSDK/Kelvane/SettledOrder.h"

#include <algorithm>
#include <functional>
#include <queue>

#include "KelvaneSDK/Nodes/NodeState.h"

namespace KelvaneSDK {

namespace {

/// The input slots of the functions, numbered through.
class FunctionSlots {
public:
    explicit FunctionSlots(const WiredNodes& wiredNodes) : nodes(wiredNodes) {
        starts.reserve(nodes.functions.size() + 1);
        std::uint32_t next = 0;
        for (std::size_t i = 0; i < nodes.functions.size(); ++i) {
            NodeState::placeOf(*nodes.functions[i]) = static_cast<std::uint32_t>(i);
            starts.push_back(next);
            next += static_cast<std::uint32_t>(nodes.functions[i]->inputValues().size());
        }
        starts.push_back(next);
    }

    std::size_t size() const { return starts.back(); }
    std::uint32_t first(std::size_t function) const { return starts[function]; }

    /// Calls visit(function, slot) for each input of a function that a node feeds.
    template <class Visit>
    void forEachFedBy(const Node& node, Visit visit) const {
        for (const auto* slot : node.connectedInputValues()) {
            Node* const owner = slot->owner;
            const std::uint32_t place = NodeState::placeOf(*owner);
            // Slots of other nodes, and slots that their node has replaced since, are passed over.
            if (place >= nodes.functions.size() || nodes.functions[place] != owner) continue;
            if (slot->index >= owner->inputValues().size() || owner->inputValues()[slot->index] != slot)
                continue;
            visit(place, starts[place] + slot->index);
        }
    }

private:
    const WiredNodes& nodes;
    std::vector<std::uint32_t> starts;
};

enum Fed : std::uint8_t { byStream = 1, byConstant = 2, byFunction = 4 };

std::vector<std::uint8_t> feedersOf(const WiredNodes& nodes, const FunctionSlots& slots) {
    std::vector<std::uint8_t> fed(slots.size());
    const auto mark = [&](const std::vector<Node*>& feeders, Fed kind) {
        for (const auto* node : feeders) {
            slots.forEachFedBy(*node, [&](std::uint32_t, std::uint32_t slot) { fed[slot] |= kind; });
        }
    };
    mark(nodes.streams, byStream);
    mark(nodes.constants, byConstant);
    mark(nodes.functions, byFunction);
    return fed;
}

bool isReadyAtFirst(std::uint8_t fed, SweepPass pass) {
    if ((fed & byStream) != 0) return true;
    return (fed & byConstant) != 0 && (pass == SweepPass::first || (fed & byFunction) == 0);
}

}  // namespace

SettledOrder settledOrder(const WiredNodes& nodes, SweepPass pass) {
    const std::size_t count = nodes.functions.size();
    const FunctionSlots slots(nodes);
    const auto fed = feedersOf(nodes, slots);
    std::vector<bool> isReady(slots.size());
    std::vector<std::uint32_t> missing(count), rounds(count);
    // By round, then by the present place.
    std::priority_queue<std::uint64_t, std::vector<std::uint64_t>, std::greater<>> open;
    SettledOrder settled;
    const auto enter = [&](std::uint32_t node) { open.push(std::uint64_t{rounds[node]} << 32 | node); };
    for (std::uint32_t node = 0; node < count; ++node) {
        const auto inputs = nodes.functions[node]->inputValues();
        for (std::size_t i = 0; i < inputs.size(); ++i) {
            const auto slot = slots.first(node) + i;
            isReady[slot] = inputs[i]->connectable || isReadyAtFirst(fed[slot], pass);
            if (!isReady[slot] && pass == SweepPass::first && inputs[i]->checked) {
                isReady[slot] = settled.isForOneSweep = true;
            }
            if (!isReady[slot]) ++missing[node];
        }
        if (missing[node] == 0) enter(node);
    }
    settled.order.reserve(count);
    while (!open.empty()) {
        const auto node = static_cast<std::uint32_t>(open.top());
        open.pop();
        settled.order.push_back(nodes.functions[node]);
        slots.forEachFedBy(*nodes.functions[node], [&](std::uint32_t reader, std::uint32_t slot) {
            if (isReady[slot]) return;
            isReady[slot] = true;
            rounds[reader] = std::max(rounds[reader], rounds[node] + (node > reader ? 1 : 0));
            if (--missing[reader] == 0) enter(reader);
        });
    }
    for (std::uint32_t node = 0; node < count; ++node) {
        if (missing[node] > 0) settled.waiting.push_back(nodes.functions[node]);
    }
    return settled;
}

bool hasSharedConstantSlots(const WiredNodes& nodes) {
    const FunctionSlots slots(nodes);
    const auto fed = feedersOf(nodes, slots);
    return std::any_of(fed.begin(), fed.end(), [](std::uint8_t kinds) {
        return (kinds & byConstant) != 0 && (kinds & byFunction) != 0 && (kinds & byStream) == 0;
    });
}

}  // namespace KelvaneSDK
