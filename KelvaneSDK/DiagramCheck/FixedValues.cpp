#include "KelvaneSDK/DiagramCheck/FixedValues.h"

#include <algorithm>

#include "KelvaneSDK/StopTrial.h"

namespace KelvaneSDK {

namespace {

bool isText(std::optional<ValueClass> valueClass) {
    return valueClass == ValueClass::StringValue || valueClass == ValueClass::StringArrayVariable;
}

// In all trials, and of one list.
constexpr std::size_t mostElementsInAll = 16'000'000, mostElements = 1'000'000;
constexpr double mostSeconds = 0.5;

}  // namespace

FixedValues::FixedValues(const NodeTable& table, const Wiring& wires,
                         const std::function<bool(const FixedValues&, NodeIndex)>& mayTry)
    : nodes(table),
      wiring(wires),
      values(table.size()),
      stops(table.size()),
      tried(table.size()),
      elementsLeft(mostElementsInAll) {
    std::vector<NodeIndex> open;
    for (NodeIndex i = 0; i < nodes.size(); ++i) {
        values[i] = nodes[i].constant;
        if (values[i]) open.push_back(i);
    }
    while (!open.empty()) {
        const NodeIndex node = open.back();
        open.pop_back();
        for (const auto index : wiring.wiresFrom(node)) {
            const NodeIndex to = wiring.all()[index].to;
            // Texts stop nothing and grow with every addition.
            if (tried[to] || !nodes[to].is(NodeCategory::Function) || isText(wiring.outputClass(to)) ||
                !allInputsAreFixed(to) || !mayTry(*this, to)) {
                continue;
            }
            tried[to] = true;
            tryOut(to);
            if (values[to]) open.push_back(to);
        }
    }
}

bool FixedValues::allInputsAreFixed(NodeIndex function) const {
    for (std::size_t i = 0; i < wiring.inputCount(function); ++i) {
        if (!sourceOf(function, i)) return false;
    }
    return true;
}

std::optional<NodeIndex> FixedValues::sourceOf(NodeIndex node, std::size_t input) const {
    if (input >= wiring.inputCount(node)) return std::nullopt;
    const Port port = wiring.portOf(node, input);
    const auto feeding = wiring.wiresInto(port);
    if (feeding.empty()) return std::nullopt;
    NodeIndex source = wiring.all()[feeding[0]].from;
    for (const auto wire : feeding.subspan(1)) {
        const NodeIndex other = wiring.all()[wire].from;
        if (other == source) continue;
        // Of several constants the last one wins; a function's turn comes later.
        if (!nodes[source].is(NodeCategory::Constant) || !nodes[other].is(NodeCategory::Constant))
            return std::nullopt;
        source = std::max(source, other);
    }
    const bool fits = values[source] && payloadType(wiring.inputClass(port)) == values[source]->type();
    return fits ? std::optional(source) : std::nullopt;
}

std::size_t FixedValues::elementsInto(NodeIndex function) const {
    std::size_t count = 1;
    for (std::size_t i = 0; i < wiring.inputCount(function); ++i) {
        count += values[*sourceOf(function, i)]->elementCount();
    }
    return count;
}

// Lets a node of the function do it.
void FixedValues::tryOut(NodeIndex function) {
    const auto cost = elementsInto(function);
    if (cost > elementsLeft) return;
    elementsLeft -= cost;
    const auto* const nodeClass =
        NodeRegistry::library().find(NodeCategory::Function, nodes[function].record->typeString);
    if (nodeClass == nullptr) return;
    const auto node = nodeClass->make();
    if (!giveInputs(*node, function)) return;
    EvaluationBudget budget;
    budget.setLimits({std::min(mostElements, elementsLeft), mostSeconds});
    budget.beginBatch();
    node->keepTo(budget);
    node->id = nodes[function].record->id;
    const auto prefix = node->nameInMessages() + ": ";
    auto reason = reasonOfStop([&] { node->process(); });
    if (reason) {
        if (reason->find(beyondLimit) != std::string::npos) {
            // One such function is enough.
            elementsLeft = 0;
            return;
        }
        stops[function] = reason->starts_with(prefix) ? reason->substr(prefix.size()) : std::move(*reason);
        return;
    }
    const auto* output = node->outputValue();
    if (nodeClass->hasState || output == nullptr || !output->updated) return;
    elementsLeft -= std::min(elementsLeft, output->payload()->elementCount());
    values[function] = *output->payload();
}

// On slots of the types that the document gives it; false when they cannot be had.
bool FixedValues::giveInputs(Node& node, NodeIndex function) const {
    const std::size_t count = wiring.inputCount(function);
    if (node.inputValues().size() != count) return false;
    for (std::size_t i = 0; i < count; ++i) {
        const auto slotClass = wiring.inputClass(wiring.portOf(function, i));
        if (node.inputValues()[i]->isGenericSlot()) node.specializeGenericTypes(*makeSlot(slotClass));
        auto& slot = *node.inputValues()[i];
        if (slot.valueClass() != slotClass) return false;
        slot.setValue(*values[*sourceOf(function, i)]);
        slot.updated = true;
    }
    return true;
}

}  // namespace KelvaneSDK
