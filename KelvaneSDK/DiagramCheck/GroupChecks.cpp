#include <algorithm>
#include <unordered_set>

#include "KelvaneSDK/DiagramCheck/Checks.h"

namespace KelvaneSDK {

namespace {

bool hasProvider(const CheckedDiagram& diagram, const std::unordered_set<NodeIndex>& members) {
    return std::any_of(members.begin(), members.end(), [&](NodeIndex member) {
        const auto fed = diagram.wiresFrom(member);
        return fed.empty() || std::any_of(fed.begin(), fed.end(), [&](std::uint32_t wire) {
                   return !members.contains(diagram.allWires()[wire].to);
               });
    });
}

/// A list of containers with the one that is looked at.
struct OpenContainers {
    const std::vector<ContainerInfo>* list;
    std::size_t index = 0;
};

Place placeOf(const std::vector<OpenContainers>& open, const std::string& below = {}) {
    Place place{Section::containers, open.front().index};
    for (const auto& level : std::span(open).subspan(1))
        place.below += "/containers/" + std::to_string(level.index);
    place.below += below;
    return place;
}

void checkContainer(const CheckedDiagram& diagram, const ContainerInfo& record,
                    const std::vector<OpenContainers>& open, FindingList& findings) {
    const std::string name = "the container " + quoted(record.description);
    if (record.color && !bodyColorNamed(*record.color)) warnOfColor(findings, placeOf(open), *record.color);
    std::unordered_set<NodeIndex> members;
    for (const auto id : record.nodeIds) {
        if (const auto node = diagram.find(id)) members.insert(*node);
    }
    if (members.empty()) {
        findings.add("container-empty", placeOf(open),
                     name + " holds no node; it needs one that provides its output", {.subject = "nodeIds"});
    } else if (!hasProvider(diagram, members)) {
        findings.add("container-without-output", placeOf(open),
                     "the nodes of " + name +
                         " feed only one another; one of them must feed nothing, or a node outside",
                     {.subject = "nodeIds"});
    }
    for (std::size_t k = 0; k < record.nodeIds.size(); ++k) {
        if (diagram.find(record.nodeIds[k])) continue;
        findings.add("container-unknown-id", placeOf(open, "/nodeIds/" + std::to_string(k)),
                     name + " names node " + std::to_string(record.nodeIds[k]) + ", which does not exist",
                     {.subject = "nodeIds"});
    }
}

void checkContainers(const CheckedDiagram& diagram, FindingList& findings) {
    if (!diagram.info.containers) return;
    std::vector<OpenContainers> open{{&*diagram.info.containers}};
    while (!open.empty()) {
        if (open.back().index == open.back().list->size()) {
            open.pop_back();
            if (!open.empty()) ++open.back().index;
            continue;
        }
        const ContainerInfo& record = (*open.back().list)[open.back().index];
        checkContainer(diagram, record, open, findings);
        record.containers ? open.push_back({&*record.containers}) : void(++open.back().index);
    }
}

void checkPositions(const CheckedDiagram& diagram, FindingList& findings) {
    for (std::size_t i = 0; i < diagram.info.positions.size(); ++i) {
        const auto id = diagram.info.positions[i].id;
        if (diagram.find(id)) continue;
        findings.add("position-unknown-id", {Section::positions, i},
                     "a position is given for node " + std::to_string(id) + ", which does not exist",
                     {.subject = "id"});
    }
}

void checkSubdiagrams(const CheckedDiagram& diagram, FindingList& findings) {
    const auto& subdiagrams = diagram.info.subdiagrams;
    if (!subdiagrams || subdiagrams->empty()) return;
    std::vector<bool> contained(diagram.size());
    for (std::size_t i = 0; i < subdiagrams->size(); ++i) {
        const auto& subdiagram = (*subdiagrams)[i];
        for (std::size_t k = 0; k < subdiagram.nodeIds.size(); ++k) {
            if (const auto node = diagram.find(subdiagram.nodeIds[k])) {
                contained[*node] = true;
                continue;
            }
            findings.add("subdiagram-unknown-id", {Section::subdiagrams, i, "/nodeIds/" + std::to_string(k)},
                         "the subdiagram " + quoted(subdiagram.description) + " names node " +
                             std::to_string(subdiagram.nodeIds[k]) + ", which does not exist",
                         {.subject = "nodeIds"});
        }
    }
    for (NodeIndex i = 0; i < diagram.size(); ++i) {
        if (contained[i]) continue;
        findings.add("node-in-no-subdiagram", {Section::nodes, i}, "no subdiagram contains the node",
                     {.about = &diagram[i]});
    }
}

// Labels that several variable outputs have, and streams and outputs of one label but different types.
void checkLabels(const CheckedDiagram& diagram, FindingList& findings) {
    std::unordered_map<std::string_view, NodeIndex> outputs, streams;
    for (NodeIndex i = 0; i < diagram.size(); ++i) {
        if (!diagram[i].is(NodeCategory::VariableOutput)) continue;
        const auto [first, isNew] = outputs.try_emplace(diagram[i].label, i);
        if (isNew) continue;
        findings.add("duplicate-label", {Section::nodes, i},
                     "the label " + quoted(diagram[i].label) + " belongs to " +
                         diagram[first->second].name() +
                         " too; of two values in one batch only the later node's is delivered",
                     {.about = &diagram[i]});
    }
    const auto compare = [&](NodeIndex stream, NodeIndex other, std::string_view what) {
        const auto &type = diagram[stream].record->typeString, &otherType = diagram[other].record->typeString;
        if (type == otherType) return;
        findings.add("label-types-differ", {Section::nodes, stream},
                     "the stream takes values of type " + quoted(type) + ", but " + std::string(what) +
                         diagram[other].name() + " of the same label has type " + quoted(otherType),
                     {.about = &diagram[stream]});
    };
    for (NodeIndex i = 0; i < diagram.size(); ++i) {
        if (!diagram[i].is(NodeCategory::InputStream)) continue;
        if (const auto output = outputs.find(diagram[i].label); output != outputs.end()) {
            compare(i, output->second, "the variable output ");
        }
        const auto [first, isNew] = streams.try_emplace(diagram[i].label, i);
        if (!isNew) compare(i, first->second, "the stream ");
    }
}

}  // namespace

void checkGroups(const CheckedDiagram& diagram, FindingList& findings) {
    checkContainers(diagram, findings);
    checkSubdiagrams(diagram, findings);
    checkPositions(diagram, findings);
    checkLabels(diagram, findings);
}

}  // namespace KelvaneSDK
