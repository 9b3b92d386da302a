#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "KelvaneSDK/DiagramData.h"
#include "KelvaneSDK/NodeClass.h"

namespace [[gnu::visibility("default")]] KelvaneSDK {

// The text form of diagrams, for people to read, write and review: docs/text-format.md.
//
//     ecg: Float
//     above = Larger(ecg, 2325)
//     beat: Boolean = And(above, Toggled(above))

/// What keeps a text from being a diagram: what a reader reports as
///
///     walk.kelvane:4:9: "ecq" is no node; did you mean "ecg"?
struct TextFault {
    /// The place in the text, both from 1, the column in bytes.
    std::size_t line = 0, column = 0;
    /// One sentence: what was found, and what was expected.
    std::string what;
    /// What to do, where one remedy is likely: `did you mean "Moving averager"?`.
    std::string remedy = {};

    friend bool operator==(const TextFault&, const TextFault&) = default;
};

/// A text is read until it has so many faults.
inline constexpr std::size_t mostTextFaults = 100;
/// Calls nest to this depth at most.
inline constexpr std::size_t maximumCallDepth = 64;

/// And boxes as deep as a JSON document holds them.
inline constexpr std::size_t maximumBoxDepth = maximumDocumentDepth / 2 - 1;

/// Where the records of a diagram stand in the text that they were read from: offsets in bytes, by the index
/// of the record.
struct TextOffsets {
    /// What is said about one input of a node.
    struct Input {
        /// The index of the node's record, the input's index, and where it stands.
        std::size_t node, input, offset;
    };
    /// A box or subdiagram, its word, its members and the boxes in it.
    struct Group {
        std::size_t offset;
        /// Its members, each at its own place. None for a group of all nodes.
        std::vector<std::size_t> nodeIds;
        std::vector<Group> containers;
    };
    /// A node at its name, or where it stands nested in a call; a connection at what feeds the input.
    std::vector<std::size_t> nodes, properties, connections, positions;
    /// In the order of the nodes, connected or not.
    std::vector<Input> inputs;
    std::vector<Group> containers, subdiagrams;
};

/// A diagram, or why there is none.
struct TextReading {
    /// The document that the text stands for, with ids for the nodes that have none in it.
    std::optional<DiagramData> data;
    /// Where its records stand.
    TextOffsets offsets;
    /// In the order of the text; empty when there is a diagram.
    std::vector<TextFault> faults;
};

/// Tells the two forms apart: true when the text begins as a statement or comment of the text form does, with
/// a letter, #, / or a back quote. A JSON document begins with a brace, and anything else is taken for JSON
/// too.
bool isTextForm(std::string_view text);

/// The diagram that a text holds in either form; absent when it holds none, for a reason that is reported,
/// and that checkDiagram() gives with its place. What is only suspicious, or would stop an engine, is no
/// reason. Any thread; prints nothing.
///
///     DecodeFailure failure;
///     const auto diagram = readDiagram(text, engine.nodeTypes(), &failure);
///     if (!diagram) std::cerr << failure.pointer << ": " << failure.reason << "\n";
std::optional<DiagramData> readDiagram(std::string_view text,
                                       const NodeRegistry& registry = NodeRegistry::library(),
                                       DecodeFailure* failure = nullptr);

/// Reads the text form. Functions and their slots are those of the registry. Memory that runs out is a fault;
/// std::bad_alloc is thrown only when there is none even for that. Any thread; prints nothing.
TextReading readText(std::string_view text, const NodeRegistry& registry = NodeRegistry::library());

/// Writes a document of any kind in the text form, which reads back to a document of the same effect; absent
/// when memory ran out. Bytes that are no UTF-8 are written as U+FFFD. Calls are nested where that reads
/// well, and records that the text form has no words for are written raw. Any thread; prints nothing.
std::optional<std::string> writeText(const DiagramData& data,
                                     const NodeRegistry& registry = NodeRegistry::library());

/// A text in good order: regular spacing, and lines of at most 120 columns where brackets allow. Line breaks
/// and comments stay. Absent when memory ran out, or when the text holds no diagram. Any thread; prints
/// nothing.
std::optional<std::string> formatText(std::string_view text,
                                      const NodeRegistry& registry = NodeRegistry::library());

}  // namespace KelvaneSDK
