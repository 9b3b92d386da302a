#pragma once

#include <string>

#include "KelvaneSDK/Value.h"

namespace kelvane {

/// A value as it stands beside a port: numbers with six significant digits, those of vectors and orientations
/// with three, texts without their ends, of lists how long they are.
std::string shortValue(const KelvaneSDK::Value& value);

}  // namespace kelvane
