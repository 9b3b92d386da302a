#include "Pictures/DrawnDiagram.h"

#include <algorithm>
#include <cmath>
#include <tuple>
#include <unordered_map>
#include <utility>

#include "KelvaneSDK/Kelvane/Kelvane.h"
#include "KelvaneSDK/NodeClass.h"
#include "Pictures/TypeFlow.h"

namespace kelvane {

using namespace KelvaneSDK;

namespace {

// A connection to an input beyond this one is taken for a fault.
constexpr std::int64_t mostInputs = 32;
// Somebody reads a tooltip, but not a book in it.
constexpr std::size_t longestTooltip = 2000;

std::string cut(std::string text) {
    if (text.size() > longestTooltip) text = text.substr(0, longestTooltip) + "…";
    return text;
}

/// Reads a document, list by list.
class DocumentDrawing {
public:
    explicit DocumentDrawing(const DiagramInfo& document) : info(document), declarations(info.nodes.size()) {}

    DrawnDiagram draw() && {
        addNodes();
        addProperties();
        addPositions();
        addWires();
        addTypes();
        addFrames();
        addFeedback();
        for (const auto& group : info.subdiagrams.value_or(std::vector<SubdiagramInfo>())) addGroup(group);
        diagram.notes = info.manualLines.value_or(std::vector<std::string>());
        return std::move(diagram);
    }

private:
    void addNodes() {
        diagram.nodes.resize(info.nodes.size());
        for (std::size_t i = 0; i < info.nodes.size(); ++i) {
            const auto& record = info.nodes[i];
            byId.try_emplace(record.id, i);
            auto& node = diagram.nodes[i];
            node.id = record.id;
            const auto category = categoryNamed(record.classString);
            node.kind = category == NodeCategory::Constant         ? NodeKind::constant
                        : category == NodeCategory::InputStream    ? NodeKind::stream
                        : category == NodeCategory::VariableOutput ? NodeKind::output
                                                                   : NodeKind::function;
            if (node.kind == NodeKind::output)
                node.inputs.emplace_back();
            else
                node.output.emplace();
            if (node.kind != NodeKind::function) continue;
            const auto* const known = NodeRegistry::library().find(NodeCategory::Function, record.typeString);
            if (known == nullptr) continue;
            declarations[i] = &known->declaration();
            for (const auto& input : known->declaration().inputs) {
                node.inputs.emplace_back();
                node.inputs.back().label = input.label;
            }
        }
    }

    void addProperties() {
        std::vector<std::string> remarks(diagram.nodes.size());
        for (const auto& property : info.properties) {
            const auto found = byId.find(property.id);
            if (found == byId.end()) continue;
            auto& node = diagram.nodes[found->second];
            const auto& [name, text] = std::tie(property.propertyString, property.valueString);
            if (name == "Description") node.name = text;
            if (name == "OutputValue" && node.kind == NodeKind::constant) node.value = text;
            if (name == "Color" && bodyColorNamed(text)) node.color = text;
            if (name == "Forwarding" && node.kind == NodeKind::stream)
                remarks[found->second] = text == "true" ? "" : "not in the results";
            if (name == "Hidden" && node.kind == NodeKind::output)
                remarks[found->second] = text == "true" ? "not in the results" : "";
        }
        for (std::size_t i = 0; i < diagram.nodes.size(); ++i) {
            auto& node = diagram.nodes[i];
            const auto& type = info.nodes[i].typeString;
            node.isLabelled = !node.name.empty() && node.name != type;
            if (!node.isLabelled) node.name = type;
            node.detail = node.isLabelled ? type : "";
            if (!remarks[i].empty()) node.detail += node.detail.empty() ? remarks[i] : ", " + remarks[i];
        }
    }

    void addPositions() {
        for (const auto& position : info.positions) {
            const auto found = byId.find(position.id);
            if (found == byId.end() || !std::isfinite(position.x) || !std::isfinite(position.y)) continue;
            diagram.nodes[found->second].given = Point{position.x, position.y};
        }
    }

    void addWires() {
        for (const auto& connection : info.connections) {
            const auto from = byId.find(connection.outputNodeId), to = byId.find(connection.inputNodeId);
            if (from == byId.end() || to == byId.end()) continue;
            auto& source = diagram.nodes[from->second];
            auto& target = diagram.nodes[to->second];
            if (!source.output || connection.inputIndex < 0 || connection.inputIndex >= mostInputs) continue;
            const auto input = static_cast<std::size_t>(connection.inputIndex);
            const bool isUnknown = target.kind == NodeKind::function && !declarations[to->second];
            if (isUnknown && input >= target.inputs.size()) target.inputs.resize(input + 1);
            if (input >= target.inputs.size()) continue;
            source.output->isConnected = target.inputs[input].isConnected = true;
            diagram.wires.push_back({from->second, to->second, input, false, {}});
        }
    }

    void addTypes() {
        const auto types = typesInDiagram(info, declarations, diagram.wires);
        for (std::size_t i = 0; i < diagram.nodes.size(); ++i) {
            auto& node = diagram.nodes[i];
            const auto* const facts = declarations[i];
            node.style = typeStyle(types[i].output);
            if (node.output) {
                node.output->style = node.style;
                node.output->meaning = types[i].output;
            }
            std::string inputs;
            for (std::size_t k = 0; k < node.inputs.size(); ++k) {
                auto& port = node.inputs[k];
                const auto& type = node.kind == NodeKind::output ? types[i].output : types[i].inputs[k];
                port.style = typeStyle(type);
                port.meaning = port.label.empty() ? type : port.label + ": " + type;
                if (facts == nullptr) continue;
                if (const auto& meaning = facts->inputs[k].meaning; !meaning.empty())
                    port.meaning += ", " + std::string(meaning);
            }
            const auto& type = info.nodes[i].typeString;
            auto text = node.name == type ? type : node.name + " (" + type + ")";
            if (facts != nullptr) text += ": " + std::string(facts->description);
            if (facts != nullptr && !facts->silentWhen.empty())
                text += "; silent " + std::string(facts->silentWhen);
            if (node.kind == NodeKind::stream) text += ": an input stream";
            if (node.kind == NodeKind::output) text += ": a result";
            if (node.kind == NodeKind::constant) text += " = " + node.value;
            node.tooltip = cut(std::move(text));
        }
    }

    void addFrames() {
        if (!info.containers) return;
        struct Pending {
            const ContainerInfo* container;
            std::size_t parent, depth;
        };
        std::vector<Pending> pending;
        const auto push = [&](const std::vector<ContainerInfo>& list, std::size_t parent, std::size_t depth) {
            for (auto each = list.rbegin(); each != list.rend(); ++each)
                pending.push_back({&*each, parent, depth});
        };
        push(*info.containers, nothing, 0);
        std::vector<bool> isFramed(diagram.nodes.size());
        while (!pending.empty()) {
            const auto [container, parent, depth] = pending.back();
            pending.pop_back();
            std::size_t frame = parent;
            if (depth < deepestFrame) {
                frame = diagram.frames.size();
                const auto& color = container->color;
                diagram.frames.push_back({container->description,
                                          color && bodyColorNamed(*color) ? *color : "",
                                          parent,
                                          depth,
                                          {}});
            }
            for (const auto id : container->nodeIds) {
                const auto found = byId.find(id);
                if (found == byId.end() || isFramed[found->second]) continue;
                isFramed[found->second] = true;
                diagram.nodes[found->second].frame = frame;
            }
            if (container->containers) push(*container->containers, frame, depth + 1);
        }
        dropEmptyFrames();
    }

    void dropEmptyFrames() {
        auto& frames = diagram.frames;
        std::vector<bool> isNeeded(frames.size());
        for (const auto& node : diagram.nodes)
            if (node.frame != nothing) isNeeded[node.frame] = true;
        for (std::size_t i = frames.size(); i-- > 0;)
            if (isNeeded[i] && frames[i].parent != nothing) isNeeded[frames[i].parent] = true;
        std::vector<std::size_t> place(frames.size(), nothing);
        std::size_t count = 0;
        for (std::size_t i = 0; i < frames.size(); ++i) {
            if (!isNeeded[i]) continue;
            place[i] = count;
            if (frames[i].parent != nothing) frames[i].parent = place[frames[i].parent];
            if (count != i) frames[count] = std::move(frames[i]);
            ++count;
        }
        frames.resize(count);
        for (auto& node : diagram.nodes)
            if (node.frame != nothing) node.frame = place[node.frame];
    }

    // The first output and the first stream of a label stand for those that share it.
    void addFeedback() {
        std::unordered_map<std::string_view, std::size_t> streams;
        for (std::size_t i = 0; i < diagram.nodes.size(); ++i)
            if (diagram.nodes[i].kind == NodeKind::stream) streams.try_emplace(diagram.nodes[i].name, i);
        for (std::size_t i = 0; i < diagram.nodes.size(); ++i) {
            const auto& node = diagram.nodes[i];
            if (node.kind != NodeKind::output) continue;
            const auto stream = streams.find(node.name);
            if (stream != streams.end()) diagram.wires.push_back({i, stream->second, 0, true, {}});
        }
    }

    void addGroup(const SubdiagramInfo& record) {
        DrawnGroup group{record.description, {}};
        for (const auto id : record.nodeIds) {
            const auto found = byId.find(id);
            if (found == byId.end()) continue;
            const auto& node = diagram.nodes[found->second];
            if (node.kind != NodeKind::constant || node.isLabelled) group.members.push_back(node.name);
        }
        if (record.nodeIds.size() == diagram.nodes.size()) group.members = {"all nodes"};
        diagram.groups.push_back(std::move(group));
    }

    const DiagramInfo& info;
    DrawnDiagram diagram;
    std::unordered_map<std::int64_t, std::size_t> byId;
    std::vector<const Declaration*> declarations;
};

}  // namespace

DrawnDiagram drawnDiagram(const DiagramData& document) { return DocumentDrawing(document.info).draw(); }

}  // namespace kelvane
