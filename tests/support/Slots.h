#pragma once

#include <optional>
#include <random>
#include <string>

#include "KelvaneSDK/FileProcessing/ValueText.h"

namespace KelvaneSDK::testing_support {

/// The type and the exact text of a value ("Float -0.0"), by which tests compare values bit for bit; "absent"
/// for none.
std::string describe(const std::optional<Value>& value);

/// Random numbers; doubles of all magnitudes, from ordinary ones to any bit pattern that is finite.
class RandomNumbers {
public:
    explicit RandomNumbers(unsigned seed) : random(seed) {}
    double number();
    std::int64_t integer() { return static_cast<std::int64_t>(random()) >> (random() % 64); }

    std::mt19937_64 random;
};

}  // namespace KelvaneSDK::testing_support
