#pragma once

#include <string>
#include <vector>

#include "Diagram.h"
#include "KelvaneSDK/KelvaneSDK.h"

namespace kelvane {

/// What an input holds: `b = 0.84, of t = 12.5`, with `waits` where it has not been used.
std::string inputText(const KelvaneSDK::TimestampedVariable& slot);

/// Where the value of a variable output came from in the batch that the diagram has just evaluated: the node
/// that feeds the output, its inputs, and the inputs of what fed these; lines for people.
std::vector<std::string> originOf(const Diagram& diagram, const std::string& label);

}  // namespace kelvane
