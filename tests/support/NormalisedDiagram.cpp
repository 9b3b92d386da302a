#include "support/NormalisedDiagram.h"

#include <algorithm>
#include <map>

namespace KelvaneSDK::testing_support {

namespace {

const NodeInfo* nodeOf(const DiagramInfo& info, std::int64_t id) {
    const auto found = std::find_if(info.nodes.begin(), info.nodes.end(), [&](const auto& node) { return node.id == id; });
    return found == info.nodes.end() ? nullptr : &*found;
}

}  // namespace

DiagramInfo normalised(DiagramInfo info) {
    const auto count = [&](const PropertyInfo& property) {
        return std::count_if(info.properties.begin(), info.properties.end(),
                             [&](const auto& other) { return other.id == property.id && other.propertyString == property.propertyString; });
    };
    std::vector<PropertyInfo> kept;
    for (const auto& property : info.properties) {
        const auto* node = nodeOf(info, property.id);
        const auto says = [&](const char* name, std::string_view value) {
            return property.propertyString == name && property.valueString == value && count(property) == 1;
        };
        if (node == nullptr || !(says("Description", node->typeString) || (says("Forwarding", "true") && node->classString == "Input stream") ||
                                 (says("Hidden", "false") && node->classString == "Variable output"))) {
            kept.push_back(property);
        }
    }
    const auto place = [&](const PropertyInfo& property) {
        const auto* names = property.propertyString == "Description" ? "0" : property.propertyString == "OutputValue" ? "1" : "2";
        return std::pair(property.id, count(property) == 1 ? names : "2");
    };
    std::stable_sort(kept.begin(), kept.end(), [&](const auto& a, const auto& b) { return place(a) < place(b); });
    info.properties = kept;
    std::map<std::int64_t, PositionInfo> last;
    for (const auto& position : info.positions) last[position.id] = position;
    info.positions.clear();
    for (const auto& [id, position] : last) info.positions.push_back(position);
    const auto dropEmpty = [](auto& list) {
        if (list && list->empty()) list.reset();
    };
    dropEmpty(info.manualLines);
    dropEmpty(info.subdiagrams);
    dropEmpty(info.containers);
    std::vector<ContainerInfo*> open;
    for (auto* list : {&info.containers}) {
        if (*list)
            for (auto& box : **list) open.push_back(&box);
    }
    while (!open.empty()) {
        auto* box = open.back();
        open.pop_back();
        dropEmpty(box->containers);
        if (box->containers)
            for (auto& inner : *box->containers) open.push_back(&inner);
    }
    return info;
}

}  // namespace KelvaneSDK::testing_support
