#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace [[gnu::visibility("default")]] KelvaneSDK {

// The records of a diagram document. Field names are the document's keys; nothing but types is checked.

struct NodeInfo {
    /// By which the other records name the node; unique in a sound document.
    std::int64_t id = 0;
    /// "Function", "Constant", "Input stream" or "Variable output".
    std::string classString;
    /// The function's name, or the type of the values.
    std::string typeString;
    /// The type of values that a generic output has taken on.
    std::optional<std::string> outputType;

    friend bool operator==(const NodeInfo&, const NodeInfo&) = default;
};

/// A property of the node with this id, in its text form; applied in document order.
struct PropertyInfo {
    std::int64_t id = 0;
    std::string propertyString;
    std::string valueString;

    friend bool operator==(const PropertyInfo&, const PropertyInfo&) = default;
};

/// The output of one node feeds input `inputIndex` (from 0) of another.
struct ConnectionInfo {
    std::int64_t outputNodeId = 0;
    std::int64_t inputNodeId = 0;
    std::int64_t inputIndex = 0;

    friend bool operator==(const ConnectionInfo&, const ConnectionInfo&) = default;
};

/// Where a node stands on the canvas; y grows downwards.
struct PositionInfo {
    std::int64_t id = 0;
    double x = 0, y = 0;

    friend bool operator==(const PositionInfo&, const PositionInfo&) = default;
};

/// A box on the canvas that groups nodes, with boxes nested in it.
struct ContainerInfo {
    double x = 0, y = 0;
    std::string description;
    std::vector<std::int64_t> nodeIds;
    std::optional<std::string> color;
    std::optional<std::vector<ContainerInfo>> containers;

    friend bool operator==(const ContainerInfo&, const ContainerInfo&) = default;
};

/// A named group of nodes.
struct SubdiagramInfo {
    std::string description;
    std::vector<std::int64_t> nodeIds;

    friend bool operator==(const SubdiagramInfo&, const SubdiagramInfo&) = default;
};

/// A whole document; the order of every list counts.
struct DiagramInfo {
    std::vector<NodeInfo> nodes;
    std::vector<PropertyInfo> properties;
    std::vector<ConnectionInfo> connections;
    std::vector<PositionInfo> positions;
    std::optional<std::vector<ContainerInfo>> containers;
    /// Free text that is kept with the diagram.
    std::optional<std::vector<std::string>> manualLines;
    std::optional<std::vector<SubdiagramInfo>> subdiagrams;

    friend bool operator==(const DiagramInfo&, const DiagramInfo&) = default;
};

/// Why a text is no diagram document.
struct DecodeFailure {
    /// The place as a JSON pointer (RFC 6901), "/nodes/3/id"; empty for the document as a whole.
    std::string pointer;
    /// What was expected and found there.
    std::string reason;
};

/// JSON nesting beyond this many levels is refused; a container takes two levels.
inline constexpr std::size_t maximumDocumentDepth = 2048;

/// A decoded document.
struct DiagramData {
    DiagramInfo info;

    /// Decodes a document, or returns absent and reports why. Required keys must be there with exactly their
    /// type, optional ones may be missing or null, unknown ones are passed over. Memory that runs out is a
    /// failure as well. Any thread; prints nothing.
    static std::optional<DiagramData> decode(std::string_view text, DecodeFailure* failure = nullptr);

    /// The document as pretty-printed JSON: required keys always, optional ones when present. Empty, with an
    /// ERROR line, when memory ran out. Any thread.
    std::string encode() const;
};

}  // namespace KelvaneSDK
