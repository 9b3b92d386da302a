#pragma once

#include "KelvaneSDK/DiagramData.h"

namespace KelvaneSDK {

/// Evaluates a document that builds on values that its streams might bring: true when it stops whatever the
/// values, or, if `mayNotEnd`, when it meets a limit. A diagram too large to be rehearsed is taken to stop.
/// Throws std::bad_alloc.
bool stopsInEveryRehearsal(const DiagramInfo& document, bool mayNotEnd);

}  // namespace KelvaneSDK
