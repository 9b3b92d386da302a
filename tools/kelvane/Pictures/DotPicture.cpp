#include <algorithm>
#include <map>

#include "Pictures/DiagramPicture.h"
#include "Pictures/DrawnDiagram.h"
#include "Pictures/FrameOrder.h"
#include "Pictures/Markup.h"

namespace kelvane {

using namespace KelvaneSDK;

namespace {

// As Graphviz shows it between the marks of its own markup, where nothing may be empty.
std::string dotMarkup(std::string_view text) {
    return text.empty() ? " " : markupText(fittingText(text.substr(0, 400), 11, 300));
}

std::string dotQuoted(std::string_view text) {
    std::string result = "\"";
    for (const char character : markupText(text)) {
        if (character == '\\' || character == '"') result += '\\';
        result += character;
    }
    return result + "\"";
}

/// Writes statements, frame by frame.
class DotWriter {
public:
    DotWriter(const DrawnDiagram& drawn, const PictureOptions& chosen) : diagram(drawn), options(chosen) {
        for (const auto& note : options.notes) {
            auto& own = notes[note.node];
            own.severity = std::max(own.severity, note.severity);
            own.text += (own.text.empty() ? "" : "\n") + note.text;
        }
    }

    std::string write() && {
        text = "digraph {\n  label=" + dotQuoted(options.title) +
               ";\n  rankdir=LR;\n  fontname=\"Helvetica\";\n"
               "  node [fontname=\"Helvetica\", fontsize=11, shape=box, color=\"#aeb6c2\"];\n"
               "  edge [fontname=\"Helvetica\", fontsize=9, arrowhead=none];\n";
        forEachFrame(
            diagram,
            [&](std::size_t frame) {
                text += "  subgraph cluster" + std::to_string(frame) +
                        " { label=" + dotQuoted(diagram.frames[frame].title) +
                        "; style=\"rounded,filled\"; color=\"#aeb6c2\"; fillcolor=\"#eef1f5\";\n";
            },
            [&](std::size_t) { text += "  }\n"; }, [&](std::size_t node) { writeDotNode(node); });
        for (const auto& wire : diagram.wires) writeDotWire(wire);
        return text + "}\n";
    }

private:
    struct Marks {
        Severity severity = Severity::warning;
        std::string text;
    };

    void writeDotNode(std::size_t index) {
        const auto& node = diagram.nodes[index];
        const auto colour = "\"" + std::string(lightColour(node.style)) + "\"";
        text += "  n" + std::to_string(index) + " [label=<<TABLE BORDER=\"0\" CELLSPACING=\"0\">";
        const auto row = [&](const std::string& cell) { text += "<TR><TD>" + cell + "</TD></TR>"; };
        row("<B>" + dotMarkup(node.kind == NodeKind::constant ? constantText(node) : node.name) + "</B>");
        if (!node.detail.empty() && node.kind != NodeKind::constant) row(dotMarkup(node.detail));
        if (node.kind == NodeKind::function) {
            for (std::size_t i = 0; i < node.inputs.size(); ++i)
                text += "<TR><TD ALIGN=\"LEFT\" PORT=\"i" + std::to_string(i) + "\">" +
                        dotMarkup(node.inputs[i].label) + "</TD></TR>";
        }
        text += "</TABLE>>, tooltip=";
        const auto found = notes.find(node.id);
        text += dotQuoted(node.tooltip + (found == notes.end() ? "" : "\n" + found->second.text));
        if (node.kind == NodeKind::function) text += ", style=\"rounded,filled\", fillcolor=\"#f7f8fa\"";
        if (node.kind == NodeKind::stream) text += ", style=rounded, penwidth=2, color=" + colour;
        if (node.kind == NodeKind::constant) text += ", fontcolor=" + colour + ", color=" + colour;
        if (node.kind == NodeKind::output)
            text += ", style=\"rounded,filled\", fontcolor=white, fillcolor=" + colour + ", color=" + colour;
        if (found != notes.end())
            text +=
                ", penwidth=2, color=\"" +
                std::string(lightColour(found->second.severity == Severity::warning ? "warning" : "error")) +
                "\"";
        if (options.highlighted.contains(node.id))
            text += ", penwidth=4, color=\"" + std::string(lightColour("accent")) + "\"";
        text += "];\n";
    }

    void writeDotWire(const DrawnWire& wire) {
        const auto& source = diagram.nodes[wire.from];
        text += "  n" + std::to_string(wire.from) + " -> n" + std::to_string(wire.to);
        if (diagram.nodes[wire.to].kind == NodeKind::function)
            text += ":i" + std::to_string(wire.input) + ":w";
        text += " [color=\"" + std::string(lightColour(source.style)) + "\"";
        if (source.style.find("array") != std::string_view::npos) text += ", penwidth=3";
        if (wire.isFeedback) text += ", style=dashed, constraint=false";
        const auto value = options.values.find(source.id);
        if (value != options.values.end() && source.kind != NodeKind::constant)
            text += ", taillabel=" + dotQuoted(value->second);
        text += "];\n";
    }

    const DrawnDiagram& diagram;
    const PictureOptions& options;
    std::map<std::int64_t, Marks> notes;
    std::string text;
};

}  // namespace

std::string dotPicture(const DiagramData& document, const PictureOptions& options) {
    const auto diagram = drawnDiagram(document);
    return DotWriter(diagram, options).write();
}

}  // namespace kelvane
