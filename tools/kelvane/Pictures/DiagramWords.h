#pragma once

#include <string>

#include "Pictures/DrawnDiagram.h"

namespace kelvane {

/// What a diagram has, in sentences, for those who hear a picture instead of seeing it.
std::string describedDiagram(const DrawnDiagram& diagram);

}  // namespace kelvane
