#include "KelvaneSDK/DiagramCheck/OrderChecks.h"

#include <algorithm>

#include "KelvaneSDK/DiagramCheck/Cycles.h"

namespace KelvaneSDK {

namespace {

class OrderCheck {
public:
    OrderCheck(const NodeTable& table, const Wiring& wires, const Evaluation& flow, FindingList& list)
        : nodes(table), wiring(wires), evaluation(flow), findings(list) {}

    std::vector<bool> run() {
        const auto all = findCycles(wiring, nodes.size(), [](const Wire&) { return true; });
        if (all.empty()) return std::vector<bool>(nodes.size());

        Waiting waiting = waitingIn(Pass::first);
        std::string when = "waits for itself, so that the evaluation never ends";
        if (waiting.nodes.empty() && feedsBack()) {
            waiting = waitingIn(Pass::further);
            when =
                "waits for itself in the pass after a variable output gave a value, so that the evaluation "
                "never ends";
        }
        std::vector<bool> waits(nodes.size()), told(nodes.size());
        for (const auto node : waiting.nodes) waits[node] = true;
        tellError(findCycles(wiring, nodes.size(),
                             [&](const Wire& wire) {
                                 return waits[wire.from] && waits[wire.to] && !waiting.ready[wire.port];
                             }),
                  "cycle", when, told);

        // A cycle that also gets values from outside starts. Some never come to rest again.
        const auto endless =
            selfSustaining([&](NodeIndex i) { return evaluation.surelyRunsAndEmits(i); }, &refillsSurely);
        tellError(findCycles(wiring, nodes.size(),
                             [&](const Wire& wire) { return endless[wire.from] && endless[wire.to]; }),
                  "endless-cycle",
                  "keeps feeding itself, so that the evaluation never ends once a value has entered", told);
        const auto restless = selfSustaining([&](NodeIndex i) { return evaluation.canEmit(i); }, &mayRefill);
        for (const Cycle& cycle : all) {
            const auto has = [&](const std::vector<bool>& set) {
                return std::any_of(cycle.members.begin(), cycle.members.end(),
                                   [&](NodeIndex i) { return bool(set[i]); });
            };
            if (has(told) || has(waits)) continue;
            const bool mayGoOn = has(restless);
            findings
                .warning(mayGoOn ? "restless-cycle" : "resting-cycle", Section::connections,
                         cycle.path.back().connection,
                         mayGoOn ? "feeds itself, and whether the evaluation ends depends on the values: " +
                                       textOf(cycle)
                                 : "feeds itself: " + textOf(cycle))
                .about(nodes[cycle.path.back().to]);
        }
        return waits;
    }

private:
    enum class Pass : std::uint8_t { first, further };
    struct Waiting {
        std::vector<NodeIndex> nodes;
        std::vector<bool> ready;
    };

    bool isFunction(NodeIndex node) const { return nodes[node].is(NodeCategory::Function); }

    // Whether a variable output gives a value: only then a batch has further passes.
    bool feedsBack() const {
        for (NodeIndex i = 0; i < nodes.size(); ++i) {
            if (!nodes[i].is(NodeCategory::VariableOutput) || !evaluation.canRun(i)) continue;
            const Port input = wiring.firstPort(i);
            if (!(evaluation.typesInto(input) & PayloadTypes(wiring.inputClass(input))).empty()) return true;
        }
        return false;
    }

    // A slot is dealt with as soon as one of its sources was: a stream in every pass, a constant at the start
    // of the batch (which a function that feeds the slot too wipes out after a pass), a function when it was
    // visited.
    bool isReadyAtStart(Port port, Pass pass) const {
        bool fromConstant = false, fromFunction = false;
        for (const auto index : wiring.wiresInto(port)) {
            const NodeIndex source = wiring.all()[index].from;
            if (isFunction(source)) {
                fromFunction = true;
            } else if (nodes[source].is(NodeCategory::Constant)) {
                fromConstant = true;
            } else {
                return true;
            }
        }
        return wiring.isFree(port) || (fromConstant && (pass == Pass::first || !fromFunction));
    }

    // The function nodes that a sweep never gets to.
    Waiting waitingIn(Pass pass) const {
        Waiting waiting;
        waiting.ready.resize(wiring.portCount());
        std::vector<std::size_t> missing(nodes.size());
        std::vector<NodeIndex> open;
        for (NodeIndex i = 0; i < nodes.size(); ++i) {
            if (!isFunction(i)) continue;
            for (Port port = wiring.firstPort(i); port < wiring.firstPort(i) + wiring.inputCount(i); ++port) {
                waiting.ready[port] = isReadyAtStart(port, pass);
                if (!waiting.ready[port]) ++missing[i];
            }
            if (missing[i] == 0) open.push_back(i);
        }
        while (!open.empty()) {
            const NodeIndex node = open.back();
            open.pop_back();
            for (const auto index : wiring.wiresFrom(node)) {
                const Wire& wire = wiring.all()[index];
                if (wire.lost || !isFunction(wire.to) || waiting.ready[wire.port]) continue;
                waiting.ready[wire.port] = true;
                if (--missing[wire.to] == 0) open.push_back(wire.to);
            }
        }
        for (NodeIndex i = 0; i < nodes.size(); ++i) {
            if (missing[i] > 0) waiting.nodes.push_back(i);
        }
        return waiting;
    }

    // Whether the inputs that are fed again are enough for a node to run again.
    template <class Fed>
    static bool refills(const NodeShape& shape, Fed fed, bool mayDependOnValues) {
        const std::size_t count = shape.inputs.size();
        const auto any = [&] {
            for (std::size_t i = 0; i < count; ++i) {
                if (fed(i)) return true;
            }
            return false;
        };
        switch (shape.traits.readiness) {
            case Readiness::anyInput:
                return any();
            case Readiness::selectedInput:
                return mayDependOnValues && (fed(1) || fed(2));
            case Readiness::triggerInput:
                return mayDependOnValues && fed(0);
            case Readiness::recordedInput:
                return mayDependOnValues && any();
            case Readiness::allInputs:
                break;
        }
        if (!shape.traits.isKnown) return mayDependOnValues && any();
        for (std::size_t i = 0; i < count; ++i) {
            if (!fed(i)) return false;
        }
        return true;
    }
    using Fed = std::function<bool(std::size_t)>;
    static bool refillsSurely(const NodeShape& shape, const Fed& fed) { return refills(shape, fed, false); }
    static bool mayRefill(const NodeShape& shape, const Fed& fed) { return refills(shape, fed, true); }

    // The largest set of function nodes in which every member's inputs are fed again by members. Once each of
    // them has run, every cycle among them holds a fresh value, which moves on and is never used up.
    template <class IsCandidate>
    std::vector<bool> selfSustaining(IsCandidate isCandidate,
                                     bool (*refilled)(const NodeShape&, const Fed&)) const {
        std::vector<bool> inside(nodes.size());
        std::vector<std::uint32_t> feeders(wiring.portCount());
        for (NodeIndex i = 0; i < nodes.size(); ++i) inside[i] = isFunction(i) && isCandidate(i);
        for (const Wire& wire : wiring.all()) {
            if (!wire.lost && inside[wire.from]) ++feeders[wire.port];
        }
        std::vector<NodeIndex> open;
        const auto leaveUnlessFed = [&](NodeIndex node) {
            const Port first = wiring.firstPort(node);
            if (!inside[node] ||
                refilled(*nodes[node].shape, [&](std::size_t i) { return feeders[first + i] > 0; }))
                return;
            inside[node] = false;
            open.push_back(node);
        };
        for (NodeIndex i = 0; i < nodes.size(); ++i) leaveUnlessFed(i);
        while (!open.empty()) {
            const NodeIndex node = open.back();
            open.pop_back();
            for (const auto index : wiring.wiresFrom(node)) {
                const Wire& wire = wiring.all()[index];
                if (wire.lost || --feeders[wire.port] > 0) continue;
                leaveUnlessFed(wire.to);
            }
        }
        return inside;
    }

    void tellError(const std::vector<Cycle>& cycles, std::string_view code, const std::string& what,
                   std::vector<bool>& told) {
        for (const Cycle& cycle : cycles) {
            if (std::any_of(cycle.members.begin(), cycle.members.end(),
                            [&](NodeIndex i) { return bool(told[i]); }))
                continue;
            for (const auto member : cycle.members) told[member] = true;
            findings
                .error(code, Section::connections, cycle.path.back().connection, what + ": " + textOf(cycle))
                .about(nodes[cycle.path.back().to])
                .fatal();
        }
    }

    std::string textOf(const Cycle& cycle) const {
        std::string text;
        for (const Wire& wire : cycle.path) text += nodeName(nodes[wire.from]) + " -> ";
        return text + nodeName(nodes[cycle.path.back().to]);
    }

    const NodeTable& nodes;
    const Wiring& wiring;
    const Evaluation& evaluation;
    FindingList& findings;
};

}  // namespace

std::vector<bool> checkOrder(const NodeTable& nodes, const Wiring& wiring, const Evaluation& evaluation,
                             FindingList& findings) {
    return OrderCheck(nodes, wiring, evaluation, findings).run();
}

}  // namespace KelvaneSDK
