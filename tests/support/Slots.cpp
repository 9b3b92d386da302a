#include "support/Slots.h"

#include <bit>
#include <cmath>

namespace KelvaneSDK::testing_support {

std::string describe(const std::optional<Value>& value) {
    return value ? std::string(valueTypeName(value->type())) + " " + getValueString(*value) : "absent";
}

double RandomNumbers::number() {
    const auto bits = random();
    double x = std::bit_cast<double>(bits);
    if (bits % 4 == 1) x = static_cast<double>(integer());
    if (bits % 4 == 2) x = std::round(static_cast<double>(bits >> 43) - 1e6) / 1000;
    if (bits % 4 == 3) x = std::ldexp(static_cast<double>(bits >> 11), static_cast<int>(random() % 120) - 60);
    return std::isfinite(x) ? x : 0;
}

}  // namespace KelvaneSDK::testing_support
