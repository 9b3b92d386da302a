#include "KelvaneSDK/DiagramCheck/CheckedDiagram.h"

#include "KelvaneSDK/DiagramCheck/FindingList.h"

namespace KelvaneSDK {

std::optional<ValueClass> CheckedNode::outputClass() const {
    const auto* output = node != nullptr ? node->outputValue() : nullptr;
    return output != nullptr ? std::optional(output->valueClass()) : std::nullopt;
}

std::string CheckedNode::inputName(std::size_t input) const {
    std::string text = "input " + std::to_string(input);
    const char* const slotLabel = input < inputs().size() ? inputs()[input]->label : nullptr;
    return slotLabel != nullptr ? text + " (" + quoted(slotLabel) + ")" : text;
}

std::string CheckedNode::name() const {
    if (place.line > 0) {
        return (label == record->typeString ? shortened(label) : quoted(label)) + " at " +
               std::to_string(place.line) + ":" + std::to_string(place.column);
    }
    std::string text = "node " + std::to_string(record->id) + " (" + quoted(record->typeString);
    if (label != record->typeString) text += ", " + quoted(label);
    return text + ")";
}

CheckedDiagram::CheckedDiagram(const DiagramInfo& document, std::span<const TextPlace> places)
    : info(document), nodes(document.nodes.size()) {
    for (std::size_t i = 0; i < places.size(); ++i) nodes[i].place = places[i];
}

void CheckedDiagram::index() {
    byId.reserve(nodes.size());
    const auto enter = [&](auto belongs) {
        for (NodeIndex i = 0; i < size(); ++i) {
            if (belongs(nodes[i])) byId.try_emplace(nodes[i].record->id, i);
        }
    };
    for (const auto category : allNodeCategories) {
        enter([category](const CheckedNode& node) { return node.is(category); });
    }
    enter([](const CheckedNode& node) { return node.node == nullptr; });
    portStart.reserve(nodes.size() + 1);
    Port next = 0;
    for (const auto& node : nodes) {
        portStart.push_back(next);
        next += static_cast<Port>(node.inputs().size());
    }
    portStart.push_back(next);
    unfed.resize(next);
}

std::optional<NodeIndex> CheckedDiagram::find(std::int64_t id) const {
    const auto found = byId.find(id);
    return found == byId.end() ? std::nullopt : std::optional(found->second);
}

void CheckedDiagram::markUnfed(NodeIndex node, std::size_t input) {
    if (input < nodes[node].inputs().size()) {
        unfed[firstPort(node) + input] = true;
    } else {
        nodes[node].lacksFeeder = true;
    }
}

template <class RowOf>
void CheckedDiagram::Rows::build(std::size_t rowCount, std::size_t itemCount, RowOf rowOf) {
    starts.assign(rowCount + 1, 0);
    for (std::uint32_t i = 0; i < itemCount; ++i) {
        if (const auto row = rowOf(i)) ++starts[*row + 1];
    }
    for (std::size_t row = 0; row < rowCount; ++row) starts[row + 1] += starts[row];
    items.resize(starts.back());
    auto next = starts;
    for (std::uint32_t i = 0; i < itemCount; ++i) {
        if (const auto row = rowOf(i)) items[next[*row]++] = i;
    }
}

void CheckedDiagram::indexWires() {
    byPort.build(portCount(), wires.size(), [this](std::uint32_t wire) {
        return wires[wire].lost ? std::nullopt : std::optional(portOf(wires[wire]));
    });
    byNode.build(size(), wires.size(),
                 [this](std::uint32_t wire) { return std::optional(wires[wire].from); });
}

}  // namespace KelvaneSDK
