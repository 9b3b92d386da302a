#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "KelvaneSDK/DiagramData.h"
#include "KelvaneSDK/NodeClass.h"

namespace [[gnu::visibility("default")]] KelvaneSDK {

// What is wrong in a document, for applications that take diagrams from elsewhere, or that show authors what
// they have drawn. Kelvane::load() does the same on the way to building.

/// How grave a finding is; graver ones compare greater.
enum class Severity : std::uint8_t {
    /// What the engine passes over in silence or with a WARNING line, and a careful author wants to know.
    warning,
    /// The document is no diagram, the engine would print an ERROR line, lose a value, stop on a value that
    /// comes, or perhaps never end.
    error,
    /// Building the diagram would stop or never end, or its evaluation never ends, for certain. Never hand
    /// such a document to Kelvane::read().
    fatal,
};

/// "warning", "error" or "fatal".
std::string_view severityName(Severity severity);

/// One thing that is wrong, or suspicious, in a diagram document: where, what, and what to do. Texts of the
/// document that are long stand in it without their end; they may hold any bytes, so print them with care.
struct Finding {
    /// Stable and machine-readable, one of findingCodes(): "connection-unknown-id".
    std::string code = {};
    /// How grave it is here; a kind of finding may be graver in one document than in another.
    Severity severity = Severity::error;
    /// The place as a JSON pointer (RFC 6901), "/connections/12", also for a diagram in the text form, which
    /// stands for such a document; empty for the document as a whole.
    std::string pointer = {};
    /// The place in the text, both from 1, the column in bytes; 0 when only the record was given.
    std::size_t line = 0, column = 0;
    /// The diagram is in the text form, in which line and column say the place, and no pointer.
    bool isInText = false;
    /// The node concerned, with its type and label, where there is one.
    std::optional<std::int64_t> nodeId = {};
    std::string typeString = {}, label = {};
    /// The key, property or slot concerned, where there is one.
    std::string subject = {};
    /// The input of the node, from 0, where the finding is about one.
    std::optional<std::size_t> input = {};
    /// One sentence, without the place: what was found and what was expected.
    std::string message = {};
    /// What to do, where one remedy is likely: `did you mean "Moving averager"?`.
    std::string hint = {};

    friend bool operator==(const Finding&, const Finding&) = default;
};

/// A kind of finding; static texts, which docs/findings.md shows in a table.
struct FindingCode {
    /// By which programs know the kind; it stays the same when messages change.
    std::string_view code;
    /// The mildest and the gravest that such a finding can be.
    Severity least, most;
    /// What it means, and what to do about it, in one sentence each.
    std::string_view meaning, remedy;
};

/// Every kind of finding, in the order of a document: for a list of what can be found, or a picker of what to
/// pass over.
std::span<const FindingCode> findingCodes();

/// A check lists so many findings at most, the gravest of them; the last one then says how many more there
/// are.
inline constexpr std::size_t mostFindings = 1000;

/// Everything that is wrong or suspicious in a document of either form, in the order of the text, without an
/// engine. A document without errors can be built, its evaluation ends in every batch, and stops on nothing
/// but values; what only values decide is no finding. The nodes are made and connected, but no function is
/// evaluated and no clock is read; time and memory grow with the document only. Memory that runs out gives
/// the one fatal finding "out-of-memory"; std::bad_alloc is thrown only when there is none even for that. Any
/// thread; prints nothing, never stops the program.
///
///     for (const Finding& finding : checkDiagram(text))
///         if (finding.severity >= Severity::error) std::cerr << findingText(finding) << "\n";
///
/// `registry` says which node classes there are: the engine's own, where the application has registered some
/// (Kelvane::nodeTypes()).
std::vector<Finding> checkDiagram(std::string_view text,
                                  const NodeRegistry& registry = NodeRegistry::library());

/// The same for a decoded document; findings then have no line and column.
std::vector<Finding> checkDiagram(const DiagramInfo& info,
                                  const NodeRegistry& registry = NodeRegistry::library());

/// Gives findings of an application's own, which have a pointer, their places in the text of either form.
void placeFindings(std::span<Finding> findings, std::string_view text,
                   const NodeRegistry& registry = NodeRegistry::library());

/// `nodes[4]: node 7 ("Add", "sum"): ...; hint`, as the tool prints a finding behind the file's name, and,
/// where the place of a text stands before it, `"sum" (Add): ...; hint`.
std::string findingText(const Finding& finding);

/// The candidate that `name` is most likely a misspelling of (the first of equals), or empty when none is
/// close: one edit in four letters, three at most. A letter in the other case counts as half an edit, and so
/// does a whole name.
std::string_view nearestName(std::string_view name, std::span<const std::string_view> candidates);

}  // namespace KelvaneSDK
