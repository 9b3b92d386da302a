#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "KelvaneSDK/DiagramData.h"
#include "KelvaneSDK/NodeClass.h"
#include "KelvaneSDK/TextForm/ConnectionOrder.h"

namespace KelvaneSDK {

// What the text form says, as it stands in the text: names are not yet looked up, nodes have no ids.

/// A node, by its name, by its id, or as it stands nested in a call.
struct TextReference {
    std::size_t offset = 0;
    std::string name = {};
    std::optional<std::int64_t> id = {};
    std::optional<std::size_t> nested = {};
};

/// What feeds one input.
struct TextArgument {
    std::size_t offset = 0;
    /// The slot's name; empty: by position.
    std::string slot = {};
    /// In the order of their connections; empty: the input is not connected.
    std::vector<TextReference> sources = {};
};

/// A record of the document as it stands in the text.
template <class Record>
struct PlacedRecord {
    std::size_t offset;
    Record record;
};

/// A node with everything that is said about it. A constant without a said type has an empty typeString.
struct TextNode {
    std::size_t offset = 0;
    NodeCategory category = NodeCategory::Function;
    /// Said without a look at the registry; null for a raw node.
    const NodeClass* nodeClass = nullptr;
    NodeInfo info = {};
    std::optional<std::int64_t> id = {};
    std::optional<std::string> name = {};
    /// Where its line begins; absent for a node nested in a call.
    std::optional<std::size_t> lineOffset = {};
    /// A constant's value; absent: it stands at its default.
    std::optional<std::string> value = {};
    bool isValueQuoted = false;
    /// In the order of the text.
    std::vector<PlacedRecord<PropertyInfo>> properties = {};
    std::optional<PlacedRecord<PositionInfo>> position = {};
    std::vector<TextArgument> arguments = {};

    /// Where people look for it.
    std::size_t place() const { return lineOffset.value_or(offset); }
};

/// A box or subdiagram.
struct TextGroup {
    std::size_t offset = 0;
    bool isBox = true;
    ContainerInfo info = {};
    std::vector<TextReference> members = {};
    /// It holds all nodes.
    bool isEverything = false;
    /// How many groups it stands in.
    std::size_t depth = 0;
};

/// An input, for its next connection.
struct TextOrderItem {
    TextReference node;
    std::size_t offset = 0;
    /// A slot's name or number; empty: the only one.
    std::string slot = {};
};

struct TextProblem {
    std::size_t offset = 0;
    std::string what;
    std::string remedy = {};
};

struct TextSyntax {
    std::vector<TextNode> nodes;
    /// In the order in which they begin.
    std::vector<TextGroup> groups;
    std::vector<TextOrderItem> order;
    ConnectionOrder usualOrder = ConnectionOrder::byDependency;
    std::vector<PlacedRecord<PropertyInfo>> rawProperties;
    std::vector<PlacedRecord<ConnectionInfo>> rawConnections;
    std::vector<PlacedRecord<PositionInfo>> rawPositions;
    std::vector<std::string> notes;
    std::vector<TextProblem> problems;
    /// Of statements with a fault.
    std::set<std::string, std::less<>> brokenNames;

    void fault(std::size_t offset, std::string what, std::string remedy = {}) {
        problems.push_back({offset, std::move(what), std::move(remedy)});
    }
};

/// A text is read up to so many names, values, signs and line breaks: a value of one letter is a node, which
/// takes hundreds of bytes.
inline constexpr std::size_t mostTextTokens = std::size_t{1} << 24;

/// Takes a text of valid UTF-8 apart. After a fault it goes on with the next line.
TextSyntax parseText(std::string_view text, const NodeRegistry& registry);

/// `did you mean "Larger"?` with the nearest of the names; empty where none is near.
std::string nearestNameRemedy(std::string_view name, std::span<const std::string_view> names);

/// The slot of a function with this name or number.
std::optional<std::size_t> slotNamed(const Declaration& function, std::string_view slot);

}  // namespace KelvaneSDK
