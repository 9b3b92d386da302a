#pragma once
#include <unordered_map>
#include "KelvaneSDK/Declaration.h"
#include "KelvaneSDK/Kelvane/NodeRegistry.h"
namespace KelvaneSDK {
const Declaration* declarationOf(const NodeClass& nodeClass, const Node& node);
// 1: a constant feeds it, 2: a stream
extern std::unordered_map<const TimestampedVariable*, int> shimReady;
}
