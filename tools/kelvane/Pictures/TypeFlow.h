#pragma once

#include <span>
#include <string>
#include <vector>

#include "KelvaneSDK/NodeClass.h"
#include "Pictures/DrawnDiagram.h"

namespace kelvane {

/// The types of what a node takes and gives, by their names; of an output node, `output` is what it takes.
/// Generic ones that nothing decides keep their generic name.
struct NodeTypes {
    std::vector<std::string> inputs;
    std::string output;
};

/// The types in a diagram, as connections make generic slots take them on. The declarations are null for
/// what is no known function.
std::vector<NodeTypes> typesInDiagram(const KelvaneSDK::DiagramInfo& document,
                                      std::span<const KelvaneSDK::Declaration* const> declarations,
                                      std::span<const DrawnWire> wires);

}  // namespace kelvane
