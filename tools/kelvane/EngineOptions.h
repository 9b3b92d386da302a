#pragma once

#include "Commands.h"
#include "KelvaneSDK/KelvaneSDK.h"

namespace kelvane {

/// Prepares an engine as the options of a run say. Throws a `Failure` for an option that does not fit the
/// diagram.
void applyOptions(KelvaneSDK::Kelvane& engine, const RunOptions& options);

}  // namespace kelvane
