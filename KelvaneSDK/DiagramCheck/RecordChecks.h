#pragma once

#include "KelvaneSDK/DiagramCheck/FindingList.h"
#include "KelvaneSDK/DiagramCheck/NodeTable.h"
#include "KelvaneSDK/DiagramCheck/Wiring.h"

namespace KelvaneSDK {

/// The node records with their output types and properties, in the engine's order. Sets the nodes' labels,
/// constants and switches, and the types of their outputs.
void checkNodes(const DiagramInfo& document, const NodeRegistry& registry, NodeTable& nodes, Wiring& wiring,
                FindingList& findings);

void checkPositions(const DiagramInfo& document, const NodeTable& nodes, FindingList& findings);

void checkSubdiagrams(const DiagramInfo& document, const NodeTable& nodes, FindingList& findings);

/// Needs the finished wiring, from which containers take their ports.
void checkContainers(const DiagramInfo& document, const NodeTable& nodes, const Wiring& wiring,
                     FindingList& findings);

/// Labels that several variable outputs bear, and streams and outputs of one label but different types.
void checkLabels(const NodeTable& nodes, FindingList& findings);

/// The warning about a colour that does not exist.
FindingList::Draft warnOfColor(FindingList& findings, Section section, std::size_t index,
                               std::string_view color);

}  // namespace KelvaneSDK
