#include <algorithm>
#include <cmath>

#include "KelvaneSDK/FileProcessing/NumberText.h"
#include "KelvaneSDK/Kelvane/MemoryGuard.h"
#include "KelvaneSDK/TextForm/DiagramSheet.h"
#include "KelvaneSDK/TextForm/TextForm.h"
#include "KelvaneSDK/TextForm/TextTokens.h"

namespace KelvaneSDK {

namespace {

constexpr std::size_t lineWidth = 100;

std::string coordinate(double x) {
    std::string text = doubleText(x);
    if (text.ends_with(".0")) text.resize(text.size() - 2);
    return text;
}

std::string place(double x, double y) { return "at (" + coordinate(x) + ", " + coordinate(y) + ")"; }

std::string colorText(const std::string& color) {
    return bodyColorNamed(color) ? color : "Color = " + quotedText(color);
}

class Writer {
public:
    Writer(const DiagramInfo& info, const NodeRegistry& registry) : document(info), sheet(info, registry) {}

    std::string write() {
        writeNotes();
        writeStatements();
        writeBoxes();
        writeSubdiagrams();
        writeRawRecords();
        writeOrder();
        // A text of nothing would be no diagram.
        if (text.empty()) text = "order by target\n";
        return std::move(text);
    }

private:
    void writeNotes() {
        if (!document.manualLines) return;
        for (const auto& line : *document.manualLines) {
            if (isVisibleText(line)) {
                text += line.empty() ? "//\n" : "// " + line + "\n";
            } else {
                text += "raw note(" + quotedText(line) + ")\n";
            }
        }
        if (!document.manualLines->empty()) text += '\n';
    }
    void writeStatements() {
        const SheetNode* previous = nullptr;
        for (const auto& node : sheet.nodes) {
            if (node.isNested) continue;
            // Outputs end a paragraph.
            if (previous != nullptr && previous->isOutput() && !node.isOutput()) text += '\n';
            writeStatement(node);
            previous = &node;
        }
    }

    void writeStatement(const SheetNode& node) {
        const auto& record = *node.record;
        if (node.nodeClass == nullptr) {
            text += "raw node(" + std::to_string(record.id) + ", " + quotedText(record.classString) + ", " +
                    quotedText(record.typeString);
            if (record.outputType) text += ", " + quotedText(*record.outputType);
            text += ")\n";
            return;
        }
        const bool isValue =
            node.category == NodeCategory::Constant || node.category == NodeCategory::Function;
        // A label that is the type needs no name where the id is written.
        const bool hasName = !(node.isAmbiguous && !node.label);
        if (hasName) text += nameText(node.name());
        if (node.isNumbered) text += std::string(hasName ? " " : "") + "#" + std::to_string(record.id);
        if (!isValue) text += ": " + record.typeString;
        if (node.isOutput() || isValue) text += " = ";
        if (node.isOutput()) {
            writeSources(node, 0);
        } else if (isValue) {
            writeExpression(node);
        }
        writeAttributes(node);
        text += '\n';
    }

    void writeReference(const SheetNode& node) {
        if (node.isNested) {
            writeExpression(node);
        } else {
            text += nameOf(node);
        }
    }
    static std::string nameOf(const SheetNode& node) {
        return node.isAmbiguous ? "#" + std::to_string(node.record->id) : nameText(node.name());
    }

    // Nested as deep as the sheet lets nodes nest.
    void writeExpression(const SheetNode& node) {
        if (node.category == NodeCategory::Constant) {
            text += constantText(node);
            return;
        }
        text += nameText(node.record->typeString) + "(";
        const std::size_t count = node.nodeClass->declaration().inputs.size();
        for (std::size_t input = 0; input < count; ++input) {
            if (input > 0) text += ", ";
            writeSources(node, input);
        }
        text += ')';
        if (typeOf(node)) text += ": " + *node.record->outputType;
    }
    // An outputType that is written behind a call.
    static bool typeOf(const SheetNode& node) {
        const auto& type = node.record->outputType;
        return node.category == NodeCategory::Function && type && concreteClassNamed(*type);
    }

    void writeSources(const SheetNode& node, std::size_t input) {
        bool isFirst = true;
        for (std::size_t w = node.firstWire; w < node.firstWire + node.wireCount; ++w) {
            if (sheet.wires[w].input != input) continue;
            if (!isFirst) text += " | ";
            writeReference(sheet.nodes[sheet.wires[w].from]);
            isFirst = false;
        }
        if (isFirst) text += '_';
    }

    void writeAttributes(const SheetNode& node) {
        std::string list;
        const auto add = [&](const std::string& attribute) {
            list += (list.empty() ? "" : ", ") + attribute;
        };
        if (node.record->outputType && !typeOf(node))
            add("outputType = " + quotedText(*node.record->outputType));
        for (const auto* property : node.properties) {
            const auto& [id, name, value] = *property;
            if (name == "Color") {
                add(colorText(value));
            } else if (name == "Hidden" && value == "true" && node.isOutput()) {
                add("hidden");
            } else if (name == "Forwarding" && value == "false" &&
                       node.category == NodeCategory::InputStream) {
                add("not forwarded");
            } else {
                add(attributeName(name) + " = " + quotedText(value));
            }
        }
        if (node.position != nullptr && std::isfinite(node.position->x) && std::isfinite(node.position->y)) {
            add(place(node.position->x, node.position->y));
        }
        if (!list.empty()) text += " [" + list + "]";
    }
    static std::string attributeName(const std::string& name) {
        return name == "at" ? quotedText(name, '`') : nameText(name);
    }

    // The name of a node that a group or the order lists.
    std::string memberName(std::int64_t id) const {
        const auto* node = sheet.find(id);
        return node == nullptr ? "#" + std::to_string(id) : nameOf(*node);
    }

    void indent(std::size_t depth) { text.append(4 * std::min<std::size_t>(depth, 8), ' '); }

    void writeList(const std::vector<std::string>& items, std::size_t depth) {
        std::size_t width = 0;
        for (std::size_t i = 0; i < items.size(); ++i) {
            if (i == 0 || width + items[i].size() + 2 > lineWidth) {
                if (i > 0) text += '\n';
                indent(depth);
                width = 4 * depth;
            } else {
                text += ' ';
            }
            text += items[i];
            if (i + 1 < items.size()) text += ',';
            width += items[i].size() + 2;
        }
        if (!items.empty()) text += '\n';
    }

    void writeMembers(const std::vector<std::int64_t>& ids, std::size_t depth) {
        std::vector<std::string> names;
        for (const auto id : ids) names.push_back(memberName(id));
        writeList(names, depth);
    }

    void separate() {
        if (!text.empty() && !text.ends_with("\n\n")) text += '\n';
    }

    void writeBoxes() {
        struct Level {
            const std::vector<ContainerInfo>* list;
            std::size_t next;
        };
        std::vector<Level> open;
        if (document.containers) open.push_back({&*document.containers, 0});
        while (!open.empty()) {
            Level& level = open.back();
            if (level.next == level.list->size()) {
                open.pop_back();
                if (open.empty()) break;
                indent(open.size() - 1);
                text += "}\n";
                continue;
            }
            const auto& box = (*level.list)[level.next++];
            const std::size_t depth = open.size() - 1;
            if (depth == 0) separate();
            indent(depth);
            text += "box " + nameText(box.description);
            std::string attributes = box.color ? colorText(*box.color) : "";
            const bool isPlaced = std::isfinite(box.x) && std::isfinite(box.y) &&
                                  (box.x != 0 || box.y != 0 || std::signbit(box.x) || std::signbit(box.y));
            if (isPlaced) attributes += (attributes.empty() ? "" : ", ") + place(box.x, box.y);
            if (!attributes.empty()) text += " [" + attributes + "]";
            text += " {\n";
            writeMembers(box.nodeIds, depth + 1);
            static const std::vector<ContainerInfo> none;
            open.push_back({box.containers ? &*box.containers : &none, 0});
        }
    }

    void writeSubdiagrams() {
        if (!document.subdiagrams) return;
        bool hasEverything = false;
        for (const auto& subdiagram : *document.subdiagrams) {
            separate();
            text += "subdiagram " + nameText(subdiagram.description) + " {";
            const auto& ids = subdiagram.nodeIds;
            const bool isEverything =
                !ids.empty() && !hasEverything &&
                std::equal(ids.begin(), ids.end(), document.nodes.begin(), document.nodes.end(),
                           [](auto id, const NodeInfo& node) { return id == node.id; });
            hasEverything |= isEverything;
            text += isEverything ? " * " : "\n";
            if (!isEverything) writeMembers(ids, 1);
            text += "}\n";
        }
    }

    void writeRawRecords() {
        if (!sheet.rawProperties.empty() || !sheet.rawPositions.empty() || !sheet.rawConnections.empty())
            separate();
        for (const auto* property : sheet.rawProperties) {
            text += "raw property(" + std::to_string(property->id) + ", " +
                    quotedText(property->propertyString) + ", " + quotedText(property->valueString) + ")\n";
        }
        for (const auto* connection : sheet.rawConnections) {
            text += "raw connection(" + std::to_string(connection->outputNodeId) + ", " +
                    std::to_string(connection->inputNodeId) + ", " + std::to_string(connection->inputIndex) +
                    ")\n";
        }
        for (const auto* position : sheet.rawPositions) {
            if (!std::isfinite(position->x) || !std::isfinite(position->y)) continue;
            text += "raw position(" + std::to_string(position->id) + ", " + coordinate(position->x) + ", " +
                    coordinate(position->y) + ")\n";
        }
    }

    void writeOrder() {
        if (sheet.usualOrder != ConnectionOrder::byDependency) {
            separate();
            text += sheet.usualOrder == ConnectionOrder::bySource ? "order by source\n" : "order by target\n";
        }
        if (sheet.order.empty()) return;
        separate();
        text += "order {\n";
        std::vector<std::string> items;
        for (const auto* connection : sheet.order) items.push_back(orderItem(*connection));
        writeList(items, 1);
        text += "}\n";
    }

    std::string orderItem(const ConnectionInfo& connection) const {
        const std::string name = memberName(connection.inputNodeId);
        const auto* node = sheet.find(connection.inputNodeId);
        if (connection.inputIndex == 0 && node != nullptr && node->isOutput()) return name;
        const std::string number = name + "." + std::to_string(connection.inputIndex);
        if (node == nullptr || node->nodeClass == nullptr) return number;
        const auto& inputs = node->nodeClass->declaration().inputs;
        const auto input = static_cast<std::size_t>(connection.inputIndex);
        if (connection.inputIndex < 0 || input >= inputs.size()) return number;
        const std::string_view label = inputs[input].label;
        const bool isUnique = std::count_if(inputs.begin(), inputs.end(),
                                            [&](const auto& other) { return other.label == label; }) == 1;
        return isUnique && !label.empty() ? name + "." + nameText(label) : number;
    }

    const DiagramInfo& document;
    DiagramSheet sheet;
    std::string text;
};

}  // namespace

std::optional<std::string> writeText(const DiagramData& data, const NodeRegistry& registry) {
    // Long lines are broken as they are in any text.
    return withinMemory([&] { return inGoodOrder(Writer(data.info, registry).write()); });
}

}  // namespace KelvaneSDK
