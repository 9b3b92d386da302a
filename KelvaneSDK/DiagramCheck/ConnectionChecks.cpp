#include <limits>

#include "KelvaneSDK/DiagramCheck/Checks.h"

namespace KelvaneSDK {

namespace {

constexpr const char* orderHint =
    "list it behind a connection that gives one of the nodes its type, or give one an outputType";
constexpr const char* typeHint = "say the type behind one of the calls, as in Add(a, b): Float";

std::string inputsOf(std::size_t count) {
    if (count == 1) return "only input 0";
    if (count == 2) return "inputs 0 and 1";
    return "inputs 0 to " + std::to_string(count - 1);
}

class ConnectionCheck {
public:
    ConnectionCheck(CheckedDiagram& target, FindingList& list) : diagram(target), findings(list) {}

    void check(std::uint32_t row) {
        const auto& record = diagram.info.connections[row];
        const auto from = existing(row, record.outputNodeId, "outputNodeId");
        const auto to = existing(row, record.inputNodeId, "inputNodeId");
        const auto input = to ? existingInput(row, *to, record.inputIndex) : noInput;
        if (from && input != noInput && diagram[*from].node != nullptr && diagram[*to].node != nullptr) {
            connect(row, *from, *to, input);
            return;
        }
        if (from) diagram[*from].lacksReader = true;
        if (to) diagram.markUnfed(*to, input);
    }

private:
    static constexpr auto noInput = std::numeric_limits<std::size_t>::max();

    std::optional<NodeIndex> existing(std::uint32_t row, std::int64_t id, std::string_view key) {
        const auto node = diagram.find(id);
        if (!node) {
            findings.add("connection-unknown-id", at(row),
                         "no node has the " + std::string(key) + " " + std::to_string(id) +
                             "; the connection would be retried without end",
                         {.subject = key});
        }
        return node;
    }

    std::size_t existingInput(std::uint32_t row, NodeIndex to, std::int64_t input) {
        const CheckedNode& node = diagram[to];
        const std::size_t count = node.inputs().size();
        const auto wanted = static_cast<std::uint64_t>(input);
        if (input >= 0 && (wanted < count || node.node == nullptr)) return wanted;
        if (count > 0 || node.node == nullptr) {
            findings.add("input-out-of-range", at(row),
                         "the node has " + (count > 0 ? inputsOf(count) : "inputs from 0 on") +
                             "; there is no input " + std::to_string(input),
                         {.about = &node, .subject = "inputIndex"});
        } else {
            findings.add(
                "node-without-inputs", at(row),
                "nodes of the class " + quoted(node.record->classString) + " have no inputs to connect to",
                {.about = &node, .subject = "inputNodeId"});
        }
        return noInput;
    }

    void connect(std::uint32_t row, NodeIndex from, NodeIndex to, std::size_t input) {
        Node& source = *diagram[from].node;
        const CheckedNode& target = diagram[to];
        const auto slotBefore = target.inputs()[input]->valueClass();
        const auto outputBefore = diagram[from].outputClass();
        const std::size_t countBefore = source.connectedInputValues().size();
        const auto outcome = outcomeOf([&] { source.connectOutput(*target.inputs()[input]); });
        const auto connected = source.connectedInputValues();
        if (!outcome.stop && connected.size() == countBefore) return reportRefusal(row, from, to, input);
        const bool isLost = !outcome.stop && connected.back() != target.inputs()[input];
        if (!outcome.stop) diagram.addWire({from, to, static_cast<std::uint32_t>(input), row, isLost});
        if (!outcome.stop && !isLost) return;

        diagram.markUnfed(to, input);
        const std::string slot = target.inputName(input);
        const char* const hint = target.place.line > 0 ? typeHint : orderHint;
        const auto report = [&](Code code, std::string message, const char* remedy = "") {
            findings.add(code, at(row), std::move(message),
                         {.about = &target, .subject = slot, .hint = remedy});
        };
        if (isLost) {
            return report("connection-lost",
                          slot + " gets nothing from " + diagram[from].name() +
                              ", because neither end has a type yet when this connection is made",
                          hint);
        }
        diagram[from].lacksReader = true;
        if (!outputBefore) {
            findings.add("output-missing", at(row), "the node has no output to connect",
                         {.about = &diagram[from], .subject = "outputNodeId"});
        } else if (from == to) {
            report("self-connection-stops", "the node feeds its own " + slot + " before its type is known");
        } else if (isGeneric(slotBefore) || isGeneric(*outputBefore)) {
            report("type-adoption-stops",
                   slot + " is of type " + quoted(typeString(slotBefore)) + " and the output of " +
                       diagram[from].name() + " of type " + quoted(typeString(*outputBefore)) +
                       "; neither can take its type from the other",
                   hint);
        } else {
            report("building-stops", "the program would stop here: " + shortened(outcome.stop->text));
        }
    }

    void reportRefusal(std::uint32_t row, NodeIndex from, NodeIndex to, std::size_t input) {
        diagram[from].lacksReader = true;
        diagram.markUnfed(to, input);
        findings.add(
            "output-refused", at(row),
            "the output of a variable output cannot feed " + diagram[to].inputName(input) + " of " +
                diagram[to].name(),
            {.about = &diagram[from],
             .subject = "outputNodeId",
             .hint = "connect what feeds the variable output, or give an input stream the same label"});
    }

    static Place at(std::uint32_t row) { return {Section::connections, row}; }

    CheckedDiagram& diagram;
    FindingList& findings;
};

}  // namespace

void checkConnections(CheckedDiagram& diagram, FindingList& findings) {
    ConnectionCheck check(diagram, findings);
    for (std::uint32_t row = 0; row < diagram.info.connections.size(); ++row) check.check(row);
    diagram.indexWires();
}

}  // namespace KelvaneSDK
