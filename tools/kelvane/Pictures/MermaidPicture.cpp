#include <set>

#include "Pictures/DiagramPicture.h"
#include "Pictures/DrawnDiagram.h"
#include "Pictures/FrameOrder.h"
#include "Pictures/Markup.h"

namespace kelvane {

using namespace KelvaneSDK;

namespace {

// In quotes, where only entities of Mermaid's own mean signs that it would take for its language.
std::string mermaidQuoted(std::string_view text) {
    std::string result = "\"";
    const auto words = fittingText(text.substr(0, 400), 11, 300);
    // Bytes that are no UTF-8, and control characters, are replaced as in markup.
    const auto safe = markupText(words);
    for (std::size_t i = 0; i < safe.size(); ++i) {
        const char character = safe[i];
        if (character == '&')
            result += '#';
        else if (character == '#' || character == '`' || character == '\\')
            result += "#" + std::to_string(static_cast<int>(character)) + ";";
        else
            result += character == '\n' || character == '\t' ? ' ' : character;
    }
    return result + "\"";
}

std::string mermaidNode(const DrawnNode& node) {
    const bool isConstant = node.kind == NodeKind::constant;
    auto label = mermaidQuoted(isConstant ? constantText(node) : node.name);
    if (!node.detail.empty() && !isConstant) {
        const auto detail = mermaidQuoted(node.detail);
        label.pop_back();
        label += "<br>" + detail.substr(1);
    }
    switch (node.kind) {
        case NodeKind::stream:
            return "([" + label + "])";
        case NodeKind::output:
            return "[[" + label + "]]";
        case NodeKind::constant:
            return "{{" + label + "}}";
        case NodeKind::function:
            break;
    }
    return "[" + label + "]";
}

// The style of a type as a name of Mermaid's.
std::string className(std::string_view style) {
    std::string name(style);
    for (auto& character : name)
        if (character == ' ') character = '_';
    return name;
}

}  // namespace

std::string mermaidPicture(const DiagramData& document, const PictureOptions& options) {
    const auto diagram = drawnDiagram(document);
    std::string text = "---\ntitle: " + mermaidQuoted(options.title) + "\n---\nflowchart LR\n";
    std::set<std::string_view> styles;
    std::set<std::int64_t> noted;
    for (const auto& note : options.notes) noted.insert(note.node);
    std::string marked, highlighted;
    forEachFrame(
        diagram,
        [&](std::size_t frame) {
            text += "subgraph f" + std::to_string(frame) + " [" + mermaidQuoted(diagram.frames[frame].title) +
                    "]\n";
        },
        [&](std::size_t) { text += "end\n"; },
        [&](std::size_t index) {
            const auto& node = diagram.nodes[index];
            const auto name = "n" + std::to_string(index);
            text += "  " + name + mermaidNode(node);
            if (node.kind != NodeKind::function) {
                text += ":::" + className(node.style);
                styles.insert(node.style);
            }
            text += "\n";
            if (noted.contains(node.id)) marked += (marked.empty() ? "" : ",") + name;
            if (options.highlighted.contains(node.id)) highlighted += (highlighted.empty() ? "" : ",") + name;
        });
    for (const auto& wire : diagram.wires) {
        const auto& source = diagram.nodes[wire.from];
        const auto value = options.values.find(source.id);
        std::string label = wire.isFeedback ? "" : diagram.nodes[wire.to].inputs[wire.input].label;
        if (value != options.values.end() && source.kind != NodeKind::constant)
            label += (label.empty() ? "" : " = ") + value->second;
        text += "  n" + std::to_string(wire.from) + (wire.isFeedback ? " -.->" : " -->") +
                (label.empty() ? "" : "|" + mermaidQuoted(label) + "|") + " n" + std::to_string(wire.to) +
                "\n";
    }
    for (const auto style : styles)
        text += "classDef " + className(style) + " stroke:" + std::string(lightColour(style)) +
                ",stroke-width:2px\n";
    if (!marked.empty())
        text += "classDef marked stroke:" + std::string(lightColour("error")) + ",stroke-width:3px\nclass " +
                marked + " marked\n";
    if (!highlighted.empty())
        text += "classDef highlighted stroke:" + std::string(lightColour("accent")) +
                ",stroke-width:4px\nclass " + highlighted + " highlighted\n";
    return text;
}

}  // namespace kelvane
