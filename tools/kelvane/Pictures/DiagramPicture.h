#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "KelvaneSDK/DiagramCheck/DiagramCheck.h"
#include "KelvaneSDK/DiagramData.h"
#include "Pictures/Theme.h"

// Diagrams drawn, from any document: what it names and does not have is left out.

namespace kelvane {

/// What has been found wrong with a node.
struct NodeNote {
    std::int64_t node;
    KelvaneSDK::Severity severity;
    std::string text;
};

struct PictureOptions {
    Theme theme = Theme::automatic;
    /// The title, which readers of the screen say first: the file's name.
    std::string title;
    /// By the id of a node: what its output carries, written beside the port.
    std::map<std::int64_t, std::string> values;
    /// Marked on the nodes; the texts show when somebody points there.
    std::vector<NodeNote> notes;
    std::set<std::int64_t> highlighted;
    /// For a page that fills values in and follows the pointer: places for the values of all nodes, wide
    /// wires that nobody sees, ids that begin with "kelvane-", and no size of its own.
    bool forViewer = false;
};

/// The diagram as an SVG document without an XML declaration, so that pages can hold it.
std::string svgPicture(const KelvaneSDK::DiagramData& document, const PictureOptions& options);
/// The diagram in the language of Graphviz, which lays it out.
std::string dotPicture(const KelvaneSDK::DiagramData& document, const PictureOptions& options);
/// The diagram as a Mermaid flowchart.
std::string mermaidPicture(const KelvaneSDK::DiagramData& document, const PictureOptions& options);

}  // namespace kelvane
