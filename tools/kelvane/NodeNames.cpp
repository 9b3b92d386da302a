#include "NodeNames.h"

#include <utility>

#include "Messages.h"

namespace kelvane {

using namespace KelvaneSDK;

std::vector<const Node*> nodesNamed(const Kelvane& engine, const std::string& option,
                                    const std::string& name) {
    std::vector<const Node*> found;
    std::vector<std::string> known;
    for (const auto category : allNodeCategories) {
        for (const auto& node : engine.nodeList(category)) {
            const auto label = node->descriptionString().value_or("");
            known.emplace_back(label);
            const bool isMeant = name.starts_with('#')
                                     ? node->id && name.substr(1) == std::to_string(*node->id)
                                     : label == name;
            if (isMeant) found.push_back(node.get());
        }
    }
    if (found.empty()) {
        refuseOption(option, withHint("no node is called " + inQuotes(name), nearestNameHint(name, known)));
    }
    return found;
}

NodePlaces::NodePlaces(const Diagram& diagram) : fileName(diagram.name), isText(isTextForm(diagram.text)) {
    const auto data = readDiagram(diagram.text);
    if (!data) return;
    std::vector<Finding> findings(data->info.nodes.size());
    for (std::size_t i = 0; i < findings.size(); ++i) findings[i].pointer = "/nodes/" + std::to_string(i);
    placeFindings(findings, diagram.text);
    for (std::size_t i = 0; i < findings.size(); ++i)
        places.try_emplace(data->info.nodes[i].id, std::move(findings[i]));
}

std::size_t NodePlaces::lineOf(const Node& node) const {
    const auto place = places.find(node.id.value_or(-1));
    return place == places.end() ? 0 : place->second.line;
}

std::string NodePlaces::placeOf(std::int64_t id) const {
    const auto place = places.find(id);
    return place == places.end() ? fileName + ":" : kelvane::placeOf(fileName, place->second);
}

std::string NodePlaces::nameOf(const Node& node) const {
    std::string name = placeOf(node.id.value_or(-1));
    const auto label = node.descriptionString().value_or("");
    if (!isText && node.id) name += " node " + std::to_string(*node.id);
    if (label != node.typeString) name += " " + inQuotes(label);
    const auto category = node.category.value_or(NodeCategory::Function);
    std::string kind(node.typeString);
    if (category != NodeCategory::Function) {
        std::string classString(node.classString());
        classString.front() = static_cast<char>(classString.front() | 0x20);
        kind = classString + " " + kind;
    }
    return name + " (" + printable(kind) + ")";
}

}  // namespace kelvane
