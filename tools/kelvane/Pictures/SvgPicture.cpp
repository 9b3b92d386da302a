#include <algorithm>
#include <array>
#include <map>
#include <set>

#include "Pictures/DiagramPicture.h"
#include "Pictures/DiagramWords.h"
#include "Pictures/DrawnDiagram.h"
#include "Pictures/Markup.h"
#include "Pictures/NodeSizes.h"
#include "Pictures/SvgStyles.h"
#include "Pictures/TextLines.h"

namespace kelvane {

using namespace KelvaneSDK;

namespace {

using Sizes = NodeSizes;

constexpr double pictureMargin = 24, roomForValueTexts = 48, noteLineHeight = 18, noteSize = 13;
constexpr std::size_t mostNotes = 200, mostLinesOfNote = 12;

/// Writes elements, part after part.
class SvgWriter {
public:
    SvgWriter(const DrawnDiagram& drawn, const PictureOptions& chosen) : diagram(drawn), options(chosen) {
        for (const auto& note : options.notes) notes[note.node].push_back(&note);
    }

    std::string write() && {
        for (std::size_t i = 0; i < diagram.frames.size(); ++i) writeFrame(diagram.frames[i]);
        for (const auto& wire : diagram.wires) writeWire(wire);
        for (const auto& frame : diagram.frames) writeFrameTitle(frame);
        for (const auto& node : diagram.nodes) writeNode(node);
        for (const auto& node : diagram.nodes) writeValue(node);
        measure();
        writeTexts();
        return head() + body + "</svg>\n";
    }

private:
    static std::string quoted(std::string_view name, const std::string& text) {
        return " " + std::string(name) + "=\"" + text + "\"";
    }
    static std::string number(std::string_view name, double value) {
        return quoted(name, pictureNumber(value));
    }
    static std::string place(const Box& box) {
        return number("x", box.x) + number("y", box.y) + number("width", box.width) +
               number("height", box.height);
    }
    static std::string id(std::string_view name, std::int64_t value) {
        return quoted(name, std::to_string(value));
    }

    void text(const std::string& classes, double x, double y, std::string_view words) {
        body += "<text" + quoted("class", classes) + number("x", x) + number("y", y) + ">" +
                markupText(words) + "</text>";
    }
    void title(std::string_view words) {
        if (!words.empty()) body += "<title>" + markupText(words) + "</title>";
    }

    void writeFrame(const DrawnFrame& frame) {
        body += "<g" + quoted("class", "frame" + (frame.color.empty() ? "" : " tint " + frame.color)) + ">";
        title(frame.title.substr(0, 2000));
        body += "<rect" + place(frame.box) + " rx=\"9\"/></g>\n";
    }
    // Over the wires that cross it.
    void writeFrameTitle(const DrawnFrame& frame) {
        if (frame.title.empty()) return;
        text("frame-title", frame.box.x + 12, frame.box.y + 18,
             fittingText(std::string_view(frame.title).substr(0, 400), 12.5 * Sizes::bold,
                         frame.box.width - 18));
    }

    void writeWire(const DrawnWire& wire) {
        const auto& source = diagram.nodes[wire.from];
        const auto& target = diagram.nodes[wire.to];
        std::string ends = id("data-from", source.id) + id("data-to", target.id);
        if (!wire.isFeedback) ends += quoted("data-input", std::to_string(wire.input));
        ends += quoted("d", wire.path);
        if (options.forViewer) body += "<path class=\"hit\"" + ends + "/>";
        body += "<path" +
                quoted("class", std::string(wire.isFeedback ? "wire feedback " : "wire ") +
                                    std::string(source.style)) +
                ends + "/>\n";
    }

    void writeNode(const DrawnNode& node) {
        static constexpr std::array<std::string_view, 4> kinds{"function", "constant", "stream", "output"};
        const auto found = notes.find(node.id);
        std::string classes = "node " + std::string(kinds[static_cast<std::size_t>(node.kind)]);
        if (node.kind != NodeKind::function) classes += " " + std::string(node.style);
        if (!node.color.empty()) classes += " tint " + node.color;
        if (options.highlighted.contains(node.id)) classes += " highlighted";
        if (node.reader != nothing) classes += " beside";
        body += "<g" + quoted("class", classes) + id("data-node", node.id) + ">";
        title(node.tooltip);
        const auto& box = node.box;
        if (options.highlighted.contains(node.id))
            body += "<rect class=\"halo\"" + place(box.grown(5)) + number("rx", cornerOf(node) + 5) + "/>";
        body += "<rect class=\"body\"" + place(box) + number("rx", cornerOf(node)) + "/>";
        if (node.kind == NodeKind::function && !node.color.empty())
            body += "<path class=\"strip\"" +
                    quoted("d", "M" + pictureNumber(box.x + 6) + " " + pictureNumber(box.y + 2.5) + "h" +
                                    pictureNumber(box.width - 12)) +
                    "/>";
        if (node.kind == NodeKind::constant)
            writeConstantText(node);
        else
            writeNames(node);
        for (std::size_t i = 0; i < node.inputs.size(); ++i) writeInput(node, i);
        if (node.output) writePort(node, *node.output, "out", "");
        if (found != notes.end()) writeNotes(node, found->second);
        body += "</g>\n";
    }

    static double cornerOf(const DrawnNode& node) {
        if (node.kind == NodeKind::function) return 7;
        return node.kind == NodeKind::constant ? 3 : node.box.height / 2;
    }

    void writeNames(const DrawnNode& node) {
        const auto& box = node.box;
        const bool isEnd = node.kind != NodeKind::function;
        const double x = box.x + (isEnd ? 30 : Sizes::margin);
        const double room = box.width - (isEnd ? 46 : 2 * Sizes::margin);
        if (isEnd) {
            const double y = box.y + box.height / 2;
            body += "<path class=\"arrow\"" +
                    quoted("d", "M" + pictureNumber(box.x + 14) + " " + pictureNumber(y - 5) + "l9 5l-9 5z") +
                    "/>";
        }
        const auto shown = [&](const std::string& words, double size) {
            return fittingText(std::string_view(words).substr(0, 400), size, room);
        };
        const double base = isEnd && node.detail.empty() ? box.height / 2 + 4.5 : Sizes::nameBase;
        text("name", x, box.y + base, shown(node.name, Sizes::name * Sizes::bold));
        if (!node.detail.empty())
            text("detail", x, box.y + Sizes::detailBase, shown(node.detail, Sizes::detail));
    }

    void writeConstantText(const DrawnNode& node) {
        const auto& box = node.box;
        const bool isBeside = node.reader != nothing;
        const auto words = constantText(node);
        const double size = isBeside ? Sizes::port : Sizes::name, inset = isBeside ? 6 : 10;
        text("content", box.x + inset, box.y + box.height / 2 + size * 0.36,
             fittingText(std::string_view(words).substr(0, 400), size * Sizes::bold, box.width - 2 * inset));
    }

    void writeInput(const DrawnNode& node, std::size_t i) {
        const auto& port = node.inputs[i];
        writePort(node, port, port.isConnected ? "in" : "in open", quoted("data-input", std::to_string(i)));
        if (port.label.empty()) return;
        text("label", node.box.x + Sizes::margin, node.box.y + port.place.y + 4, port.label);
    }

    void writePort(const DrawnNode& node, const DrawnPort& port, const std::string& role,
                   const std::string& more) {
        body += "<circle" + quoted("class", "port " + role + " " + std::string(port.style)) + more +
                number("cx", node.box.x + port.place.x) + number("cy", node.box.y + port.place.y) +
                " r=\"4.5\">";
        title(port.meaning);
        body += "</circle>";
    }

    void writeNotes(const DrawnNode& node, const std::vector<const NodeNote*>& all) {
        auto gravest = Severity::warning;
        std::string words;
        for (const auto* note : all) {
            gravest = std::max(gravest, note->severity);
            if (words.size() < 4000) words += (words.empty() ? "" : "\n") + note->text.substr(0, 2000);
        }
        const double x = node.box.right() - 4, y = node.box.y + 1;
        body += "<g" + quoted("class", gravest == Severity::warning ? "note warning" : "note error") + ">";
        title(words);
        body += "<circle" + number("cx", x) + number("cy", y) + " r=\"8.5\"/>";
        text("", x, y + 4.5, "!");
        body += "</g>";
    }

    void writeValue(const DrawnNode& node) {
        if (!node.output && node.kind != NodeKind::output) return;
        const auto value = options.values.find(node.id);
        if (value == options.values.end() && !options.forViewer) return;
        // Constants show theirs themselves.
        if (node.kind == NodeKind::constant && !options.forViewer) return;
        const bool isResult = node.kind == NodeKind::output;
        const double y = node.box.y + (node.output ? node.output->place.y : node.box.height / 2);
        body += "<text" +
                quoted("class", "value " + std::string(node.style) +
                                    (node.kind == NodeKind::constant ? " constant" : "")) +
                id("data-node", node.id) + number("x", node.box.right() + 8) +
                number("y", isResult ? y + 4 : y - 6) + ">";
        if (value != options.values.end()) body += markupText(value->second);
        body += "</text>\n";
    }

    void measure() {
        Box all = diagram.extent;
        for (const auto& frame : diagram.frames) all = all.with(frame.box);
        const bool hasValues = options.forViewer || !options.values.empty();
        for (const auto& node : diagram.nodes) {
            auto box = node.box;
            if (hasValues && node.kind != NodeKind::constant) box.width += 90;
            all = all.with(box);
        }
        left = all.x - pictureMargin;
        top = all.y - pictureMargin;
        width = std::max(all.right() + pictureMargin - left, 320.0);
        end = all.bottom() + pictureMargin;
    }

    // Below the diagram: what its author noted, its subdiagrams, and what the colours mean.
    void writeTexts() {
        const double x = left + pictureMargin, widest = std::clamp(width - 2 * pictureMargin, 270.0, 900.0);
        double y = end + 2;
        const auto paragraph = [&](const std::string& classes, const std::string& words) {
            for (const auto& line : textLines(words, noteSize, widest, mostLinesOfNote)) {
                y += noteLineHeight;
                text(classes, x, y, line);
            }
        };
        if (diagram.nodes.empty()) paragraph("empty", "The diagram is empty.");
        if (!diagram.notes.empty()) {
            body += "<g class=\"notes\">";
            for (std::size_t i = 0; i < diagram.notes.size() && i < mostNotes; ++i)
                paragraph("", diagram.notes[i]);
            body += "</g>\n";
            y += 10;
        }
        for (std::size_t i = 0; i < diagram.groups.size() && i < mostNotes; ++i) {
            const auto& group = diagram.groups[i];
            std::string members;
            for (std::size_t k = 0; k < group.members.size() && k < 100; ++k)
                members += (k > 0 ? ", " : "") + group.members[k].substr(0, 200);
            body += "<g class=\"legend\">";
            paragraph("title", group.title.empty() ? "Subdiagram" : group.title);
            paragraph("", members);
            body += "</g>\n";
            y += 8;
        }
        writeKey(x, y + 16, widest);
    }

    void writeKey(double x, double y, double widest) {
        std::map<std::string, std::string_view> styles;
        bool hasFeedback = false;
        const auto note = [&](const DrawnPort& port) {
            const auto type = port.meaning.substr(0, port.meaning.find(','));
            const auto begin = port.label.empty() ? 0 : port.label.size() + 2;
            if (begin < type.size()) styles.try_emplace(type.substr(begin), port.style);
        };
        for (const auto& node : diagram.nodes) {
            if (node.output && node.output->isConnected) note(*node.output);
            for (const auto& port : node.inputs)
                if (node.kind == NodeKind::output) note(port);
        }
        for (const auto& wire : diagram.wires) hasFeedback |= wire.isFeedback;
        if (styles.empty()) {
            end = y;
            return;
        }
        body += "<g class=\"legend key\">";
        double at = x;
        const auto entry = [&](const std::string& classes, const std::string& name) {
            const double wide = textWidth(name, Sizes::detail) + 46;
            if (at > x && at + wide > x + widest) {
                at = x;
                y += noteLineHeight;
            }
            body += "<path" + quoted("class", classes) +
                    quoted("d", "M" + pictureNumber(at) + " " + pictureNumber(y) + "h20") + "/>";
            text("detail", at + 26, y + 4, name);
            at += wide;
        };
        for (const auto& [name, style] : styles) entry("wire " + std::string(style), name);
        if (hasFeedback) entry("wire feedback any", "fed back to the stream of its name");
        body += "</g>\n";
        end = y + 20;
    }

    std::string head() const {
        const std::string prefix = options.forViewer ? "kelvane-" : "";
        const auto size = pictureNumber(width) + " " + pictureNumber(end - top);
        std::string text = "<svg class=\"kelvane diagram\" xmlns=\"http://www.w3.org/2000/svg\"";
        text += quoted("viewBox", pictureNumber(left) + " " + pictureNumber(top) + " " + size);
        if (!options.forViewer) text += number("width", width) + number("height", end - top);
        text +=
            " role=\"img\"" + quoted("aria-labelledby", prefix + "title " + prefix + "description") + ">\n";
        text += "<title" + quoted("id", prefix + "title") + ">" + markupText(options.title) + "</title>\n";
        text += "<desc" + quoted("id", prefix + "description") + ">" + markupText(describedDiagram(diagram)) +
                "</desc>\n";
        text += "<style>\n" + themeStyles(options.theme) + std::string(diagramStyles()) + "</style>\n";
        if (!options.forViewer)
            text += "<rect class=\"paper\"" + place({left, top, width, end - top}) + "/>\n";
        return text;
    }

    const DrawnDiagram& diagram;
    const PictureOptions& options;
    std::map<std::int64_t, std::vector<const NodeNote*>> notes;
    std::string body;
    double left = 0, top = 0, width = 0, end = 0;
};

}  // namespace

std::string svgPicture(const DiagramData& document, const PictureOptions& options) {
    auto diagram = drawnDiagram(document);
    placeDiagram(diagram, options.forViewer || !options.values.empty() ? roomForValueTexts : 0);
    return SvgWriter(diagram, options).write();
}

}  // namespace kelvane
