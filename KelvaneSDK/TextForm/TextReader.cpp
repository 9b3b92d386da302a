#include <algorithm>
#include <limits>
#include <map>
#include <unordered_map>

#include "KelvaneSDK/DiagramCheck/FindingList.h"
#include "KelvaneSDK/FileProcessing/JsonText.h"
#include "KelvaneSDK/FileProcessing/NumberText.h"
#include "KelvaneSDK/FileProcessing/TextPlace.h"
#include "KelvaneSDK/Kelvane/KeyOrder.h"
#include "KelvaneSDK/Kelvane/MemoryGuard.h"
#include "KelvaneSDK/TextForm/ConstantTypes.h"
#include "KelvaneSDK/TextForm/TextForm.h"
#include "KelvaneSDK/TextForm/TextSyntax.h"
#include "KelvaneSDK/TextForm/TextTokens.h"

namespace KelvaneSDK {

namespace {

/// Looks names up and turns what a text says into the records of a document.
class Resolver {
public:
    explicit Resolver(TextSyntax& parsed) : syntax(parsed) {}

    std::pair<DiagramInfo, TextOffsets> document() {
        numberNodes();
        collectNames();
        connect();
        if (syntax.problems.empty()) typeConstants();
        writeNodes();
        orderConnections();
        writeGroups();
        if (!syntax.notes.empty()) info.manualLines = std::move(syntax.notes);
        return {std::move(info), std::move(offsets)};
    }

private:
    void numberNodes() {
        std::int64_t next = 1;
        for (auto& node : syntax.nodes) {
            node.info.id = node.id.value_or(next);
            const bool isLast = node.info.id == std::numeric_limits<std::int64_t>::max();
            if (node.nodeClass != nullptr || node.category == NodeCategory::Constant) {
                const auto index = static_cast<std::size_t>(&node - syntax.nodes.data());
                if (!byId.try_emplace(node.info.id, index).second) {
                    syntax.fault(node.offset,
                                 "another node has the id " + std::to_string(node.info.id) + " already",
                                 "give this node another with #, or none");
                }
            } else {
                byId.try_emplace(node.info.id, static_cast<std::size_t>(&node - syntax.nodes.data()));
            }
            next = isLast ? 1 : node.info.id + 1;
        }
    }

    struct Bearers {
        std::size_t first, count;
    };
    using Names = std::unordered_map<std::string_view, Bearers>;

    void collectNames() {
        for (std::size_t i = 0; i < syntax.nodes.size(); ++i) {
            const auto& node = syntax.nodes[i];
            if (!node.name) continue;
            Names& names = node.category == NodeCategory::VariableOutput ? outputs : sources;
            ++names.try_emplace(*node.name, Bearers{i, 0}).first->second.count;
        }
    }

    const TextNode* withId(std::int64_t id) const {
        const auto found = byId.find(id);
        return found == byId.end() ? nullptr : &syntax.nodes[found->second];
    }

    // The only node of a name; reports when there are more.
    const TextNode* only(const Bearers& bearers, const TextReference& reference) {
        const auto& first = syntax.nodes[bearers.first];
        if (bearers.count == 1) return &first;
        syntax.fault(
            reference.offset,
            std::to_string(bearers.count) + " nodes are called " + quotedText(shortened(reference.name)),
            "say which by its id, such as #" + std::to_string(first.info.id));
        return nullptr;
    }

    /// The node that gives values under a name.
    const TextNode* source(const TextReference& reference) {
        if (reference.nested) return &syntax.nodes[*reference.nested];
        if (reference.id) {
            const auto* node = withId(*reference.id);
            if (node != nullptr && node->category != NodeCategory::VariableOutput) return node;
            syntax.fault(reference.offset, node == nullptr
                                               ? "no node has the id " + std::to_string(*reference.id)
                                               : "a variable output gives no values to other nodes");
            return nullptr;
        }
        const auto found = sources.find(reference.name);
        if (found != sources.end()) return only(found->second, reference);
        if (syntax.brokenNames.contains(reference.name)) return nullptr;
        const std::string name = nameText(shortened(reference.name));
        if (outputs.contains(reference.name)) {
            syntax.fault(reference.offset,
                         name + " is a variable output, which gives no values to other nodes",
                         "give what feeds it a name of its own, or add an input stream of the same name");
        } else {
            auto remedy = nearest(reference.name, sources, sourceNames);
            if (remedy.empty())
                remedy = "an input stream is written " + name + ": Type, a call " + name + "(...)";
            syntax.fault(reference.offset, "nothing is called " + quotedText(shortened(reference.name)),
                         std::move(remedy));
        }
        return nullptr;
    }

    /// The nearest of the names that have been given, each once, in byte order: the same everywhere.
    static std::string nearest(std::string_view name, const Names& names,
                               std::vector<std::string_view>& sorted) {
        if (sorted.empty()) {
            for (const auto& [label, bearers] : names) sorted.push_back(label);
            std::sort(sorted.begin(), sorted.end());
        }
        return nearestNameRemedy(name, sorted);
    }

    /// The node that a group or an order lists.
    std::optional<std::int64_t> member(const TextReference& reference) {
        if (reference.id) return reference.id;
        for (const Names* names : {&sources, &outputs}) {
            const auto found = names->find(reference.name);
            if (found == names->end()) continue;
            const auto* node = only(found->second, reference);
            return node == nullptr ? std::nullopt : std::optional(node->info.id);
        }
        if (syntax.brokenNames.contains(reference.name)) return std::nullopt;
        auto remedy = nearest(reference.name, sources, sourceNames);
        if (remedy.empty()) remedy = nearest(reference.name, outputs, outputNames);
        syntax.fault(reference.offset, "nothing is called " + quotedText(shortened(reference.name)),
                     std::move(remedy));
        return std::nullopt;
    }

    void connect() {
        for (std::size_t i = 0; i < syntax.nodes.size(); ++i) {
            auto& node = syntax.nodes[i];
            if (node.nodeClass == nullptr || node.category == NodeCategory::InputStream) continue;
            const auto& inputs = node.nodeClass->declaration().inputs;
            std::vector<const TextArgument*> bySlot(inputs.size());
            assignSlots(node, bySlot);
            for (std::size_t slot = 0; slot < bySlot.size(); ++slot) {
                if (bySlot[slot] == nullptr) continue;
                offsets.inputs.push_back({i, slot, bySlot[slot]->offset});
                for (const auto& reference : bySlot[slot]->sources) {
                    if (syntax.problems.size() >= mostTextFaults) return;
                    const auto* from = source(reference);
                    if (from == nullptr) continue;
                    info.connections.push_back(
                        {from->info.id, node.info.id, static_cast<std::int64_t>(slot)});
                    offsets.connections.push_back(reference.offset);
                    wires.push_back({static_cast<std::size_t>(from - syntax.nodes.data()), i, slot});
                }
            }
        }
    }

    static std::string slotList(const Declaration& function) {
        std::string list;
        for (const auto& input : function.inputs) list += (list.empty() ? "" : ", ") + nameText(input.label);
        return list;
    }

    void assignSlots(const TextNode& node, std::vector<const TextArgument*>& bySlot) {
        const auto& function = node.nodeClass->declaration();
        const std::string usage = node.info.typeString + "(" + slotList(function) + ")";
        const std::size_t before = syntax.problems.size();
        std::size_t position = 0;
        for (const auto& argument : node.arguments) {
            const auto slot =
                argument.slot.empty() ? std::optional(position++) : slotNamed(function, argument.slot);
            if (!slot) {
                syntax.fault(
                    argument.offset,
                    node.info.typeString + " has no input called " + quotedText(shortened(argument.slot)),
                    "it is " + usage);
            } else if (*slot >= bySlot.size()) {
                syntax.fault(argument.offset, "this is an input too many", "it is " + usage);
                return;
            } else if (bySlot[*slot] != nullptr) {
                syntax.fault(argument.offset,
                             "the input " + nameText(function.inputs[*slot].label) + " is given twice",
                             "write a | b where two nodes feed it");
            } else {
                bySlot[*slot] = &argument;
            }
        }
        if (syntax.problems.size() != before) return;
        const auto missing = std::find(bySlot.begin(), bySlot.end(), nullptr);
        if (missing == bySlot.end()) return;
        const auto slot = static_cast<std::size_t>(missing - bySlot.begin());
        syntax.fault(node.arguments.empty() ? node.offset : node.arguments.back().offset,
                     "the input " + nameText(function.inputs[slot].label) + " of " + node.info.typeString +
                         " is missing",
                     "it is " + usage + "; write _ where nothing feeds it");
    }

    void typeConstants() {
        std::vector<TypedNode> typed;
        typed.reserve(syntax.nodes.size());
        for (const auto& node : syntax.nodes) {
            TypedNode entry;
            if (node.category == NodeCategory::Function) {
                if (node.nodeClass != nullptr) {
                    entry.function = &node.nodeClass->declaration();
                    if (node.info.outputType) entry.type = concreteClassNamed(*node.info.outputType);
                }
            } else {
                entry.type = concreteClassNamed(node.info.typeString);
                entry.isOpen = !entry.type;
                if (entry.isOpen) entry.look = lookOf(*node.value, node.isValueQuoted);
            }
            typed.push_back(entry);
        }
        findConstantTypes(typed, wires);
        for (std::size_t i = 0; i < typed.size(); ++i) {
            auto& node = syntax.nodes[i];
            if (node.category != NodeCategory::Constant) continue;
            if (!typed[i].type) {
                syntax.fault(node.offset, "the type of this value is not clear",
                             "write it behind the value: " + shortened(*node.value) + ": Float array");
                continue;
            }
            node.info.typeString = typeString(*typed[i].type);
            if (!node.value || node.isValueQuoted || valueFromText(*typed[i].type, *node.value)) continue;
            syntax.fault(
                node.offset,
                shortened(*node.value) + " is no value of the type " + node.info.typeString +
                    ", which is needed here",
                typed[i].isOpen ? "convert what it is used with, or say a type behind the value" : "");
        }
    }

    void writeNodes() {
        for (auto& node : syntax.nodes) {
            const auto id = node.info.id;
            const auto set = [&](std::size_t offset, std::string property, std::string value) {
                info.properties.push_back({id, std::move(property), std::move(value)});
                offsets.properties.push_back(offset);
            };
            // A label that is the type is what a node has anyway.
            if (node.name && *node.name != node.info.typeString) set(node.place(), "Description", *node.name);
            if (node.value) set(node.offset, "OutputValue", std::move(*node.value));
            for (auto& [offset, property] : node.properties)
                set(offset, std::move(property.propertyString), std::move(property.valueString));
            if (node.position) {
                info.positions.push_back({id, node.position->record.x, node.position->record.y});
                offsets.positions.push_back(node.position->offset);
            }
            info.nodes.push_back(node.info);
            offsets.nodes.push_back(node.place());
        }
        const auto append = [](auto& records, auto& places, auto& more) {
            for (auto& [offset, record] : more) {
                records.push_back(std::move(record));
                places.push_back(offset);
            }
        };
        append(info.properties, offsets.properties, syntax.rawProperties);
        append(info.connections, offsets.connections, syntax.rawConnections);
        append(info.positions, offsets.positions, syntax.rawPositions);
    }

    // The wires' connections stand by target, and the raw ones behind them.
    void orderConnections() {
        std::map<std::pair<std::int64_t, std::int64_t>, std::vector<std::size_t>> waiting;
        for (std::size_t i = info.connections.size(); i-- > 0;) {
            const auto& connection = info.connections[i];
            waiting[{connection.inputNodeId, connection.inputIndex}].push_back(i);
        }
        auto sequence = connectionOrder(syntax.usualOrder, syntax.nodes.size(), wires);
        for (std::size_t i = wires.size(); i < info.connections.size(); ++i) sequence.push_back(i);
        std::vector<std::size_t> listed;
        std::vector<bool> isListed(info.connections.size());
        for (const auto& item : syntax.order) {
            if (syntax.problems.size() >= mostTextFaults) return;
            const auto id = member(item.node);
            if (!id) continue;
            const auto found = waiting.find({*id, slotOf(item, withId(*id))});
            if (found == waiting.end() || found->second.empty()) {
                syntax.fault(item.offset, "no connection leads here, or fewer do than are listed",
                             "write node.input, as in above.a");
                continue;
            }
            listed.push_back(found->second.back());
            isListed[listed.back()] = true;
            found->second.pop_back();
        }
        // Those listed take one another's places.
        std::size_t next = 0;
        std::vector<ConnectionInfo> ordered;
        std::vector<std::size_t> places;
        ordered.reserve(sequence.size());
        places.reserve(sequence.size());
        for (const auto i : sequence) {
            const std::size_t from = isListed[i] ? listed[next++] : i;
            ordered.push_back(info.connections[from]);
            places.push_back(offsets.connections[from]);
        }
        info.connections = std::move(ordered);
        offsets.connections = std::move(places);
    }

    static std::int64_t slotOf(const TextOrderItem& item, const TextNode* node) {
        if (item.slot.empty()) return 0;
        if (node != nullptr && node->nodeClass != nullptr) {
            const auto slot = slotNamed(node->nodeClass->declaration(), item.slot);
            if (slot) return static_cast<std::int64_t>(*slot);
        }
        return parseInteger(item.slot).value_or(-1);
    }

    void writeGroups() {
        std::vector<std::vector<ContainerInfo>*> open;
        std::vector<std::vector<TextOffsets::Group>*> openOffsets;
        for (auto& group : syntax.groups) {
            if (syntax.problems.size() >= mostTextFaults) return;
            auto& record = group.info;
            TextOffsets::Group places{group.offset, {}, {}};
            for (const auto& reference : group.members) {
                const auto id = member(reference);
                if (!id) continue;
                record.nodeIds.push_back(*id);
                places.nodeIds.push_back(reference.offset);
            }
            if (group.isEverything) {
                for (const auto& node : info.nodes) record.nodeIds.push_back(node.id);
            }
            if (!group.isBox) {
                if (!info.subdiagrams) info.subdiagrams.emplace();
                info.subdiagrams->push_back({std::move(record.description), std::move(record.nodeIds)});
                offsets.subdiagrams.push_back(std::move(places));
                continue;
            }
            open.resize(group.depth);
            auto& list = open.empty() ? info.containers : open.back()->back().containers;
            if (!list) list.emplace();
            list->push_back(std::move(record));
            open.push_back(&*list);
            openOffsets.resize(group.depth);
            auto& placesList =
                openOffsets.empty() ? offsets.containers : openOffsets.back()->back().containers;
            placesList.push_back(std::move(places));
            openOffsets.push_back(&placesList);
        }
    }

    TextSyntax& syntax;
    DiagramInfo info;
    TextOffsets offsets;
    std::unordered_map<std::int64_t, std::size_t> byId;
    /// The nodes that give values, and the variable outputs.
    Names sources, outputs;
    std::vector<std::string_view> sourceNames, outputNames;
    std::vector<TextWire> wires;
};

std::vector<TextFault> placed(std::vector<TextProblem> problems, std::string_view text) {
    auto order = orderBy(problems.size(), [&](std::size_t i) { return problems[i].offset; });
    if (order.size() > mostTextFaults) order.resize(mostTextFaults);
    std::vector<std::size_t> offsets;
    for (const auto place : order) offsets.push_back(problems[place].offset);
    const auto places = placesOf(offsets, text);
    std::vector<TextFault> faults;
    for (std::size_t i = 0; i < order.size(); ++i) {
        auto& problem = problems[order[i]];
        faults.push_back(
            {places[i].line, places[i].column, std::move(problem.what), std::move(problem.remedy)});
    }
    return faults;
}

// The line that is no UTF-8.
std::size_t faultyLine(std::string_view text) {
    std::size_t begin = 0;
    for (;;) {
        const std::size_t end = std::min(text.find('\n', begin), text.size());
        if (end == text.size() || !isUtf8(text.substr(begin, end - begin))) return begin;
        begin = end + 1;
    }
}

TextReading read(std::string_view text, const NodeRegistry& registry) {
    if (!isUtf8(text)) {
        return {
            {}, {}, placed({{faultyLine(text), "this line is not UTF-8", "save the text as UTF-8"}}, text)};
    }
    TextSyntax syntax = parseText(text, registry);
    auto [info, offsets] = Resolver(syntax).document();
    if (syntax.problems.empty()) return {DiagramData{std::move(info)}, std::move(offsets), {}};
    return {{}, {}, placed(std::move(syntax.problems), text)};
}

}  // namespace

bool isTextForm(std::string_view text) {
    if (text.starts_with(byteOrderMark)) text.remove_prefix(byteOrderMark.size());
    const auto first = text.find_first_not_of(" \t\r\n");
    if (first == std::string_view::npos) return false;
    const char c = text[first];
    const bool isAscii = static_cast<unsigned char>(c) < 0x80;
    return !isAscii || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || c == '#' || c == '/' ||
           c == '`';
}

std::optional<DiagramData> readDiagram(std::string_view text, const NodeRegistry& registry,
                                       DecodeFailure* failure) {
    if (!isTextForm(text)) return DiagramData::decode(text, failure);
    auto reading = readText(text, registry);
    if (!reading.data && failure != nullptr) *failure = {{}, std::move(reading.faults.front().what)};
    return std::move(reading.data);
}

TextReading readText(std::string_view text, const NodeRegistry& registry) {
    // Made before the work, since there may be no memory for it afterwards.
    TextReading outOfMemory{{}, {}, {{1, 1, outOfMemoryReason}}};
    return withinMemory([&] { return read(text, registry); }).value_or(std::move(outOfMemory));
}

}  // namespace KelvaneSDK
