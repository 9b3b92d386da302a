#pragma once

#include "KelvaneSDK/DiagramCheck/CheckedDiagram.h"
#include "KelvaneSDK/DiagramCheck/FindingList.h"
#include "KelvaneSDK/DiagramCheck/WiringReading.h"
#include "KelvaneSDK/Operation.h"
#include "KelvaneSDK/TextForm/TextForm.h"

namespace KelvaneSDK {

// The steps of a check, in their order.

/// Makes the nodes of the records, with their output types and properties.
void checkNodes(CheckedDiagram& diagram, const NodeRegistry& registry, FindingList& findings);
/// Makes the connections.
void checkConnections(CheckedDiagram& diagram, FindingList& findings);
/// Positions, labels, containers and subdiagrams.
void checkGroups(const CheckedDiagram& diagram, FindingList& findings);
/// What the wires bring: types, constants, and values that never come.
void checkWires(const CheckedDiagram& diagram, const NodeRegistry& registry, const WiringReading& reading,
                FindingList& findings);
/// Cycles and rings of functions.
void checkRings(const CheckedDiagram& diagram, const WiringReading& reading, FindingList& findings);
/// The keys of a document's text that are passed over.
void checkKeys(std::string_view text, FindingList& findings);

/// A document with what a check found; `data` is absent when the text is none.
struct CheckedDocument {
    std::optional<DiagramData> data;
    std::vector<Finding> findings;
};
/// checkDiagram() that keeps what it has decoded.
CheckedDocument decodeAndCheck(std::string_view text, const NodeRegistry& registry);

/// Sorts findings, which have pointers, by their places in a JSON text, or in the text form with the offsets
/// of its records.
void placeInJson(std::vector<Finding>& findings, std::string_view text);
void placeInText(std::vector<Finding>& findings, std::string_view text, const TextOffsets& offsets);

/// The key of an object that a missing key may be a misspelling of: `did you mean ...`; empty where none is
/// near.
std::string hintOfMissingKey(std::string_view text, std::string_view pointer);

/// A value as messages show it; of long lists the length.
std::string valueText(const Value& value);

/// The warning about a colour that does not exist.
void warnOfColor(FindingList& findings, const Place& place, std::string_view color,
                 const CheckedNode* node = nullptr);

/// What came of a step that a node took.
struct StepOutcome {
    /// Why the step would have stopped the program.
    std::optional<StopReason> stop;
    /// What the step printed.
    std::vector<std::string> lines;
};

template <class Step>
StepOutcome outcomeOf(const Step& step) {
    StepOutcome outcome;
    outcome.stop =
        reasonOfStop(step, [&](std::string_view line) { outcome.lines.push_back(shortened(line)); });
    return outcome;
}

}  // namespace KelvaneSDK
