#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "KelvaneSDK/DiagramData.h"
#include "KelvaneSDK/Kelvane/NodeRegistry.h"

namespace [[gnu::visibility("default")]] KelvaneSDK {

/// An edited diagram as text, or why there is none.
struct DiagramRewriting {
    std::optional<std::string> text;
    /// One sentence; empty when there is a text.
    std::string reason = {};
    /// What to do, where one remedy is likely.
    std::string remedy = {};
};

/// Edits the text of a diagram, JSON or text form, so that it holds `edited`, which began as what the text
/// holds: what is the same keeps its bytes, unknown keys, order, spelling and line ends included. New records
/// are written like their neighbours.
///
/// Either the result decodes to exactly `edited`, or there is none. In the text form, ids that are not
/// written are counted anew, and what it orders by itself has its order (docs/text-format.md); an edit that
/// the lines of the text do not have room for is refused. Takes time in proportion to the text, and to the
/// depth of changed boxes. Memory that runs out is a failure, too. Any thread; prints nothing.
DiagramRewriting rewriteDiagram(std::string_view text, const DiagramInfo& edited,
                                const NodeRegistry& registry = NodeRegistry::library());

}  // namespace KelvaneSDK
