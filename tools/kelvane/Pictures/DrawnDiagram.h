#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "KelvaneSDK/DiagramData.h"
#include "Pictures/DiagramPicture.h"
#include "Pictures/Geometry.h"

namespace kelvane {

/// No node, no frame.
inline constexpr std::size_t nothing = ~std::size_t{0};

enum class NodeKind { function, constant, stream, output };

struct DrawnPort {
    std::string label;
    /// As typeStyle() has it.
    std::string_view style = "any";
    /// What goes in or out, and its type: for the tooltip.
    std::string meaning;
    /// On the border of the node's box.
    Point place;
    bool isConnected = false;
};

struct DrawnNode {
    std::int64_t id = 0;
    NodeKind kind = NodeKind::function;
    /// The label, or the class where there is none; and the class or the type of the values, if that is not
    /// the name already.
    std::string name, detail;
    bool isLabelled = false;
    /// A constant's.
    std::string value;
    /// What it does, for those who ask.
    std::string tooltip;
    /// One of the document's colours, or empty.
    std::string color;
    /// Of its output, or of what an output takes.
    std::string_view style = "any";
    std::vector<DrawnPort> inputs;
    std::optional<DrawnPort> output;
    /// Where the document has it.
    std::optional<Point> given;
    /// The innermost one.
    std::size_t frame = nothing;
    /// A constant drawn small, beside the input that it feeds: the reader, and which of its inputs.
    std::size_t reader = nothing, readerInput = 0;
    Box box;
};

struct DrawnWire {
    std::size_t from = 0, to = 0, input = 0;
    /// No connection: the output's label is that of the stream, which takes its values.
    bool isFeedback = false;
    /// The commands of an SVG path: M, L and C, with absolute coordinates.
    std::string path;
};

/// Around the nodes of a container; frames come before those in them.
struct DrawnFrame {
    std::string title, color;
    std::size_t parent = nothing;
    std::size_t depth = 0;
    Box box;
};

struct DrawnGroup {
    std::string title;
    std::vector<std::string> members;
};

/// Frames nest so deep; what is in deeper ones stands in these.
inline constexpr std::size_t deepestFrame = 24;

/// A diagram on its way to a picture.
struct DrawnDiagram {
    std::vector<DrawnNode> nodes;
    std::vector<DrawnWire> wires;
    std::vector<DrawnFrame> frames;
    std::vector<DrawnGroup> groups;
    /// Around the nodes and wires.
    Box extent;
    std::vector<std::string> notes;
};

/// What a document holds, without places: types have been followed along the wires, and what names nodes or
/// inputs that there are not is left out.
DrawnDiagram drawnDiagram(const KelvaneSDK::DiagramData& document);

/// A constant on one line: its label, if it has one, and its value.
std::string constantText(const DrawnNode& node);

/// How wide and high each node is, and where its ports are on it; the box is at the origin.
void measureNodes(DrawnDiagram& diagram);

/// Places the boxes, frames and wires: where the document has them if it has each node somewhere, and else in
/// layers. `roomForValues` is what stands beside the ports needs.
void placeDiagram(DrawnDiagram& diagram, double roomForValues);

}  // namespace kelvane
