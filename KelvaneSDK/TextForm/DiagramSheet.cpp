#include "KelvaneSDK/TextForm/DiagramSheet.h"

#include <algorithm>
#include <limits>
#include <numeric>
#include <set>

#include "KelvaneSDK/TextForm/TextTokens.h"

namespace KelvaneSDK {

namespace {

/// Calls that are nested deeper, or longer, are hard to read.
constexpr std::size_t deepestNesting = 4, longestNesting = 72;

bool isPlain(const SheetNode& constant) {
    const auto type = concreteClassNamed(constant.record->typeString);
    return *type != ValueClass::StringValue && isPlainValue(*constant.value) &&
           valueFromText(*type, *constant.value).has_value();
}

// A property that says what a node has without it.
bool isDefault(const SheetNode& node, const PropertyInfo& property) {
    const auto& [id, name, value] = property;
    return (name == "Description" && value == node.record->typeString) ||
           (name == "Forwarding" && value == "true" && node.category == NodeCategory::InputStream) ||
           (name == "Hidden" && value == "false" && node.isOutput());
}

}  // namespace

DiagramSheet::DiagramSheet(const DiagramInfo& info, const NodeRegistry& registry) : document(info) {
    readNodes(registry);
    readProperties();
    readPositions();
    readConnections();
    nest();
    nameNodes();
    typeConstants();
}

void DiagramSheet::readNodes(const NodeRegistry& registry) {
    nodes.reserve(document.nodes.size());
    for (const auto& record : document.nodes) {
        SheetNode node{&record};
        const bool isFirst = byId.try_emplace(record.id, nodes.size()).second;
        if (const auto category = categoryNamed(record.classString); category && isFirst) {
            node.category = *category;
            const bool isValue = concreteClassNamed(record.typeString).has_value();
            if (isValue || category == NodeCategory::Function)
                node.nodeClass = registry.find(*category, record.typeString);
        }
        nodes.push_back(std::move(node));
    }
}

// The node with an id, if it is written in a line or call; null for raw records.
SheetNode* DiagramSheet::writable(std::int64_t id) {
    const auto found = byId.find(id);
    const bool isWritable = found != byId.end() && nodes[found->second].nodeClass != nullptr;
    return isWritable ? &nodes[found->second] : nullptr;
}

void DiagramSheet::readProperties() {
    for (const auto& property : document.properties) {
        if (auto* const node = writable(property.id)) {
            node->properties.push_back(&property);
        } else {
            rawProperties.push_back(&property);
        }
    }
    for (auto& node : nodes) {
        auto& list = node.properties;
        const auto onlyOne = [&](std::string_view name) {
            const auto has = [&](const PropertyInfo* property) { return property->propertyString == name; };
            const auto found = std::find_if(list.begin(), list.end(), has);
            return std::count_if(list.begin(), list.end(), has) == 1 ? found : list.end();
        };
        if (const auto label = onlyOne("Description"); label != list.end()) {
            if (!isDefault(node, **label)) node.label = (*label)->valueString;
            list.erase(label);
        }
        for (const auto* name : {"Forwarding", "Hidden"}) {
            const auto property = onlyOne(name);
            if (property != list.end() && isDefault(node, **property)) list.erase(property);
        }
        if (node.category != NodeCategory::Constant) continue;
        if (const auto value = onlyOne("OutputValue"); value != list.end()) {
            node.value = (*value)->valueString;
            list.erase(value);
        }
    }
}

void DiagramSheet::readPositions() {
    for (const auto& position : document.positions) {
        if (auto* const node = writable(position.id)) {
            node->position = &position;
        } else {
            rawPositions.push_back(&position);
        }
    }
}

std::optional<TextWire> DiagramSheet::wireOf(const ConnectionInfo& connection) const {
    const auto from = byId.find(connection.outputNodeId), to = byId.find(connection.inputNodeId);
    if (from == byId.end() || to == byId.end()) return std::nullopt;
    const auto &source = nodes[from->second], &target = nodes[to->second];
    const auto input = static_cast<std::size_t>(connection.inputIndex);
    const bool leads = source.nodeClass != nullptr && !source.isOutput() && target.nodeClass != nullptr &&
                       (target.category == NodeCategory::Function || target.isOutput()) &&
                       connection.inputIndex >= 0 && input < target.nodeClass->declaration().inputs.size();
    return leads ? std::optional(TextWire{from->second, to->second, input}) : std::nullopt;
}

void DiagramSheet::readConnections() {
    constexpr std::size_t raw = std::numeric_limits<std::size_t>::max();
    std::vector<TextWire> all;
    // Raw records come last: behind one, all that feeds the same input is raw.
    std::set<std::pair<std::int64_t, std::int64_t>> rawInputs;
    for (const auto& connection : document.connections) {
        const std::pair input(connection.inputNodeId, connection.inputIndex);
        const auto wire = rawInputs.contains(input) ? std::nullopt : wireOf(connection);
        all.push_back(wire.value_or(TextWire{raw, raw, 0}));
        if (wire) continue;
        rawConnections.push_back(&connection);
        rawInputs.insert(input);
    }
    std::vector<std::size_t> byTarget(all.size());
    std::iota(byTarget.begin(), byTarget.end(), std::size_t{0});
    std::stable_sort(byTarget.begin(), byTarget.end(), [&](std::size_t a, std::size_t b) {
        return std::pair(all[a].to, all[a].input) < std::pair(all[b].to, all[b].input);
    });
    for (const auto index : byTarget) {
        const auto& wire = all[index];
        if (wire.to == raw) break;
        auto& target = nodes[wire.to];
        if (target.wireCount++ == 0) target.firstWire = wires.size();
        wires.push_back(wire);
    }
    orderConnections(byTarget);
}

void DiagramSheet::orderConnections(const std::vector<std::size_t>& connections) {
    // The usual order that leaves the fewest to be said.
    std::vector<bool> elsewhere(connections.size(), true);
    auto fewest = static_cast<std::ptrdiff_t>(connections.size()) + 1;
    for (const auto usual :
         {ConnectionOrder::byDependency, ConnectionOrder::byTarget, ConnectionOrder::bySource}) {
        const auto sequence = connectionOrder(usual, nodes.size(), wires);
        std::vector<bool> candidate;
        for (std::size_t i = 0; i < connections.size(); ++i) {
            candidate.push_back(connections[i < sequence.size() ? sequence[i] : i] != i);
        }
        const auto count = std::count(candidate.begin(), candidate.end(), true);
        if (count >= fewest) continue;
        fewest = count;
        elsewhere = std::move(candidate);
        usualOrder = usual;
    }
    // Those of one input are said together, since an item of the order is the input's next connection.
    std::set<std::pair<std::int64_t, std::int64_t>> inputs;
    const auto inputOf = [&](std::size_t i) {
        return std::pair(document.connections[i].inputNodeId, document.connections[i].inputIndex);
    };
    for (std::size_t i = 0; i < elsewhere.size(); ++i) {
        if (elsewhere[i]) inputs.insert(inputOf(i));
    }
    for (std::size_t i = 0; i < elsewhere.size() && !inputs.empty(); ++i) {
        if (inputs.contains(inputOf(i))) order.push_back(&document.connections[i]);
    }
}

void DiagramSheet::markMentioned(std::vector<bool>& mentioned) const {
    const auto mark = [&](std::int64_t id) {
        if (const auto found = byId.find(id); found != byId.end()) mentioned[found->second] = true;
    };
    for (const auto* connection : order) mark(connection->inputNodeId);
    if (document.subdiagrams) {
        bool hasEverything = false;
        for (const auto& subdiagram : *document.subdiagrams) {
            const bool isEverything =
                !hasEverything &&
                std::equal(subdiagram.nodeIds.begin(), subdiagram.nodeIds.end(), document.nodes.begin(),
                           document.nodes.end(), [](auto id, const NodeInfo& node) { return id == node.id; });
            hasEverything |= isEverything;
            if (isEverything) continue;
            for (const auto id : subdiagram.nodeIds) mark(id);
        }
    }
    std::vector<const ContainerInfo*> open;
    const auto push = [&](const auto& list) {
        if (!list) return;
        for (const auto& container : *list) open.push_back(&container);
    };
    push(document.containers);
    while (!open.empty()) {
        const auto* container = open.back();
        open.pop_back();
        for (const auto id : container->nodeIds) mark(id);
        push(container->containers);
    }
}

void DiagramSheet::nest() {
    std::vector<bool> mentioned(nodes.size());
    markMentioned(mentioned);
    std::vector<std::size_t> uses(nodes.size());
    for (const auto& wire : wires) ++uses[wire.from];
    // What may be nested waits for the node that uses it; nodes in a call come in the order of its inputs.
    struct Waiting {
        std::size_t node, depth, length;
    };
    std::vector<Waiting> waiting;
    std::int64_t usualId = 1;
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        auto& node = nodes[i];
        node.isNumbered = node.record->id != usualId;
        usualId = node.record->id == std::numeric_limits<std::int64_t>::max() ? 1 : node.record->id + 1;
        const bool isConstant = node.category == NodeCategory::Constant;
        Waiting self{i, 1,
                     isConstant && node.value ? node.value->size() : node.record->typeString.size() + 2};
        for (std::size_t w = node.wireCount; w-- > 0;) {
            const std::size_t from = wires[node.firstWire + w].from;
            const auto& top = waiting.empty() ? Waiting{nodes.size(), 0, 0} : waiting.back();
            const bool fits =
                node.isOutput() || (top.depth < deepestNesting && self.length + top.length <= longestNesting);
            if (top.node == from && fits) {
                nodes[from].isNested = true;
                self.depth = std::max(self.depth, top.depth + 1);
                self.length += top.length + 2;
                waiting.pop_back();
            } else {
                self.length += nodes[from].name().size() + 2;
            }
        }
        const bool isValue = isConstant || node.category == NodeCategory::Function;
        const bool hasPlainType = !node.record->outputType ||
                                  (!isConstant && concreteClassNamed(*node.record->outputType).has_value());
        if (isValue && node.nodeClass != nullptr && hasPlainType && !node.label && node.properties.empty() &&
            node.position == nullptr && !node.isNumbered && uses[i] == 1 && !mentioned[i]) {
            waiting.push_back(self);
        } else {
            waiting.clear();
        }
    }
}

void DiagramSheet::nameNodes() {
    std::unordered_map<std::string_view, std::size_t> sources, outputs;
    const auto hasName = [](const SheetNode& node) {
        return std::none_of(node.properties.begin(), node.properties.end(),
                            [](const auto* property) { return property->propertyString == "Description"; });
    };
    for (const auto& node : nodes) {
        if (node.nodeClass == nullptr || node.isNested || !hasName(node)) continue;
        ++(node.isOutput() ? outputs : sources)[node.name()];
    }
    std::vector<bool> mentioned(nodes.size());
    markMentioned(mentioned);
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        auto& node = nodes[i];
        if (node.nodeClass == nullptr) {
            node.isAmbiguous = true;
        } else if (!node.isNested) {
            const auto count = [&](const auto& names) {
                const auto found = names.find(node.name());
                return found == names.end() ? std::size_t{0} : found->second;
            };
            const auto bearers = count(sources) + (node.isOutput() ? count(outputs) : 0);
            node.isAmbiguous = !hasName(node) || (bearers > 1 && (mentioned[i] || !node.isOutput()));
            node.isNumbered |= node.isAmbiguous;
        }
    }
}

void DiagramSheet::typeConstants() {
    std::vector<TypedNode> said;
    for (const auto& node : nodes) {
        TypedNode entry;
        if (node.nodeClass != nullptr && node.category == NodeCategory::Function) {
            entry.function = &node.nodeClass->declaration();
            if (node.record->outputType) entry.type = concreteClassNamed(*node.record->outputType);
        } else if (node.nodeClass != nullptr) {
            entry.type = concreteClassNamed(node.record->typeString);
        }
        said.push_back(entry);
    }
    // A type that is said changes what others come to have; a few rounds settle nearly all.
    for (int round = 0; round < 5; ++round) {
        auto found = said;
        for (std::size_t i = 0; i < nodes.size(); ++i) {
            auto& node = nodes[i];
            if (node.category != NodeCategory::Constant || node.nodeClass == nullptr) continue;
            node.saysType |= !node.value || round == 4;
            if (node.saysType) continue;
            found[i].type.reset();
            found[i].isOpen = true;
            found[i].look = lookOf(*node.value, !isPlain(node));
        }
        findConstantTypes(found, wires);
        bool isSettled = true;
        for (std::size_t i = 0; i < nodes.size(); ++i) {
            if (!found[i].isOpen || found[i].type == said[i].type) continue;
            nodes[i].saysType = true;
            isSettled = false;
        }
        if (isSettled) break;
    }
}

std::string constantText(const SheetNode& constant) {
    std::string text = !constant.value     ? "_"
                       : isPlain(constant) ? std::string(*constant.value)
                                           : quotedText(*constant.value);
    if (constant.saysType) text += ": " + constant.record->typeString;
    return text;
}

}  // namespace KelvaneSDK
