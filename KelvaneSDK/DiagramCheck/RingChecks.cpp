#include <algorithm>
#include <unordered_set>

#include "KelvaneSDK/DiagramCheck/Checks.h"
#include "KelvaneSDK/DiagramCheck/Cycles.h"
#include "KelvaneSDK/Kelvane/SettledOrder.h"

namespace KelvaneSDK {

namespace {

class RingCheck {
public:
    RingCheck(const CheckedDiagram& checked, const WiringReading& wiring, FindingList& list)
        : diagram(checked), reading(wiring), findings(list), reported(checked.size()) {}

    void run() {
        const auto all = findCycles(diagram, [](const Wire&) { return true; });
        if (all.empty()) return;
        checkOrder();
        checkEndless();
        const auto mayGoOn = selfSustaining([&](NodeIndex i) { return reading.canEmit(i); }, true);
        for (const Cycle& cycle : all) {
            if (contains(cycle, reported)) continue;
            const bool isInDoubt = contains(cycle, mayGoOn);
            report(isInDoubt ? Code("ring-may-not-end") : Code("ring"),
                   isInDoubt ? Severity::error : Severity::warning, cycle,
                   isInDoubt ? "feeds itself, and the values decide whether the evaluation ends"
                             : "feeds itself");
        }
    }

private:
    // Functions that a sweep never gets to, because they wait for one another.
    void checkOrder() {
        if (reportWaiting(SweepPass::first, Severity::fatal,
                          "waits for itself, so that the evaluation never ends"))
            return;
        // A label that comes with the batch is not fed back.
        std::unordered_set<std::string_view> streamLabels;
        for (NodeIndex i = 0; i < diagram.size(); ++i) {
            if (diagram[i].is(NodeCategory::InputStream)) streamLabels.insert(diagram[i].label);
        }
        bool isFedBack = false, isSurelyFedBack = false;
        for (NodeIndex i = 0; i < diagram.size(); ++i) {
            if (!diagram[i].is(NodeCategory::VariableOutput) || !reading.canRun(i)) continue;
            const auto own = typesOf(diagram[i].inputs().front()->valueClass());
            isFedBack |= (reading.typesInto(diagram.firstPort(i)) & own).any();
            isSurelyFedBack |= reading.surelyRuns(i) && !streamLabels.contains(diagram[i].label);
        }
        if (!isFedBack) return;
        reportWaiting(
            SweepPass::further, isSurelyFedBack ? Severity::fatal : Severity::error,
            "waits for itself in the pass after a variable output gave a value, so that the evaluation "
            "never ends");
    }

    bool reportWaiting(SweepPass pass, Severity severity, const std::string& what) {
        WiredNodes nodes;
        std::unordered_map<const Node*, NodeIndex> indices;
        for (NodeIndex i = 0; i < diagram.size(); ++i) {
            Node* const node = diagram[i].node.get();
            if (diagram[i].is(NodeCategory::Constant)) nodes.constants.push_back(node);
            if (diagram[i].is(NodeCategory::InputStream)) nodes.streams.push_back(node);
            if (!diagram[i].isFunction()) continue;
            nodes.functions.push_back(node);
            indices.emplace(node, i);
        }
        std::vector<bool> waits(diagram.size());
        const auto waiting = settledOrder(nodes, pass).waiting;
        for (const Node* node : waiting) waits[indices.at(node)] = true;
        // A slot is dealt with as soon as one of its feeders was.
        const auto isWaitedFor = [&](const Wire& wire) {
            if (!waits[wire.from] || !waits[wire.to]) return false;
            const auto feeding = diagram.wiresInto(diagram.portOf(wire));
            return std::all_of(feeding.begin(), feeding.end(), [&](std::uint32_t index) {
                const NodeIndex feeder = diagram.allWires()[index].from;
                return waits[feeder] ||
                       (pass == SweepPass::further && diagram[feeder].is(NodeCategory::Constant));
            });
        };
        for (const Cycle& cycle : findCycles(diagram, isWaitedFor)) report("cycle", severity, cycle, what);
        for (NodeIndex i = 0; i < diagram.size(); ++i) {
            if (waits[i]) reported[i] = true;
        }
        return !waiting.empty();
    }

    // Rings that got in order, because a value enters from outside, and never come to rest again.
    void checkEndless() {
        const auto endless = selfSustaining([&](NodeIndex i) { return reading.surelyEmits(i); }, false);
        const auto isInside = [&](const Wire& wire) { return endless[wire.from] && endless[wire.to]; };
        for (const Cycle& cycle : findCycles(diagram, isInside)) {
            if (contains(cycle, reported)) continue;
            report("endless-cycle", Severity::fatal, cycle,
                   "keeps feeding itself, so that the evaluation never ends once a value has entered");
        }
    }

    // Whether the inputs that are fed again are enough for a node to run again: for some values, or for all.
    template <class Fed>
    static bool refills(const CheckedNode& node, Fed fed, bool forSomeValues) {
        bool all = true, any = false;
        for (std::size_t i = 0; i < node.inputs().size(); ++i) {
            all = all && fed(i);
            any = any || fed(i);
        }
        switch (node.declaration->isDeclared ? node.declaration->readiness : Readiness::own) {
            case Readiness::allInputs:
                return all;
            case Readiness::anyInput:
                return any;
            case Readiness::selectedInput:
                return forSomeValues && (fed(1) || fed(2));
            case Readiness::trueTrigger:
            case Readiness::recording:
                return forSomeValues && fed(0);
            case Readiness::own:
                break;
        }
        return forSomeValues && any;
    }

    // The largest set of function nodes in which every member's inputs are fed again by members. Once each of
    // them has run, every cycle among them holds a fresh value, which moves on and is never used up.
    template <class IsCandidate>
    std::vector<bool> selfSustaining(IsCandidate isCandidate, bool forSomeValues) const {
        std::vector<bool> inside(diagram.size());
        std::vector<std::uint32_t> feeders(diagram.portCount());
        for (NodeIndex i = 0; i < diagram.size(); ++i) inside[i] = diagram[i].isFunction() && isCandidate(i);
        for (const Wire& wire : diagram.allWires()) {
            if (!wire.lost && inside[wire.from]) ++feeders[diagram.portOf(wire)];
        }
        std::vector<NodeIndex> open;
        const auto leaveUnlessFed = [&](NodeIndex node) {
            const Port first = diagram.firstPort(node);
            if (!inside[node] ||
                refills(
                    diagram[node], [&](std::size_t i) { return feeders[first + i] > 0; }, forSomeValues))
                return;
            inside[node] = false;
            open.push_back(node);
        };
        for (NodeIndex i = 0; i < diagram.size(); ++i) leaveUnlessFed(i);
        while (!open.empty()) {
            const NodeIndex node = open.back();
            open.pop_back();
            for (const auto index : diagram.wiresFrom(node)) {
                const Wire& wire = diagram.allWires()[index];
                if (wire.lost || --feeders[diagram.portOf(wire)] > 0) continue;
                leaveUnlessFed(wire.to);
            }
        }
        return inside;
    }

    static bool contains(const Cycle& cycle, const std::vector<bool>& set) {
        return std::any_of(cycle.members.begin(), cycle.members.end(),
                           [&](NodeIndex i) { return bool(set[i]); });
    }

    void report(Code code, Severity severity, const Cycle& cycle, const std::string& what) {
        for (const auto member : cycle.members) reported[member] = true;
        constexpr std::size_t mostNodes = 12;
        std::string way;
        for (std::size_t i = 0; i < std::min(cycle.path.size(), mostNodes); ++i)
            way += diagram[cycle.path[i].from].name() + " -> ";
        if (cycle.path.size() > mostNodes)
            way += std::to_string(cycle.path.size() - mostNodes) + " more nodes -> ";
        const auto& last = cycle.path.back();
        findings.add(code, {Section::connections, last.connection},
                     what + ": " + way + diagram[last.to].name(),
                     {.about = &diagram[last.to], .severity = severity});
    }

    const CheckedDiagram& diagram;
    const WiringReading& reading;
    FindingList& findings;
    std::vector<bool> reported;
};

}  // namespace

void checkRings(const CheckedDiagram& diagram, const WiringReading& reading, FindingList& findings) {
    RingCheck(diagram, reading, findings).run();
}

}  // namespace KelvaneSDK
