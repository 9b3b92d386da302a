#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "KelvaneSDK/DiagramData.h"
#include "KelvaneSDK/Kelvane/NodeRegistry.h"

namespace KelvaneSDK {

enum class Severity : std::uint8_t {
    warning,  ///< what the engine passes over in silence or with a WARNING line, and a careful author wants
              ///< to know
    error,    ///< the engine would print an ERROR line, stop, never end, or lose a value
};

/// One thing that is wrong, or suspicious, in a diagram document.
struct Finding {
    /// Stable and machine-readable: "connection-unknown-id".
    std::string code;
    Severity severity = Severity::error;
    /// An error that would stop the program or never end, while building or for certain at evaluation.
    bool fatal = false;
    /// The place as a JSON pointer (RFC 6901), "/connections/12"; empty for the document as a whole.
    std::string pointer;
    /// The place in the text, both from 1, the column in bytes; 0 when only the record was given.
    std::size_t line = 0, column = 0;
    /// The node concerned, with its type and label, where there is one.
    std::optional<std::int64_t> nodeId;
    std::string typeString, label;
    /// The key, property or slot concerned, where there is one.
    std::string subject;
    /// One sentence, without the place: what was found and what was expected.
    std::string message;
    /// What to do, where one remedy is certain: `did you mean "Moving averager"?`.
    std::string hint;

    friend bool operator==(const Finding&, const Finding&) = default;
};

/// Everything that is wrong or suspicious in a document, in document order, without touching an engine. A
/// document without fatal findings builds, and evaluates without a stop or hang that the document alone
/// causes; a value of a wrong type that its receiver reads only in some cases is an error, but not fatal.
/// Memory that runs out gives the one fatal finding "out-of-memory"; std::bad_alloc is thrown only when there
/// is none even for that. Pure: any thread, prints nothing, never stops the program.
std::vector<Finding> checkDiagram(std::string_view text,
                                  const NodeRegistry& registry = NodeRegistry::library());

/// The same for a decoded document; findings then have no line and column.
std::vector<Finding> checkDiagram(const DiagramInfo& info,
                                  const NodeRegistry& registry = NodeRegistry::library());

/// `nodes[4]: node 7 ("Add", "sum"): ...; hint`, as the tool prints a finding behind the file's name.
std::string findingText(const Finding& finding);

}  // namespace KelvaneSDK
