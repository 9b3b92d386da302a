#include "NodeNames.h"

#include <optional>
#include <utility>

#include "Messages.h"

namespace kelvane {

using namespace KelvaneSDK;

namespace {

/// Looks for nodes by a name on the command line.
class NodeSearch {
public:
    explicit NodeSearch(const std::string& wanted) : name(wanted) {}

    bool isMeant(std::string_view label, std::optional<std::int64_t> id) {
        known.emplace_back(label);
        const bool isMeant =
            name.starts_with('#') ? id && name.substr(1) == std::to_string(*id) : label == name;
        hasFound |= isMeant;
        return isMeant;
    }
    void refuseUnlessFound(const std::string& option) const {
        if (!hasFound)
            refuseOption(option,
                         withHint("no node is called " + inQuotes(name), nearestNameHint(name, known)));
    }

private:
    const std::string& name;
    std::vector<std::string> known;
    bool hasFound = false;
};

}  // namespace

std::vector<const Node*> nodesNamed(const Kelvane& engine, const std::string& option,
                                    const std::string& name) {
    NodeSearch search(name);
    std::vector<const Node*> found;
    for (const auto category : allNodeCategories) {
        for (const auto& node : engine.nodeList(category)) {
            if (search.isMeant(node->descriptionString().value_or(""), node->id)) found.push_back(node.get());
        }
    }
    search.refuseUnlessFound(option);
    return found;
}

std::vector<std::int64_t> nodesNamed(const DiagramInfo& document, const std::string& option,
                                     const std::string& name) {
    std::map<std::int64_t, std::string_view> labels;
    for (const auto& property : document.properties)
        if (property.propertyString == "Description")
            labels.insert_or_assign(property.id, property.valueString);
    NodeSearch search(name);
    std::vector<std::int64_t> found;
    for (const auto& node : document.nodes) {
        const auto label = labels.find(node.id);
        if (search.isMeant(label == labels.end() ? node.typeString : label->second, node.id))
            found.push_back(node.id);
    }
    search.refuseUnlessFound(option);
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
