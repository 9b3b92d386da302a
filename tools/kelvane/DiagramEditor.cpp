#include "DiagramEditor.h"

#include <algorithm>
#include <limits>
#include <set>
#include <unordered_map>
#include <utility>

#include "EngineOptions.h"
#include "Messages.h"

namespace kelvane {

using namespace KelvaneSDK;

namespace {

std::optional<std::int64_t> idIn(const std::string& name) {
    if (name.size() < 2 || name.front() != '#') return std::nullopt;
    const auto value = valueFromText(ValueClass::IntegerValue, name.substr(1));
    return value ? std::optional(value->get<std::int64_t>()) : std::nullopt;
}

/// Takes an id out of a list of boxes; those that it leaves empty go, too.
void removeFrom(std::vector<ContainerInfo>& boxes, std::int64_t id) {
    std::erase_if(boxes, [&](ContainerInfo& box) {
        const bool wasMember = std::erase(box.nodeIds, id) > 0;
        const bool hadBoxes = box.containers && !box.containers->empty();
        if (box.containers) removeFrom(*box.containers, id);
        const bool hasBoxes = box.containers && !box.containers->empty();
        return box.nodeIds.empty() && !hasBoxes && (wasMember || hadBoxes);
    });
}

}  // namespace

DiagramEditor::DiagramEditor(std::string fileName, DiagramInfo diagram, std::vector<NestedNode> nestedNodes)
    : file(std::move(fileName)), info(std::move(diagram)), nested(std::move(nestedNodes)) {
    readNodes();
}

void DiagramEditor::readNodes() {
    nodes.clear();
    std::unordered_map<std::int64_t, std::size_t> byId;
    for (const auto& record : info.nodes) {
        Node node{record.id, categoryNamed(record.classString), nullptr, record.typeString};
        if (node.category) node.nodeClass = NodeRegistry::library().find(*node.category, record.typeString);
        byId.try_emplace(record.id, nodes.size());
        nodes.push_back(std::move(node));
    }
    for (const auto& property : info.properties) {
        const auto found = byId.find(property.id);
        if (found != byId.end() && property.propertyString == "Description")
            nodes[found->second].label = property.valueString;
    }
}

void DiagramEditor::refuse(const std::string& reason, const std::string& hint) const {
    throw Failure{ExitStatus::wrongUsage, "kelvane: " + file + ": " + withHint(reason, hint)};
}

void DiagramEditor::note(const std::string& what) const { report(file + ": note: " + what); }

std::vector<const DiagramEditor::Node*> DiagramEditor::bearers(const std::string& name,
                                                               const Condition& fits) const {
    std::vector<const Node*> found;
    const auto id = idIn(name);
    for (const auto& node : nodes) {
        if ((id ? node.id == *id : node.label == name) && fits(node)) found.push_back(&node);
    }
    return found;
}

void DiagramEditor::refuseUnknown(const std::string& name, const std::string& role,
                                  const Condition& fits) const {
    const auto others = bearers(name, [](const Node&) { return true; });
    if (!others.empty()) refuse(shown(*others.front()) + " is no " + role);
    if (idIn(name)) refuse("no node has the id " + name.substr(1));
    std::vector<std::string> labels;
    for (const auto& node : nodes) {
        if (fits(node)) labels.push_back(node.label);
    }
    refuse("no " + role + " is called " + inQuotes(name), nearestNameHint(name, labels));
}

const DiagramEditor::Node& DiagramEditor::only(const std::string& name, const std::string& role,
                                               const Condition& fits) const {
    const auto found = bearers(name, fits);
    if (found.empty()) refuseUnknown(name, role, fits);
    if (found.size() == 1) return *found.front();
    std::string ids;
    for (const auto* node : found) ids += (ids.empty() ? "#" : ", #") + std::to_string(node->id);
    if (idIn(name)) refuse(std::to_string(found.size()) + " nodes have the id " + name.substr(1));
    refuse(std::to_string(found.size()) + " nodes are called " + inQuotes(name),
           "say which: " + printable(ids));
}

const std::string& DiagramEditor::typeOf(const Node& node) const {
    return info.nodes[static_cast<std::size_t>(&node - nodes.data())].typeString;
}

std::string DiagramEditor::shown(const Node& node) const {
    const auto& type = typeOf(node);
    return "node " + std::to_string(node.id) + " (" + inQuotes(type) +
           (node.label == type ? "" : ", " + inQuotes(node.label)) + ")";
}

std::string DiagramEditor::shown(const Input& input) const {
    const auto& slots = input.node->nodeClass->declaration().inputs;
    return "input " + inQuotes(slots[static_cast<std::size_t>(input.index)].label) + " of " +
           shown(*input.node);
}

void DiagramEditor::setProperty(std::int64_t id, const std::string& property, const std::string& value) {
    auto& list = info.properties;
    const auto isIts = [&](const PropertyInfo& other) { return other.id == id; };
    const auto last = std::find_if(list.rbegin(), list.rend(), [&](const PropertyInfo& other) {
        return isIts(other) && other.propertyString == property;
    });
    if (last != list.rend()) {
        last->valueString = value;
        return;
    }
    // A label stands before a node's other properties, and what is new behind them.
    const auto place = property == "Description" ? std::find_if(list.begin(), list.end(), isIts)
                                                 : std::find_if(list.rbegin(), list.rend(), isIts).base();
    list.insert(place == list.begin() && property != "Description" ? list.end() : place,
                {id, property, value});
}

void DiagramEditor::set(const std::string& setting) {
    const std::string option = file + ": " + setting;
    const auto isConstant = [](const Node& node) {
        return node.category == NodeCategory::Constant && node.nodeClass != nullptr;
    };
    SettableNodes names;
    for (const auto& node : nodes) {
        if (isConstant(node)) names.add(node.label, typeOf(node), node.id);
    }
    const auto split = names.split(option, setting);
    for (const auto& node : nodes) {
        if (!isConstant(node) || !SettableNodes::isNamed(split.first, node.label, typeOf(node), node.id))
            continue;
        constantValue(option, *concreteClassNamed(typeOf(node)), split.second);
        setProperty(node.id, "OutputValue", split.second);
    }
}

/// Streams and outputs that share a label with the node from now on, or no longer.
void DiagramEditor::noteFeedback(const Node& node, const std::string& label,
                                 const std::string& relation) const {
    const auto counterpart =
        node.category == NodeCategory::InputStream ? NodeCategory::VariableOutput : NodeCategory::InputStream;
    if (node.category != NodeCategory::InputStream && node.category != NodeCategory::VariableOutput) return;
    for (const auto& other : nodes) {
        if (&other == &node || other.category != counterpart || other.label != label) continue;
        const bool isStream = node.category == NodeCategory::InputStream;
        note("the variable output #" + std::to_string(isStream ? other.id : node.id) + " " + relation +
             " the input stream #" + std::to_string(isStream ? node.id : other.id) + ", by the label " +
             inQuotes(label));
    }
}

void DiagramEditor::rename(const std::string& name, const std::string& label) {
    const Condition any = [](const Node&) { return true; };
    auto chosen = bearers(name, any);
    const bool isShared = !idIn(name) && std::all_of(chosen.begin(), chosen.end(), [](const Node* node) {
        return node->category == NodeCategory::InputStream || node->category == NodeCategory::VariableOutput;
    });
    if (chosen.empty() || !isShared) chosen = {&only(name, "node", any)};
    for (const auto* node : chosen) {
        if (chosen.size() == 1) noteFeedback(*node, node->label, "no longer feeds");
        noteFeedback(*node, label, "now feeds");
        setProperty(node->id, "Description", label);
    }
    readNodes();
}

std::optional<std::int64_t> DiagramEditor::indexOf(const Node& node, const std::string& input) const {
    const auto& slots = node.nodeClass->declaration().inputs;
    for (std::size_t i = 0; i < slots.size(); ++i) {
        if (slots[i].label == input || std::to_string(i) == input) return static_cast<std::int64_t>(i);
    }
    return std::nullopt;
}

DiagramEditor::Input DiagramEditor::inputNamed(const std::string& name) const {
    const std::string role = "function or variable output";
    const Condition hasInputs = [](const Node& node) {
        return node.nodeClass != nullptr && !node.nodeClass->declaration().inputs.empty();
    };
    // Labels and inputs may hold dots themselves.
    std::string target = name;
    std::optional<std::string> input;
    for (auto dot = std::string::npos; bearers(target, hasInputs).empty();) {
        dot = dot == 0 ? std::string::npos : name.rfind('.', dot == std::string::npos ? dot : dot - 1);
        if (dot == std::string::npos) refuseUnknown(name.substr(0, name.rfind('.')), role, hasInputs);
        target = name.substr(0, dot);
        input = name.substr(dot + 1);
    }
    const Node& node = only(target, role, hasInputs);
    const auto& slots = node.nodeClass->declaration().inputs;
    std::string list;
    std::vector<std::string> labels;
    for (const auto& slot : slots) {
        labels.emplace_back(slot.label);
        list += (list.empty() ? "" : ", ") + inQuotes(slot.label);
    }
    if (!input && slots.size() > 1)
        refuse(shown(node) + " has the inputs " + list, "say which, as in TO.INPUT");
    const auto index = input ? indexOf(node, *input) : 0;
    if (!index) {
        const auto hint = nearestNameHint(*input, labels);
        refuse(shown(node) + " has no input " + inQuotes(*input), hint.empty() ? "there are " + list : hint);
    }
    return {&node, *index};
}

void DiagramEditor::connect(const std::string& from, const std::string& input) {
    const Condition givesValues = [](const Node& node) {
        return node.category && node.category != NodeCategory::VariableOutput;
    };
    const Node& source = only(from, "function, constant or input stream", givesValues);
    const Input target = inputNamed(input);
    const ConnectionInfo added{source.id, target.node->id, target.index};
    // Types pass along connections in their order, so it stands behind those that lead to its source and
    // before those that lead on.
    auto& list = info.connections;
    std::size_t least = 0, most = list.size();
    for (std::size_t i = list.size(); i-- > 0;) {
        const auto& other = list[i];
        if (other == added) refuse(shown(source) + " feeds the " + shown(target) + " already");
        const bool isSameInput =
            other.inputNodeId == added.inputNodeId && other.inputIndex == added.inputIndex;
        if (isSameInput) {
            note("the " + shown(target) + " is fed by node " + std::to_string(other.outputNodeId) +
                 " as well; the value that comes last counts");
        }
        if (isSameInput || other.inputNodeId == added.outputNodeId) least = std::max(least, i + 1);
        if (other.outputNodeId == added.inputNodeId) most = i;
    }
    list.insert(list.begin() + static_cast<std::ptrdiff_t>(least <= most ? most : list.size()), added);
}

void DiagramEditor::disconnect(const std::optional<std::string>& from, const std::string& input) {
    const Input target = inputNamed(input);
    const auto feeds = [&](const ConnectionInfo& other) {
        return other.inputNodeId == target.node->id && other.inputIndex == target.index;
    };
    std::optional<std::int64_t> source;
    if (from) {
        std::set<std::int64_t> feeding;
        for (const auto& other : info.connections) {
            if (feeds(other)) feeding.insert(other.outputNodeId);
        }
        source = only(*from, "node that feeds the " + shown(target), [&](const Node& node) {
                     return feeding.contains(node.id);
                 }).id;
    }
    const auto count = std::erase_if(info.connections, [&](const ConnectionInfo& other) {
        return feeds(other) && (!source || other.outputNodeId == *source);
    });
    if (count == 0) refuse("nothing feeds the " + shown(target));
}

void DiagramEditor::add(const std::string& className, const std::vector<std::string>& labels) {
    std::vector<std::string> names;
    NodeInfo record;
    for (const auto category : allNodeCategories) {
        for (const auto& [type, nodeClass] : NodeRegistry::library().classes(category)) {
            const bool isFunction = category == NodeCategory::Function;
            names.push_back(isFunction ? type : std::string(classStringOf(category)) + " " + type);
            if (names.back() == className) record = {0, std::string(classStringOf(category)), type, {}};
        }
    }
    if (record.classString.empty()) {
        auto hint = nearestNameHint(className, names);
        if (hint.empty()) {
            hint =
                "it is a function's name, or Input stream, Variable output or Constant and a type, as in "
                "\"Input stream Float\"";
        }
        refuse("no node class is called " + inQuotes(className), hint);
    }
    std::set<std::int64_t> ids;
    for (const auto& node : info.nodes) ids.insert(node.id);
    PositionInfo place;
    for (const auto& position : info.positions) {
        const bool isFirst = &position == info.positions.data();
        place.x = isFirst ? position.x : std::min(place.x, position.x);
        place.y = isFirst ? position.y : std::max(place.y, position.y);
    }
    for (std::size_t i = 0; i < std::max<std::size_t>(labels.size(), 1); ++i) {
        record.id = 1;
        if (!ids.empty() && *ids.rbegin() < std::numeric_limits<std::int64_t>::max()) {
            record.id = std::max<std::int64_t>(*ids.rbegin() + 1, 1);
        }
        while (!ids.insert(record.id).second) ++record.id;
        info.nodes.push_back(record);
        if (i < labels.size()) info.properties.push_back({record.id, "Description", labels[i]});
        if (!info.positions.empty()) {
            place.y += 100;
            info.positions.push_back({record.id, place.x, place.y});
        }
        // Every node belongs in a subdiagram when there are some.
        if (!info.subdiagrams || info.subdiagrams->empty()) continue;
        auto& subdiagram = info.subdiagrams->back();
        subdiagram.nodeIds.push_back(record.id);
        if (info.subdiagrams->size() > 1)
            note("node " + std::to_string(record.id) + " stands in the subdiagram " +
                 inQuotes(subdiagram.description));
    }
    readNodes();
}

void DiagramEditor::remove(const std::string& name) {
    std::vector<std::int64_t> ids{only(name, "node", [](const Node&) { return true; }).id};
    while (!ids.empty()) {
        const auto id = ids.back();
        ids.pop_back();
        removeRecords(id);
        for (const auto& node : nested) {
            if (node.outerId == id) ids.push_back(node.id);
        }
    }
    readNodes();
}

void DiagramEditor::removeRecords(std::int64_t id) {
    std::erase_if(info.nodes, [&](const auto& node) { return node.id == id; });
    std::erase_if(info.properties, [&](const auto& property) { return property.id == id; });
    std::erase_if(info.connections, [&](const auto& connection) {
        return connection.outputNodeId == id || connection.inputNodeId == id;
    });
    std::erase_if(info.positions, [&](const auto& position) { return position.id == id; });
    if (info.containers) removeFrom(*info.containers, id);
    if (info.subdiagrams) {
        std::erase_if(*info.subdiagrams, [&](SubdiagramInfo& subdiagram) {
            return std::erase(subdiagram.nodeIds, id) > 0 && subdiagram.nodeIds.empty();
        });
    }
}

}  // namespace kelvane
