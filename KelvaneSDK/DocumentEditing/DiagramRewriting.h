#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "KelvaneSDK/DiagramData.h"
#include "KelvaneSDK/NodeClass.h"

namespace [[gnu::visibility("default")]] KelvaneSDK {

/// An edited diagram as text, or why there is none.
struct DiagramRewriting {
    /// The whole text, in the form that it had.
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
/// the lines of the text do not have room for is refused.
///
///     auto diagram = readDiagram(text);
///     for (auto& property : diagram->info.properties)
///         if (property.id == 7 && property.propertyString == "OutputValue") property.valueString = "0.5";
///     const auto edited = rewriteDiagram(text, diagram->info);
///     if (!edited.text) std::cerr << edited.reason << "; " << edited.remedy << "\n";
///
/// Takes time in proportion to the text, and to the
/// depth of changed boxes. Memory that runs out is a failure, too. Any thread; prints nothing.
DiagramRewriting rewriteDiagram(std::string_view text, const DiagramInfo& edited,
                                const NodeRegistry& registry = NodeRegistry::library());

/// A node that stands within the call, or behind the output, of another in the text form. It has no line of
/// its own, and an edit removes it together with the other one.
struct NestedNode {
    /// The node's id, and that of the one whose line it stands in, directly or within further calls.
    std::int64_t id = 0, outerId = 0;

    friend bool operator==(const NestedNode&, const NestedNode&) = default;
};

/// The nested nodes of a text, in its order; none of a JSON document, or of a text with faults. Any thread;
/// throws std::bad_alloc.
std::vector<NestedNode> nestedNodes(std::string_view text,
                                    const NodeRegistry& registry = NodeRegistry::library());

}  // namespace KelvaneSDK
