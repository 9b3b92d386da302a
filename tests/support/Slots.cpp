#include "support/Slots.h"

#include <bit>
#include <cmath>

namespace KelvaneSDK::testing_support {

std::string describe(const std::optional<Value>& value) {
    return value ? std::string(valueTypeName(value->type())) + " " + getValueString(*value) : "absent";
}

double RandomPayloads::number() {
    const auto bits = random();
    double x = std::bit_cast<double>(bits);
    if (bits % 4 == 1) x = static_cast<double>(integer());
    if (bits % 4 == 2) x = std::round(static_cast<double>(bits >> 43) - 1e6) / 1000;
    if (bits % 4 == 3) x = std::ldexp(static_cast<double>(bits >> 11), static_cast<int>(random() % 120) - 60);
    return onlyFinite && !std::isfinite(x) ? 0 : x;
}

std::vector<Value> RandomPayloads::values() {
    using Self = RandomPayloads;
    const List<String> texts{"(a\n", " b", ""};
    const auto text = "(" + std::to_string(random());
    std::vector<Value> all{number(), integer(), truth(), vector(), orientation(), text, Sequence(list(&Self::sample))};
    all.insert(all.end(), {list(&Self::number), list(&Self::integer), list(&Self::truth), texts, list(&Self::vector), list(&Self::orientation)});
    return all;
}

}  // namespace KelvaneSDK::testing_support
