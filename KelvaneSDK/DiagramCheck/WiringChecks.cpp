#include <algorithm>
#include <bit>

#include "KelvaneSDK/DiagramCheck/Checks.h"
#include "KelvaneSDK/Nodes/InputStreamNode.h"

namespace KelvaneSDK {

namespace {

class WiringCheck {
public:
    WiringCheck(const CheckedDiagram& checked, const NodeRegistry& types, const WiringReading& wiring,
                FindingList& list)
        : diagram(checked), registry(types), reading(wiring), findings(list) {}

    void run() {
        for (const Wire& wire : diagram.allWires()) {
            if (!wire.lost) checkPayload(wire);
        }
        for (NodeIndex i = 0; i < diagram.size(); ++i) {
            checkFeeders(i);
            if (diagram[i].node == nullptr) continue;
            if (diagram[i].isFunction()) {
                checkSlotTypes(i);
                if (reading.canRun(i)) checkDemands(i);
            }
            checkUse(i);
        }
    }

private:
    static Place at(NodeIndex index) { return {Section::nodes, index}; }

    void checkPayload(const Wire& wire) {
        const CheckedNode &source = diagram[wire.from], &node = diagram[wire.to];
        const auto slotClass = node.inputs()[wire.input]->valueClass();
        const auto outputClass = source.outputClass();
        PayloadTypes brought = reading.typesFrom(wire.from);
        // What never brings a value is judged by its type alone.
        if (brought.none() && outputClass) brought = typesOf(*outputClass);
        const auto foreign = brought & ~typesOf(slotClass);
        if (foreign.none()) return;
        const auto foreignType = static_cast<ValueType>(std::countr_zero(foreign.to_ulong()));
        const std::string slot = node.inputName(wire.input);
        const std::string_view found = valueTypeName(foreignType), wanted = typeString(slotClass);
        const bool isPassedOn =
            node.declaration != nullptr && node.declaration->takesAnything.contains(wire.input);
        std::string hint;
        if (!isPassedOn && convertsTo(slotClass, foreignType))
            hint = source.category == NodeCategory::Constant
                       ? "give the constant the type " + quoted(wanted)
                       : "put a node " + quoted(wanted) + " between them, which converts the values";
        findings.add("type-mismatch", {Section::connections, wire.connection},
                     slot + " is of type " + quoted(wanted) + ", but " + source.name() +
                         " brings values of type " + quoted(found),
                     {.about = &node,
                      .subject = slot,
                      .hint = hint,
                      .severity = isPassedOn ? Severity::warning : Severity::error});
    }

    // Whether a function that is called like the type makes such values of others.
    bool convertsTo(ValueClass wanted, ValueType from) const {
        const auto* const nodeClass = registry.find(NodeCategory::Function, typeString(wanted));
        if (nodeClass == nullptr || nodeClass->declaration().inputs.size() != 1) return false;
        return nodeClass->declaration().output == wanted &&
               payloadType(nodeClass->declaration().inputs[0].type) == from;
    }

    void checkFeeders(NodeIndex index) {
        for (std::size_t i = 0; i < diagram[index].inputs().size(); ++i) {
            const auto feeding = diagram.wiresInto(diagram.firstPort(index) + static_cast<Port>(i));
            if (feeding.size() < 2) continue;
            const std::string slot = diagram[index].inputName(i);
            const auto& wire = diagram.allWires()[feeding.front()];
            const std::string first = diagram[index].place.line > 0
                                          ? diagram[wire.from].name()
                                          : "connections[" + std::to_string(wire.connection) + "]";
            for (const auto later : feeding.subspan(1)) {
                findings.add("input-connected-twice",
                             {Section::connections, diagram.allWires()[later].connection},
                             slot + " is fed by " + first + " already; the value that comes last wins",
                             {.about = &diagram[index], .subject = slot});
            }
        }
    }

    void checkSlotTypes(NodeIndex index) {
        const CheckedNode& node = diagram[index];
        if (reading.isInDoubt(index)) return;
        std::optional<ValueClass> open, unsupported;
        const auto look = [&](const TimestampedVariable& slot) {
            const auto actual = slot.valueClass();
            if (isGeneric(actual)) open = actual;
            const auto list = node.node->unsupportedTypes();
            if (slot.isTyped && std::find(list.begin(), list.end(), actual) != list.end())
                unsupported = actual;
        };
        for (const auto* slot : node.inputs()) look(*slot);
        if (const auto* output = node.node->outputValue()) look(*output);
        if (open && !leadsToDoubt(index)) {
            findings.add(
                "type-unresolved", at(index),
                "no connection or outputType gives the node's " + quoted(typeString(*open)) + " slots a type",
                {.about = &node});
        }
        if (!reading.supportsItsTypes(index)) unsupported = node.inputs().back()->valueClass();
        if (!unsupported) return;
        const bool isReported = node.declaration->reportsUnsupported && reading.canRun(index);
        findings.add("type-unsupported", at(index),
                     quoted(node.record->typeString) + " does not support values of type " +
                         quoted(typeString(*unsupported)),
                     {.about = &node, .severity = isReported ? Severity::error : Severity::warning});
    }

    // A reader that is not known might have given the node its type.
    bool leadsToDoubt(NodeIndex index) const {
        const auto wires = diagram.wiresFrom(index);
        return diagram[index].lacksReader || std::any_of(wires.begin(), wires.end(), [&](std::uint32_t wire) {
                   return reading.isInDoubt(diagram.allWires()[wire].to);
               });
    }

    void checkDemands(NodeIndex index) {
        const CheckedNode& node = diagram[index];
        for (const auto& demand : node.declaration->demands) {
            std::vector<const Value*> values(node.inputs().size());
            std::vector<ValueClass> slots;
            for (const auto* slot : node.inputs()) slots.push_back(slot->valueClass());
            std::string fixed;
            std::optional<std::size_t> first;
            bool areConstants = true;
            for (std::size_t i = 0; i < values.size() && areConstants; ++i) {
                if (!demand.inputs.contains(i)) continue;
                const auto source = reading.constantInto(index, i);
                areConstants = source.has_value();
                if (areConstants) values[i] = &reading.valueOf(*source);
            }
            const auto violation = areConstants ? demand.violation(values, slots) : std::nullopt;
            if (!violation) continue;
            for (std::size_t i = 0; i < values.size(); ++i) {
                if (values[i] == nullptr) continue;
                if (!first) first = i;
                fixed += (fixed.empty() ? "" : ", ") + node.inputName(i) + " is fixed at " +
                         valueText(*values[i]) + " by " + diagram[*reading.constantInto(index, i)].name();
            }
            findings.add("constant-stops", at(index), fixed + "; " + *violation,
                         {.about = &node, .subject = first ? node.inputName(*first) : "", .input = first});
            return;
        }
    }

    void checkUse(NodeIndex index) {
        const CheckedNode& node = diagram[index];
        for (std::size_t i = 0; i < node.inputs().size(); ++i) {
            if (!diagram.isFree(index, i)) continue;
            findings.add("input-unconnected", at(index),
                         node.inputName(i) + " is not connected, so that the node never runs",
                         {.about = &node, .subject = node.inputName(i), .input = i});
        }
        if (isSilent(index)) reportSilenced(index);
        // Forwarded streams and variable outputs reach the application themselves.
        const auto* const stream = dynamic_cast<const InputStreamNode*>(node.node.get());
        const bool isDelivered =
            node.is(NodeCategory::VariableOutput) || (stream != nullptr && stream->forwarding());
        if (!isDelivered && !node.lacksReader && diagram.wiresFrom(index).empty()) {
            findings.add("output-unused", at(index), "the output feeds nothing", {.about = &node});
        }
    }

    // Never gives a value for a reason of its own.
    bool isSilent(NodeIndex index) const {
        return reading.canRun(index) ? !reading.canEmit(index) : diagram.hasFreeInput(index);
    }

    // One finding for all the nodes that never run because this one is silent.
    void reportSilenced(NodeIndex cause) {
        silenced.resize(diagram.size());
        std::vector<NodeIndex> open{cause};
        const Wire* first = nullptr;
        std::size_t count = 0;
        while (!open.empty()) {
            const NodeIndex node = open.back();
            open.pop_back();
            for (const auto index : diagram.wiresFrom(node)) {
                const Wire& wire = diagram.allWires()[index];
                if (wire.lost || silenced[wire.to] || reading.canRun(wire.to) || isSilent(wire.to)) continue;
                silenced[wire.to] = true;
                open.push_back(wire.to);
                ++count;
                if (node == cause && (first == nullptr || wire.to < first->to)) first = &wire;
            }
        }
        if (first == nullptr) return;
        const CheckedNode& node = diagram[first->to];
        std::string others;
        if (count == 2) others = "; nor does the node behind it";
        if (count > 2) others = "; nor do " + std::to_string(count - 1) + " more nodes behind it";
        findings.add("never-runs", at(first->to),
                     "the node never runs, because " + node.inputName(first->input) + " waits for " +
                         diagram[cause].name() +
                         (reading.canRun(cause) ? ", which never gives an output" : ", which never runs") +
                         others,
                     {.about = &node, .subject = node.inputName(first->input), .input = first->input});
    }

    const CheckedDiagram& diagram;
    const NodeRegistry& registry;
    const WiringReading& reading;
    FindingList& findings;
    std::vector<bool> silenced;
};

}  // namespace

void checkWires(const CheckedDiagram& diagram, const NodeRegistry& registry, const WiringReading& reading,
                FindingList& findings) {
    WiringCheck(diagram, registry, reading, findings).run();
}

}  // namespace KelvaneSDK
