#include "KelvaneSDK/DiagramCheck/FixedValues.h"

#include <algorithm>

#include "KelvaneSDK/StopTrial.h"

namespace KelvaneSDK {

namespace {

// Functions without memory, of which the same inputs give the same output in every batch.
constexpr std::string_view computable[] = {"Absolute",
                                           "Add",
                                           "And",
                                           "Array absolute",
                                           "Average",
                                           "Cap values",
                                           "Clip",
                                           "Convert to sequence",
                                           "Cosine",
                                           "Degrees to radians",
                                           "Distance",
                                           "Divide",
                                           "Equal",
                                           "Euler to quaternion",
                                           "Float",
                                           "Gate",
                                           "Get element",
                                           "Integer",
                                           "Intersections",
                                           "Inverse cosine",
                                           "Inverse sine",
                                           "Inverse tangent",
                                           "Larger",
                                           "Larger or equal",
                                           "Limiter",
                                           "Make quaternion",
                                           "Make vector",
                                           "Max",
                                           "Maximum",
                                           "Min",
                                           "Minimum",
                                           "Modulo",
                                           "Multiply",
                                           "Negate",
                                           "Normalize quaternion",
                                           "Normalize vector",
                                           "Not",
                                           "Number of elements",
                                           "Or",
                                           "Pass-through",
                                           "Power",
                                           "Quaternion",
                                           "Quaternion angle",
                                           "Quaternion axis",
                                           "Quaternion to Euler",
                                           "Radians to degrees",
                                           "Rotation matrix to quaternion",
                                           "Round",
                                           "Select interval",
                                           "Sequence timestamps",
                                           "Sequence values",
                                           "Shift elements",
                                           "Shift time",
                                           "Sine",
                                           "Smaller",
                                           "Smaller or equal",
                                           "Subtract",
                                           "Switch",
                                           "Tangent",
                                           "Vector angle",
                                           "Vector cross product",
                                           "Vector dot product",
                                           "Vector length",
                                           "Vector x-coordinate",
                                           "Vector y-coordinate",
                                           "Vector z-coordinate",
                                           "Xor"};
static_assert(std::is_sorted(std::begin(computable), std::end(computable)));

bool isText(std::optional<ValueClass> valueClass) {
    return valueClass == ValueClass::StringValue || valueClass == ValueClass::StringArrayVariable;
}

bool isComputable(const CheckedNode& node) {
    return std::binary_search(std::begin(computable), std::end(computable), node.record->typeString);
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
    if (feeding.size() != 1) return std::nullopt;
    const NodeIndex source = wiring.all()[feeding[0]].from;
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
    const auto node = nodeWithInputs(function);
    if (node == nullptr) return;
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
    if (output == nullptr || !output->updated || !isComputable(nodes[function])) return;
    elementsLeft -= std::min(elementsLeft, output->payload()->elementCount());
    values[function] = *output->payload();
}

// On slots of the types that the document gives it; null when they cannot be had.
std::unique_ptr<Node> FixedValues::nodeWithInputs(NodeIndex function) const {
    const auto* const nodeClass =
        NodeRegistry::library().find(NodeCategory::Function, nodes[function].record->typeString);
    if (nodeClass == nullptr) return nullptr;
    auto node = nodeClass->make();
    const std::size_t count = wiring.inputCount(function);
    if (node->inputValues().size() != count) return nullptr;
    for (std::size_t i = 0; i < count; ++i) {
        if (node->inputValues()[i]->isGenericSlot()) {
            node->specializeGenericTypes(*makeSlot(wiring.inputClass(wiring.portOf(function, i))));
        }
        auto& slot = *node->inputValues()[i];
        if (slot.valueClass() != wiring.inputClass(wiring.portOf(function, i))) return nullptr;
        slot.setValue(*values[*sourceOf(function, i)]);
        slot.updated = true;
    }
    return node;
}

}  // namespace KelvaneSDK
