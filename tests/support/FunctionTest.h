#pragma once

#include <gtest/gtest.h>

#include <limits>
#include <optional>
#include <string>
#include <vector>

#include "support/DiagramDocument.h"

namespace KelvaneSDK::testing_support {

inline constexpr std::nullopt_t none = std::nullopt;
inline constexpr double infinity = std::numeric_limits<double>::infinity(), nan = std::numeric_limits<double>::quiet_NaN();

using Floats = List<double>;
using Integers = List<std::int64_t>;

/// What a step is expected to bring: a value, nothing, or the end of the program.
struct Expectation {
    Expectation(std::nullopt_t) {}
    template <class T>
    requires std::is_constructible_v<Value, T> Expectation(T expected) : value(Value(expected)) {}

    std::optional<Value> value;
    double tolerance = 0;
    std::string stopReason, line;
};

/// The step stops the program with a reason that contains this text (a regular expression). The next one is the first of a
/// new engine.
Expectation stops(std::string reason);
/// Nothing, and this line of the library.
Expectation says(std::string line);
/// The number, or every component of the value, is this close.
Expectation approximately(Value value, double tolerance);

/// One batch: an update for each input, or none for it, and what comes out.
struct Step {
    std::vector<std::optional<Value>> updates;
    Expectation expected = none;
    /// In seconds; the step's number, from 1, by default.
    std::optional<double> timestamp = std::nullopt;
    bool isReset = false;
};

/// A step that resets the engine.
extern const Step resetStep;

/// A function driven through a diagram: a stream per input, the function, a variable output.
struct FunctionCase {
    /// "Delay(Float, Float) > Float: DropsWhatLiesFurtherBack": the function, the types of its inputs and of the
    /// output, and what the case shows. "Delay(Float, Float) > Timestamp > Float: ..." reads the output through
    /// another function.
    std::string title;
    std::vector<Step> steps;
};

/// Without spaces, the function's name and what the case shows.
std::string caseName(const testing::TestParamInfo<FunctionCase>& info);

class FunctionTest : public testing::TestWithParam<FunctionCase> {};

}  // namespace KelvaneSDK::testing_support
