#pragma once

#include <optional>
#include <random>
#include <string>
#include <vector>

#include "KelvaneSDK/FileProcessing/ValueText.h"

namespace KelvaneSDK::testing_support {

/// The type and the exact text of a value ("Float -0.0"), by which tests compare values bit for bit; "absent"
/// for none.
std::string describe(const std::optional<Value>& value);

/// Random payloads; doubles of all magnitudes, from ordinary ones to any bit pattern, and lists of up to
/// three items.
class RandomPayloads {
public:
    explicit RandomPayloads(unsigned seed) : random(seed) {}
    double number();
    std::int64_t integer() { return static_cast<std::int64_t>(random()) >> (random() % 64); }
    bool truth() { return random() % 2 == 0; }
    Sample sample() { return {number(), number()}; }
    Vector vector() { return {number(), number(), number()}; }
    Orientation orientation() { return {number(), number(), number(), number()}; }
    template <class T>
    List<T> list(T (RandomPayloads::*item)()) {
        ListBuilder<T> items;
        for (auto count = random() % 4; count > 0; --count) items.append((this->*item)());
        return items.finish();
    }
    /// A value of each type that recordings have, in the order of ValueType.
    std::vector<Value> values();

    std::mt19937_64 random;
    /// NaN and infinities are replaced by zero.
    bool onlyFinite = false;
};

}  // namespace KelvaneSDK::testing_support
