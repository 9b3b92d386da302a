#include "KelvaneSDK/Kelvane/KeyOrder.h"

#include <algorithm>
#include <numeric>

namespace KelvaneSDK {

std::vector<std::size_t> orderByKeys(std::span<const std::int64_t> keys) {
    std::vector<std::size_t> order(keys.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    if (!std::is_sorted(keys.begin(), keys.end())) {
        std::sort(order.begin(), order.end(), [keys](std::size_t a, std::size_t b) {
            return keys[a] != keys[b] ? keys[a] < keys[b] : a < b;
        });
    }
    return order;
}

}  // namespace KelvaneSDK
