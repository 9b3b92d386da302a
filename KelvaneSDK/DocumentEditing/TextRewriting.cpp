#include <algorithm>
#include <map>
#include <optional>
#include <set>
#include <unordered_map>

#include "KelvaneSDK/DocumentEditing/Rewriters.h"
#include "KelvaneSDK/DocumentEditing/TextPlaces.h"
#include "KelvaneSDK/FileProcessing/JsonText.h"
#include "KelvaneSDK/FileProcessing/TextPlace.h"
#include "KelvaneSDK/TextForm/TextForm.h"
#include "KelvaneSDK/TextForm/TextTokens.h"

namespace KelvaneSDK {

namespace {

/// Why the lines of a text have no room for an edit; never leaves rewriteTextForm().
struct NoRoom {
    std::string reason;
};

/// A node in the text and in the edited diagram: in one of them, or in both.
struct RewrittenNode {
    /// Null for a new node.
    const TextNode* written = nullptr;
    /// What it is in the edited diagram; null for a node that goes.
    const NodeInfo* record = nullptr;
    std::int64_t id = 0;
    /// The call that it stands in.
    std::optional<std::size_t> outer = {};
    std::string oldLabel = {}, label = {};
    std::optional<std::string> oldValue = {}, value = {};
    std::size_t oldUses = 0, uses = 0;

    bool hasName() const { return !outer && (written == nullptr || written->name || label != oldLabel); }
    bool isOutput() const {
        return record != nullptr && categoryNamed(record->classString) == NodeCategory::VariableOutput;
    }
};

template <class Visit>
void forEachNested(const TextSyntax& syntax, Visit visit) {
    for (std::size_t i = 0; i < syntax.nodes.size(); ++i) {
        for (const auto& argument : syntax.nodes[i].arguments) {
            for (const auto& source : argument.sources) {
                if (source.nested) visit(*source.nested, i);
            }
        }
    }
}

/// A text without the mark that some programs write before it.
std::string_view withoutMark(std::string_view text) {
    return text.starts_with(byteOrderMark) ? text.substr(byteOrderMark.size()) : text;
}

using GroupLists = std::vector<const std::vector<std::int64_t>*>;

void collect(const std::optional<std::vector<ContainerInfo>>& boxes, GroupLists& lists) {
    if (!boxes) return;
    for (const auto& box : *boxes) {
        lists.push_back(&box.nodeIds);
        collect(box.containers, lists);
    }
}

class TextRewriter {
public:
    TextRewriter(std::string_view source, const DiagramInfo& before, const DiagramInfo& after,
                 const NodeRegistry& nodeTypes)
        : text(source),
          old(before),
          edited(after),
          registry(nodeTypes),
          syntax(parseText(source, nodeTypes)) {
        readNodes();
        countNames();
    }

    /// The constants of these ids say their type, if they do not yet.
    std::string rewritten(const std::set<std::int64_t>& typed) {
        replacements.clear();
        for (std::size_t i = 0; i < nodes.size(); ++i) {
            const auto& node = nodes[i];
            if (node.written == nullptr) continue;
            if (node.record == nullptr) {
                removeStatement(node);
                continue;
            }
            requireLine(node, node.outer && nodes[*node.outer].record == nullptr);
            rewriteName(node);
            if (node.written->category == NodeCategory::Constant) rewriteValue(node, typed.contains(node.id));
            rewriteInputs(node);
        }
        for (const auto& item : syntax.order) rewriteReference(item.node, member(item.node));
        rewriteGroups();
        appendNodes();
        return replaced(text, replacements);
    }

    /// Whether the edit changes a node's value, or how many inputs it feeds.
    bool isAffected(std::int64_t id) const {
        const auto found = byId.find(id);
        if (found == byId.end()) return false;
        const auto& node = nodes[found->second];
        return node.value != node.oldValue || node.uses != node.oldUses;
    }

private:
    void readNodes() {
        std::unordered_map<std::int64_t, const NodeInfo*> left;
        for (const auto& record : edited.nodes) left.try_emplace(record.id, &record);
        for (std::size_t i = 0; i < syntax.nodes.size(); ++i) {
            RewrittenNode node{&syntax.nodes[i], nullptr, old.nodes[i].id};
            const auto found = left.find(node.id);
            if (found != left.end()) {
                node.record = found->second;
                left.erase(found);
            }
            node.oldLabel = node.label = old.nodes[i].typeString;
            add(std::move(node));
        }
        for (const auto& record : edited.nodes) {
            const auto found = left.find(record.id);
            if (found == left.end() || found->second != &record) continue;
            add({nullptr, &record, record.id, {}, record.typeString, record.typeString});
        }
        forEachNested(syntax, [&](std::size_t nested, std::size_t outer) { nodes[nested].outer = outer; });
        const auto readProperties = [&](const DiagramInfo& info, auto label, auto value) {
            for (const auto& property : info.properties) {
                const auto found = byId.find(property.id);
                if (found == byId.end()) continue;
                auto& node = nodes[found->second];
                if (property.propertyString == "Description") node.*label = property.valueString;
                if (property.propertyString == "OutputValue") node.*value = property.valueString;
            }
        };
        readProperties(old, &RewrittenNode::oldLabel, &RewrittenNode::oldValue);
        readProperties(edited, &RewrittenNode::label, &RewrittenNode::value);
        const auto countUses = [&](const DiagramInfo& info, auto count) {
            for (const auto& connection : info.connections) {
                const auto found = byId.find(connection.outputNodeId);
                if (found != byId.end()) ++(nodes[found->second].*count);
            }
        };
        countUses(old, &RewrittenNode::oldUses);
        countUses(edited, &RewrittenNode::uses);
        for (const auto& [from, to, input] : edited.connections) feeds[{to, input}].push_back(from);
    }

    void add(RewrittenNode node) {
        byId.try_emplace(node.id, nodes.size());
        nodes.push_back(std::move(node));
    }

    void countNames() {
        for (std::size_t i = 0; i < nodes.size(); ++i) {
            const auto& node = nodes[i];
            if (node.written != nullptr && node.written->name) {
                const bool wasOutput = node.written->category == NodeCategory::VariableOutput;
                (wasOutput ? oldOutputs : oldSources).emplace(*node.written->name, i);
            }
            if (node.record != nullptr && node.hasName()) ++(node.isOutput() ? outputs : sources)[node.label];
        }
    }

    // What a reference in the text means.
    std::optional<std::size_t> source(const TextReference& reference) const {
        if (reference.nested) return *reference.nested;
        if (reference.id) {
            const auto found = byId.find(*reference.id);
            return found == byId.end() ? std::nullopt : std::optional(found->second);
        }
        const auto found = oldSources.find(reference.name);
        return found == oldSources.end() ? std::nullopt : std::optional(found->second);
    }
    std::optional<std::size_t> member(const TextReference& reference) const {
        if (const auto index = source(reference)) return index;
        const auto found = oldOutputs.find(reference.name);
        return found == oldOutputs.end() ? std::nullopt : std::optional(found->second);
    }

    /// How the edited text refers to a node.
    std::string referenceTo(const RewrittenNode& node) const {
        const auto count = [&](const auto& names) {
            const auto found = names.find(node.label);
            return found == names.end() ? std::size_t{0} : found->second;
        };
        const auto bearers = count(sources) + (node.isOutput() ? count(outputs) : 0);
        return node.hasName() && bearers == 1 ? nameText(node.label) : "#" + std::to_string(node.id);
    }
    std::string referenceTo(std::int64_t id) const {
        const auto found = byId.find(id);
        if (found == byId.end()) throw NoRoom{"no node has the id " + std::to_string(id)};
        return referenceTo(nodes[found->second]);
    }

    std::string shown(const RewrittenNode& node) const {
        const auto& type = old.nodes[static_cast<std::size_t>(&node - nodes.data())].typeString;
        return "#" + std::to_string(node.id) + " (\"" + type + "\")";
    }
    void requireLine(const RewrittenNode& node, bool needsOne) const {
        if (needsOne) throw NoRoom{"the node " + shown(node) + " stands within a call"};
    }

    void rewriteReference(const TextReference& reference, std::optional<std::size_t> target) {
        if (!target || reference.id || reference.nested || nodes[*target].record == nullptr) return;
        const auto& node = nodes[*target];
        auto wanted = referenceTo(node);
        if (node.label != reference.name || wanted.starts_with('#'))
            replacements.push_back({wordSpan(text, reference.offset), std::move(wanted)});
    }

    void rewriteName(const RewrittenNode& node) {
        if (node.label == node.oldLabel) return;
        requireLine(node, node.outer.has_value());
        const auto begin = statementSpan(text, node.written->offset).begin;
        if (node.written->name) {
            replacements.push_back({wordSpan(text, begin), nameText(node.label)});
        } else {
            replacements.push_back({{begin, begin}, nameText(node.label) + " "});
        }
    }

    static std::string valueText(const std::string& value, const std::string& typeName) {
        const auto type = concreteClassNamed(typeName);
        const bool isPlain = type && *type != ValueClass::StringValue && isPlainValue(value) &&
                             valueFromText(*type, value).has_value();
        return isPlain ? value : quotedText(value);
    }

    void rewriteValue(const RewrittenNode& node, bool saysType) {
        const auto span = wordSpan(text, node.written->offset);
        const auto& type = node.record->typeString;
        if (node.value && node.value != node.oldValue)
            replacements.push_back({span, valueText(*node.value, type)});
        if (saysType && node.written->info.typeString.empty())
            replacements.push_back({{span.end, span.end}, ": " + type});
    }

    void removeStatement(const RewrittenNode& node) {
        if (node.outer) return;
        replacements.push_back({removalSpan(text, statementSpan(text, node.written->offset)), ""});
    }

    // What feeds an input in the edited diagram, as items of the list of those that the text names.
    void rewriteInputs(const RewrittenNode& node) {
        if (node.written->nodeClass == nullptr) return;
        const auto& function = node.written->nodeClass->declaration();
        std::int64_t position = 0;
        for (const auto& argument : node.written->arguments) {
            const auto slot = argument.slot.empty() ? static_cast<std::size_t>(position++)
                                                    : slotNamed(function, argument.slot).value_or(0);
            const auto found = feeds.find({node.id, static_cast<std::int64_t>(slot)});
            rewriteArgument(argument, found == feeds.end() ? std::vector<std::int64_t>{} : found->second);
        }
    }

    void rewriteArgument(const TextArgument& argument, const std::vector<std::int64_t>& wantedIds) {
        std::vector<SplicedItem> wanted;
        std::size_t next = 0;
        for (const auto id : wantedIds) {
            std::size_t at = next;
            while (at < argument.sources.size() && idOf(argument.sources[at]) != id) ++at;
            if (at < argument.sources.size()) {
                wanted.push_back({at});
                rewriteReference(argument.sources[at], source(argument.sources[at]));
                next = at + 1;
            } else {
                wanted.push_back({{}, referenceTo(id)});
            }
        }
        if (wanted.size() == argument.sources.size() && next == wanted.size()) return;
        const auto spans = sourceSpans(text, argument);
        const TextSpan all{spans.front().begin, spans.back().end};
        if (wanted.empty()) {
            replacements.push_back({all, "_"});
        } else {
            spliceList(replacements, all, spans, wanted, {"", " | ", ""});
        }
        std::vector<bool> stays(argument.sources.size());
        for (const auto& item : wanted) {
            if (item.old) stays[*item.old] = true;
        }
        for (std::size_t i = 0; i < stays.size(); ++i) {
            const auto& nested = argument.sources[i].nested;
            if (!stays[i] && nested) requireLine(nodes[*nested], nodes[*nested].record != nullptr);
        }
    }
    std::optional<std::int64_t> idOf(const TextReference& reference) const {
        const auto index = source(reference);
        return index ? std::optional(nodes[*index].id) : std::nullopt;
    }

    void rewriteGroups() {
        GroupLists boxes, subdiagrams;
        collect(edited.containers, boxes);
        if (edited.subdiagrams) {
            for (const auto& subdiagram : *edited.subdiagrams) subdiagrams.push_back(&subdiagram.nodeIds);
        }
        const auto isGone = emptiedGroups();
        const auto spans = isGone.empty() ? std::vector<TextSpan>() : groupSpans(text);
        std::size_t nextBox = 0, nextSubdiagram = 0, end = 0;
        for (std::size_t i = 0; i < syntax.groups.size(); ++i) {
            const auto& group = syntax.groups[i];
            auto& next = group.isBox ? nextBox : nextSubdiagram;
            const auto& lists = group.isBox ? boxes : subdiagrams;
            if (!isGone.empty() && isGone[i]) {
                // With those that stand in it.
                if (spans.at(i).begin >= end) replacements.push_back({removalSpan(text, spans[i]), ""});
                end = std::max(end, spans[i].end);
            } else if (next == lists.size()) {
                throw NoRoom{"a box or subdiagram goes whose nodes stay"};
            } else {
                rewriteGroup(group, *lists[next++]);
            }
        }
    }

    /// Which groups lose all that they hold; empty where none does.
    std::vector<bool> emptiedGroups() const {
        const auto& groups = syntax.groups;
        std::vector<bool> isGone(groups.size()), holdsSome(groups.size() + 1);
        std::vector<std::size_t> outer(groups.size(), groups.size()), open;
        for (std::size_t i = 0; i < groups.size(); ++i) {
            open.resize(groups[i].depth);
            if (!open.empty()) outer[i] = open.back();
            open.push_back(i);
        }
        bool isAnyGone = false;
        std::vector<bool> hadGroups(groups.size() + 1);
        for (std::size_t i = groups.size(); i-- > 0;) {
            const auto& members = groups[i].members;
            const bool stays = std::any_of(members.begin(), members.end(), [&](const auto& reference) {
                const auto index = member(reference);
                return !index || nodes[*index].record != nullptr;
            });
            isGone[i] =
                !groups[i].isEverything && !stays && !holdsSome[i] && (!members.empty() || hadGroups[i]);
            isAnyGone = isAnyGone || isGone[i];
            hadGroups[outer[i]] = true;
            if (!isGone[i]) holdsSome[outer[i]] = true;
        }
        return isAnyGone ? isGone : std::vector<bool>();
    }

    void rewriteGroup(const TextGroup& group, const std::vector<std::int64_t>& ids) {
        std::optional<TextSpan> last;
        std::vector<std::int64_t> members;
        for (const auto& reference : group.members) {
            const auto index = member(reference);
            const auto span = wordSpan(text, reference.offset);
            if (index && nodes[*index].record == nullptr) {
                replacements.push_back({removalSpan(text, span), ""});
                continue;
            }
            rewriteReference(reference, index);
            if (const auto id = index ? std::optional(nodes[*index].id) : reference.id)
                members.push_back(*id);
            last = span;
        }
        if (group.isEverything) return;
        for (std::size_t i = members.size(); i < ids.size(); ++i) {
            if (!last) throw NoRoom{"a box or subdiagram gets its first member"};
            replacements.push_back({{last->end, last->end}, ", " + referenceTo(ids[i])});
        }
    }

    void appendNodes() {
        const std::string_view lineEnd = text.find("\r\n") == std::string_view::npos ? "\n" : "\r\n";
        std::string lines;
        for (const auto& node : nodes) {
            if (node.written != nullptr) continue;
            if (lines.empty() && !text.empty() && text.back() != '\n') lines += lineEnd;
            lines += lineOf(node);
            lines += lineEnd;
        }
        if (!lines.empty()) replacements.push_back({{text.size(), text.size()}, std::move(lines)});
    }

    std::string inputText(const RewrittenNode& node, std::size_t slot) const {
        const auto found = feeds.find({node.id, static_cast<std::int64_t>(slot)});
        if (found == feeds.end()) return "_";
        std::string list;
        for (const auto id : found->second) list += (list.empty() ? "" : " | ") + referenceTo(id);
        return list;
    }

    std::string lineOf(const RewrittenNode& node) const {
        const auto category = categoryNamed(node.record->classString);
        const auto& type = node.record->typeString;
        const auto* nodeClass = category ? registry.find(*category, type) : nullptr;
        if (nodeClass == nullptr) throw NoRoom{"the new node's class is not known"};
        std::string line = nameText(node.label);
        if (category == NodeCategory::Function) {
            line += " = " + type + "(";
            for (std::size_t i = 0; i < nodeClass->declaration().inputs.size(); ++i)
                line += (i == 0 ? "" : ", ") + inputText(node, i);
            line += node.record->outputType ? "): " + *node.record->outputType : ")";
        } else if (category == NodeCategory::Constant) {
            line += " = " + (node.value ? valueText(*node.value, type) : "_") + ": " + type;
        } else {
            line += ": " + type;
            if (node.isOutput()) line += " = " + inputText(node, 0);
        }
        return line + attributesOf(node.id);
    }

    std::string attributesOf(std::int64_t id) const {
        std::string list;
        const auto add = [&](const std::string& attribute) {
            list += (list.empty() ? "" : ", ") + attribute;
        };
        for (const auto& property : edited.properties) {
            const auto& name = property.propertyString;
            if (property.id == id && name != "Description" && name != "OutputValue")
                add(nameText(name) + " = " + quotedText(property.valueString));
        }
        for (const auto& position : edited.positions) {
            if (position.id != id) continue;
            std::string place = "at (";
            JsonText json(place);
            json.number(position.x);
            json.put(", ");
            json.number(position.y);
            json.put(')');
            json.flush();
            add(place);
        }
        return list.empty() ? "" : " [" + list + "]";
    }

    std::string_view text;
    const DiagramInfo& old;
    const DiagramInfo& edited;
    const NodeRegistry& registry;
    TextSyntax syntax;
    /// Those of the text in its order, and the new ones.
    std::vector<RewrittenNode> nodes;
    std::unordered_map<std::int64_t, std::size_t> byId;
    /// Who bears a name in the text, the first of them, and how many do after the edit.
    std::unordered_map<std::string, std::size_t> oldSources, oldOutputs, sources, outputs;
    /// By target and input.
    std::map<std::pair<std::int64_t, std::int64_t>, std::vector<std::int64_t>> feeds;
    std::vector<Replacement> replacements;
};

void renumber(std::optional<std::vector<ContainerInfo>>& boxes,
              const std::unordered_map<std::int64_t, std::int64_t>& ids) {
    if (boxes && boxes->empty()) boxes.reset();
    if (!boxes) return;
    for (auto& box : *boxes) {
        for (auto& id : box.nodeIds)
            if (const auto found = ids.find(id); found != ids.end()) id = found->second;
        renumber(box.containers, ids);
    }
}

/// The diagram without what the text form counts or orders by itself: ids, the order of what is said about
/// different nodes and inputs, empty lists, and labels that are the type.
DiagramInfo withoutForm(DiagramInfo info) {
    std::unordered_map<std::int64_t, std::int64_t> ids;
    std::unordered_map<std::int64_t, std::string> types;
    for (auto& node : info.nodes) {
        const auto id = ids.try_emplace(node.id, static_cast<std::int64_t>(ids.size())).first->second;
        node.id = id;
        types.try_emplace(id, node.typeString);
    }
    const auto renumberOne = [&](std::int64_t& id) {
        if (const auto found = ids.find(id); found != ids.end()) id = found->second;
    };
    for (auto& property : info.properties) renumberOne(property.id);
    std::erase_if(info.properties, [&](const PropertyInfo& property) {
        return property.propertyString == "Description" && types[property.id] == property.valueString;
    });
    for (auto& position : info.positions) renumberOne(position.id);
    for (auto& connection : info.connections) {
        renumberOne(connection.outputNodeId);
        renumberOne(connection.inputNodeId);
    }
    const auto sort = [](auto& list, auto key) {
        std::stable_sort(list.begin(), list.end(),
                         [&](const auto& a, const auto& b) { return key(a) < key(b); });
    };
    sort(info.properties,
         [](const auto& property) { return std::pair(property.id, property.propertyString); });
    sort(info.positions, [](const auto& position) { return position.id; });
    sort(info.connections, [](const auto& wire) { return std::pair(wire.inputNodeId, wire.inputIndex); });
    renumber(info.containers, ids);
    if (info.subdiagrams && info.subdiagrams->empty()) info.subdiagrams.reset();
    if (info.subdiagrams) {
        for (auto& subdiagram : *info.subdiagrams)
            for (auto& id : subdiagram.nodeIds) renumberOne(id);
    }
    if (info.manualLines && info.manualLines->empty()) info.manualLines.reset();
    return info;
}

}  // namespace

DiagramRewriting rewriteTextForm(std::string_view text, const DiagramInfo& edited,
                                 const NodeRegistry& registry) {
    const auto old = readText(text, registry);
    if (!old.data) return {{}, "the text is no diagram: " + old.faults.front().what};
    const auto content = withoutMark(text);
    const auto mark = text.substr(0, text.size() - content.size());
    const auto wanted = withoutForm(edited);
    std::string reason = "the lines of the text have no room for this edit";
    try {
        TextRewriter rewriter(content, old.data->info, edited, registry);
        // Constants whose type followed from what they fed say it where something else would follow now. That
        // may change what others come to have; a few rounds settle nearly all.
        std::set<std::int64_t> typed;
        for (int round = 0; round < 4; ++round) {
            auto result = std::string(mark) + rewriter.rewritten(typed);
            const auto read = readText(result, registry);
            if (read.data && withoutForm(read.data->info) == wanted) return {std::move(result)};
            for (std::size_t i = 0; i < edited.nodes.size(); ++i) {
                const auto& node = edited.nodes[i];
                const bool isOther = read.data ? i < read.data->info.nodes.size() &&
                                                     read.data->info.nodes[i].typeString != node.typeString
                                               : round > 0 || rewriter.isAffected(node.id);
                if (isOther && node.classString == classStringOf(NodeCategory::Constant))
                    typed.insert(node.id);
            }
        }
    } catch (const NoRoom& noRoom) {
        reason = noRoom.reason;
    }
    return {{},
            std::move(reason),
            "`kelvane fmt --to json` makes a document of it, in which every edit has room"};
}

std::vector<NestedNode> nestedNodes(std::string_view text, const NodeRegistry& registry) {
    std::vector<NestedNode> nested;
    if (!isTextForm(text)) return nested;
    const auto reading = readText(text, registry);
    if (!reading.data) return nested;
    const auto& nodes = reading.data->info.nodes;
    forEachNested(parseText(withoutMark(text), registry), [&](std::size_t inner, std::size_t outer) {
        nested.push_back({nodes[inner].id, nodes[outer].id});
    });
    return nested;
}

}  // namespace KelvaneSDK
