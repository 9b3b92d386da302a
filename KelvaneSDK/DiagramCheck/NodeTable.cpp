#include "KelvaneSDK/DiagramCheck/NodeTable.h"

namespace KelvaneSDK {

std::string CheckedNode::inputName(std::size_t input) const {
    std::string name = "input " + std::to_string(input);
    if (shape != nullptr && shape->inputLabels[input] != nullptr)
        name += " (" + quoted(shape->inputLabels[input]) + ")";
    return name;
}

std::string nodeName(const CheckedNode& node) {
    std::string name = "node " + std::to_string(node.record->id) + " (" + quoted(node.record->typeString);
    if (node.label != node.record->typeString) name += ", " + quoted(node.label);
    return name + ")";
}

NodeTable::NodeTable(const DiagramInfo& document, const NodeRegistry& registry) {
    nodes.resize(document.nodes.size());
    for (NodeIndex i = 0; i < size(); ++i) {
        const NodeInfo& record = document.nodes[i];
        nodes[i].record = &record;
        nodes[i].label = record.typeString;
        if (const auto category = categoryNamed(record.classString)) {
            nodes[i].shape = shapeOf(*category, record.typeString, registry);
        }
    }
    byId.reserve(nodes.size());
    const auto enter = [&](auto belongs) {
        for (NodeIndex i = 0; i < size(); ++i) {
            if (belongs(nodes[i])) byId.try_emplace(nodes[i].record->id, i);
        }
    };
    for (const auto category : allNodeCategories) {
        enter([category](const CheckedNode& node) { return node.is(category); });
    }
    enter([](const CheckedNode& node) { return node.shape == nullptr; });
}

std::optional<NodeIndex> NodeTable::find(std::int64_t id) const {
    const auto found = byId.find(id);
    return found == byId.end() ? std::nullopt : std::optional(found->second);
}

const NodeShape* NodeTable::shapeOf(NodeCategory category, std::string_view typeString,
                                    const NodeRegistry& registry) {
    auto& known = shapes[static_cast<std::size_t>(category)];
    const auto [entry, isNew] = known.try_emplace(typeString);
    if (!isNew) return entry->second.get();
    const NodeClass* const nodeClass = registry.find(category, typeString);
    if (nodeClass == nullptr) return nullptr;
    const auto instance = nodeClass->make();
    NodeShape shape{category, {}, {}, std::nullopt, {}, {}};
    for (const auto* slot : instance->inputValues()) {
        shape.inputs.push_back(slot->valueClass());
        shape.inputLabels.push_back(slot->label);
    }
    if (const auto* output = instance->outputValue()) shape.output = output->valueClass();
    shape.unsupported.assign(instance->unsupportedTypes.begin(), instance->unsupportedTypes.end());
    if (category == NodeCategory::Function) shape.traits = traitsOf(typeString);
    entry->second = std::make_unique<NodeShape>(std::move(shape));
    return entry->second.get();
}

}  // namespace KelvaneSDK
