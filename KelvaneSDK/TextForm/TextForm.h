#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "KelvaneSDK/DiagramData.h"
#include "KelvaneSDK/Kelvane/NodeRegistry.h"

namespace [[gnu::visibility("default")]] KelvaneSDK {

// The text form of diagrams, for people to read, write and review: docs/text-format.md.

/// What keeps a text from being a diagram.
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

/// A diagram, or why there is none.
struct TextReading {
    std::optional<DiagramData> data;
    /// In the order of the text; empty when there is a diagram.
    std::vector<TextFault> faults;
};

/// True unless the text begins as a JSON document does, with a brace.
bool isTextForm(std::string_view text);

/// Reads the text form. Functions and their slots are those of the registry. Memory that runs out is a fault.
/// Any thread; prints nothing.
TextReading readText(std::string_view text, const NodeRegistry& registry = NodeRegistry::library());

/// Writes a document of any kind in the text form, which reads back to a document of the same effect; absent
/// when memory ran out. Bytes that are no UTF-8 are written as U+FFFD. Any thread; prints nothing.
std::optional<std::string> writeText(const DiagramData& data,
                                     const NodeRegistry& registry = NodeRegistry::library());

/// A text of the text form with regular spacing. Order, line breaks and comments stay. Absent when memory ran
/// out, or when the text has a fault of spelling.
std::optional<std::string> formatText(std::string_view text);

}  // namespace KelvaneSDK
