#pragma once

#include <string>
#include <vector>

#include "KelvaneSDK/KelvaneSDK.h"

namespace kelvane {

/// Where the value of a variable output came from in the batch at `timestamp` that the engine has just
/// evaluated: the node that feeds the output, its inputs, and the inputs of what fed these; lines for people.
std::vector<std::string> originOf(const KelvaneSDK::Kelvane& engine, const std::string& label,
                                  double timestamp);

}  // namespace kelvane
