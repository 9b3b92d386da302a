#pragma once
#include <span>
#include <vector>

#include "KelvaneSDK/Node.h"
namespace KelvaneSDK {
enum class Pass : std::uint8_t { first, further };
struct SettledOrder {
    std::vector<Node*> order, waiting;
};
SettledOrder settle(std::span<Node* const> functionNodes, Pass pass);
}  // namespace KelvaneSDK
