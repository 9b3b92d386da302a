#include "KelvaneSDK/DiagramCheck/ConnectionChecks.h"

namespace KelvaneSDK {

namespace {

std::string inputsOf(std::size_t count) {
    if (count == 1) return "only input 0";
    if (count == 2) return "inputs 0 and 1";
    return "inputs 0 to " + std::to_string(count - 1);
}

// What a receiver does with a value of another type than its slot's.
enum class Reaction : std::uint8_t { passesIt, losesIt, stops };

class ConnectionCheck {
public:
    ConnectionCheck(const NodeTable& table, Wiring& wires, FindingList& list)
        : nodes(table), wiring(wires), findings(list) {}

    void check(const ConnectionInfo& record, std::uint32_t row) {
        const auto from = existing(row, record.outputNodeId, "outputNodeId");
        const auto to = existing(row, record.inputNodeId, "inputNodeId");
        if (!from || !to) return;
        const auto input = existingInput(row, *to, record.inputIndex);
        if (!input) return;
        if (nodes[*from].shape == nullptr || nodes[*to].shape == nullptr) {
            return wiring.connectUnknown(*from, *to, *input, row);
        }
        const ValueClass slotBefore = wiring.inputClass(wiring.portOf(*to, *input));
        const auto outputBefore = wiring.outputClass(*from);
        tell(wiring.connect(*from, *to, *input, row), row, *from, *to, *input, slotBefore, outputBefore);
    }

private:
    std::optional<NodeIndex> existing(std::uint32_t row, std::int64_t id, std::string_view key) {
        const auto node = nodes.find(id);
        if (!node) {
            findings
                .error("connection-unknown-id", Section::connections, row,
                       "no node has the " + std::string(key) + " " + std::to_string(id) +
                           "; the connection would be retried without end")
                .subject(key)
                .fatal();
        }
        return node;
    }

    std::optional<std::size_t> existingInput(std::uint32_t row, NodeIndex to, std::int64_t input) {
        const CheckedNode& node = nodes[to];
        const std::size_t count = wiring.inputCount(to);
        if (input >= 0 && (static_cast<std::uint64_t>(input) < count || node.shape == nullptr)) {
            return static_cast<std::size_t>(input);
        }
        if (node.shape == nullptr || count > 0) {
            findings
                .error("input-out-of-range", Section::connections, row,
                       "the node has " + (count > 0 ? inputsOf(count) : "inputs from 0 on") +
                           "; there is no input " + std::to_string(input))
                .about(node)
                .subject("inputIndex")
                .fatal();
        } else {
            findings
                .error("node-without-inputs", Section::connections, row,
                       "nodes of the class " + quoted(node.record->classString) +
                           " have no inputs to connect to")
                .about(node)
                .subject("inputNodeId")
                .fatal();
        }
        return std::nullopt;
    }

    void tell(ConnectResult result, std::uint32_t row, NodeIndex from, NodeIndex to, std::size_t input,
              ValueClass slotBefore, std::optional<ValueClass> outputBefore) {
        const auto slot = [&] { return nodes[to].inputName(input); };
        switch (result) {
            case ConnectResult::connected:
                return;
            case ConnectResult::lost:
                findings
                    .error("connection-lost", Section::connections, row,
                           slot() + " gets nothing from " + nodeName(nodes[from]) +
                               ", because neither end has a type yet when this connection is made")
                    .about(nodes[to])
                    .subject(slot())
                    .hint(
                        "list it behind a connection that gives one of the nodes its type, or give one an "
                        "outputType");
                return;
            case ConnectResult::adoptionStops:
                findings
                    .error("type-adoption-stops", Section::connections, row,
                           slot() + " is of type " + quoted(typeString(slotBefore)) + " and the output of " +
                               nodeName(nodes[from]) + " of type " + quoted(typeString(*outputBefore)) +
                               "; neither can take its type from the other")
                    .about(nodes[to])
                    .subject(slot())
                    .fatal()
                    .hint(
                        "list it behind a connection that gives one of the nodes its type, or give one an "
                        "outputType");
                return;
            case ConnectResult::slotVanishes:
                findings
                    .error("self-connection-stops", Section::connections, row,
                           "the node feeds its own " + slot() + " before its type is known")
                    .about(nodes[to])
                    .subject(slot())
                    .fatal();
                return;
            case ConnectResult::outputMissing:
                findings
                    .error("output-missing", Section::connections, row, "the node has no output to connect")
                    .about(nodes[from])
                    .subject("outputNodeId")
                    .fatal();
                return;
            case ConnectResult::outputRefused:
                findings
                    .error("output-refused", Section::connections, row,
                           "the output of a variable output cannot feed " + slot() + " of " +
                               nodeName(nodes[to]))
                    .about(nodes[from])
                    .subject("outputNodeId")
                    .hint("connect what feeds the variable output, or give an input stream the same label");
                return;
        }
    }

    const NodeTable& nodes;
    Wiring& wiring;
    FindingList& findings;
};

Reaction reactionOf(const NodeTable& nodes, const Wiring& wiring, const Evaluation& evaluation,
                    const Wire& wire, PayloadTypes foreign) {
    const CheckedNode& node = nodes[wire.to];
    // Of a function outside the library nothing is known.
    if (!node.is(NodeCategory::Function) || !node.shape->traits.isKnown) return Reaction::losesIt;
    const FunctionTraits& traits = node.shape->traits;
    const std::size_t input = wire.port - wiring.firstPort(wire.to);
    if ((traits.takesAnything >> input & 1U) != 0) return Reaction::passesIt;
    if (!isGeneric(node.shape->inputs[input])) return Reaction::stops;
    switch (traits.operation) {
        case SlotOperation::none:
            return Reaction::stops;
        case SlotOperation::sort:
            return foreign.onlyArrays() == foreign ? Reaction::passesIt : Reaction::stops;
        case SlotOperation::isEqual: {
            // Values of two types are not compared; values of one other type on both sides are.
            const Port other = wiring.portOf(wire.to, 1 - input);
            const bool comparable = !(foreign & evaluation.typesInto(other)).empty();
            return comparable && evaluation.supportsItsTypes(wire.to) ? Reaction::stops : Reaction::losesIt;
        }
        default:
            return evaluation.supportsItsTypes(wire.to) ? Reaction::stops : Reaction::losesIt;
    }
}

void checkTypes(const NodeTable& nodes, const Wiring& wiring, const Evaluation& evaluation, const Wire& wire,
                FindingList& findings) {
    const auto outputClass = wiring.outputClass(wire.from);
    if (!outputClass || nodes[wire.to].shape == nullptr) return;
    const ValueClass slotClass = wiring.inputClass(wire.port);
    const PayloadTypes brought = evaluation.typesFrom(wire.from);
    PayloadTypes foreign = brought.without(PayloadTypes(slotClass));
    // What never brings a value is judged by its type alone.
    if (brought.empty()) foreign = PayloadTypes(*outputClass).without(PayloadTypes(slotClass));
    if (foreign.empty()) return;

    const CheckedNode& node = nodes[wire.to];
    const std::string slot = node.inputName(wire.port - wiring.firstPort(wire.to));
    const std::string found =
        nodeName(nodes[wire.from]) + " brings values of type " + quoted(valueTypeName(foreign.first()));
    const std::string expected = slot + " is of type " + quoted(typeString(slotClass)) + ", but " + found;
    const auto reaction = reactionOf(nodes, wiring, evaluation, wire, foreign);
    // A selector is read to find out whether the node runs.
    const bool readsEarly = node.is(NodeCategory::Function) && !brought.empty() &&
                            node.shape->traits.readiness == Readiness::selectedInput &&
                            wire.port == wiring.firstPort(wire.to);
    if (reaction == Reaction::passesIt) {
        findings.warning("type-mismatch", Section::connections, wire.connection, expected)
            .about(node)
            .subject(slot);
    } else {
        findings.error("type-mismatch", Section::connections, wire.connection, expected)
            .about(node)
            .subject(slot)
            .fatal(reaction == Reaction::stops && (evaluation.canRun(wire.to) || readsEarly));
    }
}

}  // namespace

void checkConnections(const DiagramInfo& document, const NodeTable& nodes, Wiring& wiring,
                      FindingList& findings) {
    ConnectionCheck check(nodes, wiring, findings);
    for (std::uint32_t row = 0; row < document.connections.size(); ++row)
        check.check(document.connections[row], row);
    wiring.finish();
}

void checkWires(const NodeTable& nodes, const Wiring& wiring, const Evaluation& evaluation,
                FindingList& findings) {
    for (const Wire& wire : wiring.all()) {
        if (!wire.lost) checkTypes(nodes, wiring, evaluation, wire, findings);
    }
    for (Port port = 0; port < wiring.portCount(); ++port) {
        const auto feeding = wiring.wiresInto(port);
        if (feeding.size() < 2) continue;
        const Wire& first = wiring.all()[feeding[0]];
        const CheckedNode& node = nodes[first.to];
        const std::string slot = node.inputName(port - wiring.firstPort(first.to));
        for (const auto wire : feeding.subspan(1)) {
            findings
                .warning("input-connected-twice", Section::connections, wiring.all()[wire].connection,
                         slot + " is fed by connections[" + std::to_string(first.connection) +
                             "] already; the value that comes last wins")
                .about(node)
                .subject(slot);
        }
    }
}

}  // namespace KelvaneSDK
