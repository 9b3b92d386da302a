#include "KelvaneSDK/DiagramCheck/FixedValues.h"

#include <algorithm>

namespace KelvaneSDK {

namespace {

// Functions without memory that stop on no value of their types, integer overflow and division apart.
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

}  // namespace

FixedValues::FixedValues(const NodeTable& table, const Wiring& wires,
                         const std::function<bool(const FixedValues&, NodeIndex)>& isSafe)
    : nodes(table), wiring(wires), values(table.size()) {
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
            if (values[to] || !nodes[to].is(NodeCategory::Function) ||
                !std::binary_search(std::begin(computable), std::end(computable),
                                    nodes[to].record->typeString)) {
                continue;
            }
            // No rule asks for texts, which grow with every addition.
            if (isText(wiring.outputClass(to))) continue;
            bool allFixed = true;
            for (std::size_t i = 0; allFixed && i < wiring.inputCount(to); ++i)
                allFixed = sourceOf(to, i).has_value();
            if (!allFixed || !isSafe(*this, to)) continue;
            values[to] = computed(to);
            if (values[to]) open.push_back(to);
        }
    }
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

// Lets a node of the function do it, on slots of the types that the document gives it.
std::optional<Value> FixedValues::computed(NodeIndex function) const {
    const auto* const nodeClass =
        NodeRegistry::library().find(NodeCategory::Function, nodes[function].record->typeString);
    if (nodeClass == nullptr) return std::nullopt;
    const auto node = nodeClass->make();
    const std::size_t count = wiring.inputCount(function);
    if (node->inputValues().size() != count) return std::nullopt;
    for (std::size_t i = 0; i < count; ++i) {
        if (node->inputValues()[i]->isGenericSlot()) {
            node->specializeGenericTypes(*makeSlot(wiring.inputClass(wiring.portOf(function, i))));
        }
        auto& slot = *node->inputValues()[i];
        if (slot.valueClass() != wiring.inputClass(wiring.portOf(function, i))) return std::nullopt;
        slot.setValue(*values[*sourceOf(function, i)]);
        slot.updated = true;
    }
    node->process();
    return node->outputValue() != nullptr ? node->outputValue()->value() : std::nullopt;
}

}  // namespace KelvaneSDK
