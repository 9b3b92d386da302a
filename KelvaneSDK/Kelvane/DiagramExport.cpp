#include "KelvaneSDK/Diagnostics.h"
#include "KelvaneSDK/Kelvane/EngineState.h"

namespace KelvaneSDK {

namespace {

std::int64_t idOf(const Node& node) {
    if (!node.id) node.stop("the node has no id");
    return *node.id;
}

void appendNode(DiagramInfo& info, const Node& node) {
    const std::int64_t id = idOf(node);
    info.nodes.push_back({id, std::string(node.classString()), std::string(node.typeString),
                          std::optional<std::string>(node.outputType())});
    info.positions.push_back({id, node.position.x, node.position.y});
    for (const auto* slot : node.connectedInputValues()) {
        info.connections.push_back({id, idOf(*slot->owner), slot->index});
    }
    for (auto& [propertyString, valueString] : node.getProperties()) {
        info.properties.push_back({id, std::move(propertyString), std::move(valueString)});
    }
}

}  // namespace

std::string Kelvane::createJSON() {
    std::string text;
    engine->perform([&] {
        std::int64_t next = 0;
        for (const auto& list : engine->nodeLists) {
            for (const auto& node : list) node->id = next++;
        }
        text = DiagramData{engine->describe()}.encode();
    });
    return text;
}

DiagramInfo EngineState::describe() const {
    DiagramInfo info;
    info.containers.emplace();
    for (const auto& container : containers) info.containers->push_back(container->getContainerInfo());
    info.subdiagrams.emplace();
    for (const auto& subdiagram : subdiagrams) {
        SubdiagramInfo record{subdiagram.description, {}};
        for (const auto* node : subdiagram.nodes) record.nodeIds.push_back(idOf(*node));
        info.subdiagrams->push_back(std::move(record));
    }
    for (const auto& list : nodeLists) {
        for (const auto& node : list) appendNode(info, *node);
    }
    info.manualLines = manualLines;
    return info;
}

}  // namespace KelvaneSDK
