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
          group(checked.size(), unseen),
          placeOnWay(checked.size(), unseen) {}

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
        cycle.path = wayRound(root);
        if (!cycle.path.empty()) cycles.push_back(std::move(cycle));
        ++groups;
    }

    // From a node of the component along its wires until a node comes again.
    std::vector<Wire> wayRound(NodeIndex start) {
        std::vector<Wire> way;
        for (NodeIndex node = start; placeOnWay[node] == unseen; node = way.back().to) {
            placeOnWay[node] = static_cast<std::uint32_t>(way.size());
            const auto leaving = diagram.wiresFrom(node);
            const auto inside = std::find_if(leaving.begin(), leaving.end(), [&](std::uint32_t index) {
                const Wire& wire = diagram.allWires()[index];
                return !wire.lost && group[wire.to] == groups && counts(wire);
            });
            if (inside == leaving.end()) return {};
            way.push_back(diagram.allWires()[*inside]);
        }
        way.erase(way.begin(), way.begin() + placeOnWay[way.back().to]);
        return way;
    }

    const CheckedDiagram& diagram;
    const WireFilter& counts;
    std::vector<std::uint32_t> order, lowest, group, placeOnWay;
    std::vector<Visit> calls;
    std::vector<NodeIndex> pending;
    std::vector<Cycle> cycles;
    std::uint32_t entered = 0, groups = 0;
};

}  // namespace

std::vector<Cycle> findCycles(const CheckedDiagram& diagram, const WireFilter& counts) {
    return CycleSearch(diagram, counts).run();
}

}  // namespace KelvaneSDK
