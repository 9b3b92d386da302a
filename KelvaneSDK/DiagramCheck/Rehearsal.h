#pragma once

#include "KelvaneSDK/DiagramData.h"

namespace KelvaneSDK {

/// Evaluates a document that builds, and that cannot evaluate for ever, on values that its streams might bring: true when it
/// stops whatever the values. A diagram too large to be rehearsed is taken to stop.
bool stopsInEveryRehearsal(const DiagramInfo& document);

}  // namespace KelvaneSDK
