#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace [[gnu::visibility("default")]] KelvaneSDK {

// The records of a diagram document, for applications that make or change documents themselves, and for
// those that want what the engine does not keep. Field names are the document's keys; docs/diagram-format.md
// describes them. Nothing but types is checked here: that is checkDiagram()'s part.
//
// Records are plain values: copied, compared and changed at will, from any thread that has them to itself.
// They refer to each other by ids, so that a list may hold records of nodes that are not there.

/// A node.
struct NodeInfo {
    /// By which the other records name the node; unique in a sound document.
    std::int64_t id = 0;
    /// "Function", "Constant", "Input stream" or "Variable output".
    std::string classString;
    /// The function's name, or the type of the values: "Add", "Float array".
    std::string typeString;
    /// The type of values that a generic output has taken on; absent or null where nothing fixes it yet.
    std::optional<std::string> outputType;

    friend bool operator==(const NodeInfo&, const NodeInfo&) = default;
};

/// A property of a node in its text form, as Node::setProperty() takes it; those of a node are applied in
/// document order.
struct PropertyInfo {
    /// The node's.
    std::int64_t id = 0;
    /// "Description" (the label), "OutputValue", "Color", "Forwarding", "Hidden".
    std::string propertyString;
    /// The content, whatever its type, as text: "true", "1.5", "(1.0, 0.0, 0.0)".
    std::string valueString;

    friend bool operator==(const PropertyInfo&, const PropertyInfo&) = default;
};

/// The output of one node feeds an input of another. Connections are made in document order, which decides
/// what generic slots take on, and in which order an output serves its readers.
struct ConnectionInfo {
    /// The node that gives, and the one that takes.
    std::int64_t outputNodeId = 0;
    std::int64_t inputNodeId = 0;
    /// Which input of the latter, from 0, in the order in which its class declares them.
    std::int64_t inputIndex = 0;

    friend bool operator==(const ConnectionInfo&, const ConnectionInfo&) = default;
};

/// Where a node stands on the canvas, in the designer's units; y grows downwards. Evaluation does not ask.
struct PositionInfo {
    std::int64_t id = 0;
    double x = 0, y = 0;

    friend bool operator==(const PositionInfo&, const PositionInfo&) = default;
};

/// A box on the canvas that groups nodes, with boxes nested in it: for people, who read a diagram by its
/// parts. Evaluation does not ask.
struct ContainerInfo {
    /// Where the box stands, as PositionInfo has it.
    double x = 0, y = 0;
    /// What stands on it.
    std::string description;
    /// The nodes in it, without those of nested boxes.
    std::vector<std::int64_t> nodeIds;
    /// A BodyColor by name.
    std::optional<std::string> color;
    /// The boxes in it, to maximumDocumentDepth.
    std::optional<std::vector<ContainerInfo>> containers;

    friend bool operator==(const ContainerInfo&, const ContainerInfo&) = default;
};

/// A named group of nodes, over and above the boxes.
struct SubdiagramInfo {
    /// What the group is called.
    std::string description;
    /// A node may be in several groups; an id that no node has is kept.
    std::vector<std::int64_t> nodeIds;

    friend bool operator==(const SubdiagramInfo&, const SubdiagramInfo&) = default;
};

/// A whole document; the order of every list counts. The first four are required in a document, where they
/// may be empty.
struct DiagramInfo {
    std::vector<NodeInfo> nodes;
    std::vector<PropertyInfo> properties;
    std::vector<ConnectionInfo> connections;
    std::vector<PositionInfo> positions;
    /// The outermost boxes; absent and empty are two documents, here and below.
    std::optional<std::vector<ContainerInfo>> containers;
    /// Free text that is kept with the diagram, line by line.
    std::optional<std::vector<std::string>> manualLines;
    std::optional<std::vector<SubdiagramInfo>> subdiagrams;

    friend bool operator==(const DiagramInfo&, const DiagramInfo&) = default;
};

/// Why a text is no diagram document: the first thing that is wrong. checkDiagram() says the line and column,
/// too.
struct DecodeFailure {
    /// The place as a JSON pointer (RFC 6901), "/nodes/3/id"; empty for the document as a whole.
    std::string pointer;
    /// What was expected and found there.
    std::string reason;
};

/// JSON nesting beyond this many levels is refused, so that no document exhausts the stack; a container takes
/// two levels.
inline constexpr std::size_t maximumDocumentDepth = 2048;

/// A document, decoded or to be encoded. What decode() reads of it, encode() writes: unknown keys are lost.
///
///     DiagramData document;
///     document.info.nodes = {{1, "Input stream", "Float"}, {2, "Variable output", "Float"}};
///     document.info.properties = {{1, "Description", "x"}, {2, "Description", "y"}};
///     document.info.connections = {{1, 2, 0}};
///     engine.load(document.encode(), true);
///
///     DecodeFailure failure;
///     if (!DiagramData::decode(text, &failure)) std::cerr << failure.pointer << ": " << failure.reason;
struct DiagramData {
    /// What the document says.
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
