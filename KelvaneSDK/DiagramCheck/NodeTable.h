#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "KelvaneSDK/DiagramCheck/FindingList.h"
#include "KelvaneSDK/DiagramCheck/FunctionTraits.h"

namespace KelvaneSDK {

/// The index of a node record in its document.
using NodeIndex = std::uint32_t;

/// A node class as the checks see it: the slots of a new node.
struct NodeShape {
    NodeCategory category;
    std::vector<ValueClass> inputs;
    std::vector<const char*> inputLabels;
    std::optional<ValueClass> output;
    std::vector<ValueClass> unsupported;
    FunctionTraits traits;
};

/// A node record with what its properties say.
struct CheckedNode {
    const NodeInfo* record = nullptr;
    /// Null when the document names no known class.
    const NodeShape* shape = nullptr;
    /// The last "Description", or the type; points into the document.
    std::string_view label;
    /// What a constant holds.
    std::optional<Value> constant;
    /// The switch "Forwarding" of an input stream.
    bool forwarding = true;

    bool is(NodeCategory category) const { return shape != nullptr && shape->category == category; }
    /// `input 1 ("b")`.
    std::string inputName(std::size_t input) const;
};

/// `node 7 ("Add", "sum")`, the label left out where it says nothing beyond the type.
std::string nodeName(const CheckedNode& node);

/// The nodes of a document by index and by id.
class NodeTable {
public:
    NodeTable(const DiagramInfo& document, const NodeRegistry& registry);

    const std::vector<CheckedNode>& all() const { return nodes; }
    CheckedNode& operator[](NodeIndex index) { return nodes[index]; }
    const CheckedNode& operator[](NodeIndex index) const { return nodes[index]; }
    NodeIndex size() const { return static_cast<NodeIndex>(nodes.size()); }

    /// The node that the engine finds under an id: the first one, constants before input streams before
    /// functions before variable outputs.
    std::optional<NodeIndex> find(std::int64_t id) const;

private:
    const NodeShape* shapeOf(NodeCategory category, std::string_view typeString,
                             const NodeRegistry& registry);

    std::vector<CheckedNode> nodes;
    std::unordered_map<std::int64_t, NodeIndex> byId;
    std::array<std::map<std::string_view, std::unique_ptr<NodeShape>>, allNodeCategories.size()> shapes;
};

}  // namespace KelvaneSDK
