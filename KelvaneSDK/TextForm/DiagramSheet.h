#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "KelvaneSDK/DiagramData.h"
#include "KelvaneSDK/NodeClass.h"
#include "KelvaneSDK/TextForm/ConnectionOrder.h"

namespace KelvaneSDK {

/// A node of a document with all that the document says about it, and how the text form shows it.
struct SheetNode {
    const NodeInfo* record = nullptr;
    NodeCategory category = NodeCategory::Function;
    /// Null for a node that stands as a raw record: of an unknown type, or with the id of an earlier one.
    const NodeClass* nodeClass = nullptr;
    const PositionInfo* position = nullptr;
    /// In document order, without label and value, and without what a node has anyway.
    std::vector<const PropertyInfo*> properties = {};
    /// Absent where the label is the type.
    std::optional<std::string_view> label = {};
    std::optional<std::string_view> value = {};
    /// What is connected to its inputs, as a range of DiagramSheet::wires.
    std::size_t firstWire = 0, wireCount = 0;

    /// Nested in the call that uses it.
    bool isNested = false;
    /// Its id is written.
    bool isNumbered = false;
    /// References to it are its id, since the name is another's too.
    bool isAmbiguous = false;
    /// A constant whose type is written.
    bool saysType = false;

    bool isOutput() const { return category == NodeCategory::VariableOutput; }
    /// What the text calls it; empty when several labels are given, so that it is called by its id.
    std::string_view name() const { return label ? *label : std::string_view(record->typeString); }
};

/// A document laid out for writing as text: who is nested where, who is called how, and in which order the
/// connections come.
struct DiagramSheet {
    DiagramSheet(const DiagramInfo& info, const NodeRegistry& registry);

    /// The node with an id, or null for unknown ids.
    const SheetNode* find(std::int64_t id) const {
        const auto found = byId.find(id);
        return found == byId.end() ? nullptr : &nodes[found->second];
    }

    const DiagramInfo& document;
    /// In document order.
    std::vector<SheetNode> nodes;
    /// By target and input.
    std::vector<TextWire> wires;
    /// What only raw records say, in document order.
    std::vector<const PropertyInfo*> rawProperties;
    std::vector<const PositionInfo*> rawPositions;
    std::vector<const ConnectionInfo*> rawConnections;
    ConnectionOrder usualOrder = ConnectionOrder::byDependency;
    /// The connections that are listed, since they come in another order.
    std::vector<const ConnectionInfo*> order;

private:
    void readNodes(const NodeRegistry& registry);
    SheetNode* writable(std::int64_t id);
    void readProperties();
    void readPositions();
    void readConnections();
    /// Absent where only a raw record can say it.
    std::optional<TextWire> wireOf(const ConnectionInfo& connection) const;
    /// `connections` are those of the wires, by number, and then the raw ones.
    void orderConnections(const std::vector<std::size_t>& connections);
    void markMentioned(std::vector<bool>& mentioned) const;
    void nest();
    void nameNodes();
    void typeConstants();

    std::unordered_map<std::int64_t, std::size_t> byId;
};

/// The value of a constant as the text form writes it.
std::string constantText(const SheetNode& constant);

}  // namespace KelvaneSDK
