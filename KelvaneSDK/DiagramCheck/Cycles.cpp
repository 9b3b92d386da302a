#include "KelvaneSDK/DiagramCheck/Cycles.h"

#include <algorithm>
#include <limits>

namespace KelvaneSDK {

namespace {

constexpr std::uint32_t unseen = std::numeric_limits<std::uint32_t>::max();

class CycleSearch {
public:
    CycleSearch(const CheckedDiagram& checked, const WireFilter& filter)
        : diagram(checked),
          counts(filter),
          order(checked.size(), unseen),
          lowest(checked.size()),
          group(checked.size(), unseen) {}

    std::vector<Cycle> run() {
        for (NodeIndex root = 0; root < order.size(); ++root) {
            if (order[root] == unseen) visitFrom(root);
        }
        return std::move(cycles);
    }

private:
    struct Visit {
        NodeIndex node;
        std::size_t nextWire = 0;
    };

    // Strongly connected components in one depth-first walk, with the calls kept in a list.
    void visitFrom(NodeIndex root) {
        enter(root);
        while (!calls.empty()) {
            Visit& visit = calls.back();
            const auto leaving = diagram.wiresFrom(visit.node);
            if (visit.nextWire < leaving.size()) {
                const Wire& wire = diagram.allWires()[leaving[visit.nextWire++]];
                if (wire.lost || !counts(wire)) continue;
                if (order[wire.to] == unseen) {
                    enter(wire.to);
                } else if (group[wire.to] == unseen) {
                    lowest[visit.node] = std::min(lowest[visit.node], order[wire.to]);
                }
                continue;
            }
            const NodeIndex done = visit.node;
            calls.pop_back();
            if (!calls.empty()) lowest[calls.back().node] = std::min(lowest[calls.back().node], lowest[done]);
            if (lowest[done] == order[done]) closeGroup(done);
        }
    }

    void enter(NodeIndex node) {
        order[node] = lowest[node] = entered++;
        pending.push_back(node);
        calls.push_back({node});
    }

    void closeGroup(NodeIndex root) {
        Cycle cycle;
        do {
            cycle.members.push_back(pending.back());
            group[pending.back()] = groups;
            pending.pop_back();
        } while (cycle.members.back() != root);
        if (const Wire* const closing = lastWireInside(cycle.members)) {
            cycle.path = shortestWay(closing->to, closing->from);
            cycle.path.push_back(*closing);
            std::sort(cycle.members.begin(), cycle.members.end());
            cycles.push_back(std::move(cycle));
        }
        ++groups;
    }

    template <class Visitor>
    void forEachWireInside(NodeIndex node, Visitor visitor) const {
        for (const auto index : diagram.wiresFrom(node)) {
            const Wire& wire = diagram.allWires()[index];
            if (!wire.lost && group[wire.to] == groups && counts(wire)) visitor(wire);
        }
    }

    const Wire* lastWireInside(const std::vector<NodeIndex>& members) const {
        const Wire* last = nullptr;
        for (const auto node : members) {
            forEachWireInside(node, [&](const Wire& wire) {
                if (last == nullptr || wire.connection > last->connection) last = &wire;
            });
        }
        return last;
    }

    std::vector<Wire> shortestWay(NodeIndex from, NodeIndex to) {
        if (from == to) return {};
        cameBy.resize(order.size(), nullptr);
        std::vector<NodeIndex> reached{from};
        for (std::size_t next = 0; next < reached.size() && cameBy[to] == nullptr; ++next) {
            forEachWireInside(reached[next], [&](const Wire& wire) {
                if (wire.to == from || cameBy[wire.to] != nullptr) return;
                cameBy[wire.to] = &wire;
                reached.push_back(wire.to);
            });
        }
        std::vector<Wire> way;
        for (NodeIndex node = to; node != from; node = way.back().from) way.push_back(*cameBy[node]);
        std::reverse(way.begin(), way.end());
        for (const auto node : reached) cameBy[node] = nullptr;
        return way;
    }

    const CheckedDiagram& diagram;
    const WireFilter& counts;
    std::vector<std::uint32_t> order, lowest, group;
    std::vector<Visit> calls;
    std::vector<NodeIndex> pending;
    std::vector<const Wire*> cameBy;
    std::vector<Cycle> cycles;
    std::uint32_t entered = 0, groups = 0;
};

}  // namespace

std::vector<Cycle> findCycles(const CheckedDiagram& diagram, const WireFilter& counts) {
    return CycleSearch(diagram, counts).run();
}

}  // namespace KelvaneSDK
