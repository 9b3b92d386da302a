#include <algorithm>

#include "KelvaneSDK/DiagramCheck/ConnectionChecks.h"

namespace KelvaneSDK {

namespace {

class UseCheck {
public:
    UseCheck(const NodeTable& table, const Wiring& wires, const Evaluation& flow,
             const std::vector<bool>& waiting, FindingList& list)
        : nodes(table), wiring(wires), evaluation(flow), waitsForCycle(waiting), findings(list) {}

    void check(NodeIndex index) {
        const CheckedNode& node = nodes[index];
        if (node.shape == nullptr) return;
        if (!evaluation.canRun(index) && !waitsForCycle[index]) explainSilence(index);
        if (node.is(NodeCategory::Function)) checkTypes(index);
        // Forwarded streams and variable outputs reach the application themselves.
        const bool isDelivered =
            node.is(NodeCategory::VariableOutput) || (node.is(NodeCategory::InputStream) && node.forwarding);
        if (!isDelivered && wiring.wiresFrom(index).empty()) {
            findings.warning("output-unused", Section::nodes, index, "the output feeds nothing").about(node);
        }
    }

private:
    void explainSilence(NodeIndex index) {
        const CheckedNode& node = nodes[index];
        bool hasFreeInput = false;
        for (std::size_t i = 0; i < wiring.inputCount(index); ++i) {
            if (!wiring.isFree(wiring.portOf(index, i))) continue;
            hasFreeInput = true;
            findings
                .warning("input-unconnected", Section::nodes, index,
                         node.inputName(i) + " is not connected, so that the node never runs")
                .about(node)
                .subject(node.inputName(i));
        }
        if (hasFreeInput) return;
        for (std::size_t i = 0; i < wiring.inputCount(index); ++i) {
            const auto feeding = wiring.wiresInto(wiring.portOf(index, i));
            const bool getsValues = std::any_of(feeding.begin(), feeding.end(), [&](std::uint32_t wire) {
                return evaluation.canEmit(wiring.all()[wire].from);
            });
            if (getsValues || feeding.empty()) continue;
            const NodeIndex source = wiring.all()[feeding[0]].from;
            // The cycle is told already.
            if (waitsForCycle[source]) return;
            findings
                .warning(
                    "never-runs", Section::nodes, index,
                    "the node never runs, because " + node.inputName(i) + " waits for " +
                        nodeName(nodes[source]) +
                        (evaluation.canRun(source) ? ", which never gives an output" : ", which never runs"))
                .about(node)
                .subject(node.inputName(i));
            return;
        }
    }

    void checkTypes(NodeIndex index) {
        const CheckedNode& node = nodes[index];
        std::optional<ValueClass> open, unsupported;
        const auto look = [&](ValueClass declared, ValueClass actual) {
            if (!isGeneric(declared)) return;
            if (isGeneric(actual)) open = actual;
            const auto& list = node.shape->unsupported;
            if (std::find(list.begin(), list.end(), actual) != list.end()) unsupported = actual;
        };
        const std::size_t count = wiring.inputCount(index);
        for (std::size_t i = 0; i < count; ++i)
            look(node.shape->inputs[i], wiring.inputClass(wiring.portOf(index, i)));
        if (node.shape->output) look(*node.shape->output, *wiring.outputClass(index));
        if (!evaluation.supportsItsTypes(index))
            unsupported = wiring.inputClass(wiring.portOf(index, count - 1));
        if (open) {
            findings
                .warning("type-unresolved", Section::nodes, index,
                         "no connection or outputType gives the node's " + quoted(typeString(*open)) +
                             " slots a type")
                .about(node);
        }
        if (!unsupported) return;
        const std::string message = quoted(node.record->typeString) + " does not support values of type " +
                                    quoted(typeString(*unsupported));
        const bool isReported = node.shape->traits.reportsUnsupported && evaluation.canRun(index);
        (isReported ? findings.error("type-unsupported", Section::nodes, index, message)
                    : findings.warning("type-unsupported", Section::nodes, index, message))
            .about(node);
    }

    const NodeTable& nodes;
    const Wiring& wiring;
    const Evaluation& evaluation;
    const std::vector<bool>& waitsForCycle;
    FindingList& findings;
};

}  // namespace

void checkUse(const NodeTable& nodes, const Wiring& wiring, const Evaluation& evaluation,
              const std::vector<bool>& waitsForCycle, FindingList& findings) {
    UseCheck check(nodes, wiring, evaluation, waitsForCycle, findings);
    for (NodeIndex i = 0; i < nodes.size(); ++i) check.check(i);
}

}  // namespace KelvaneSDK
