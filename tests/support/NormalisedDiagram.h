#pragma once

#include "KelvaneSDK/KelvaneSDK.h"

namespace KelvaneSDK::testing_support {

/// What makes no difference to a diagram is made equal: the order of what is said about different nodes, and of different
/// properties of one; properties that say what a node has anyway; positions that are replaced; empty lists.
DiagramInfo normalised(DiagramInfo info);

}  // namespace KelvaneSDK::testing_support
