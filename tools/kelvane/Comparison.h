#pragma once

#include <optional>
#include <string>

#include "Commands.h"
#include "KelvaneSDK/Testing/ResultComparison.h"

// What comparing results says to people.

namespace kelvane {

/// Absent when numbers are to be compared exactly.
std::optional<KelvaneSDK::Tolerance> toleranceOf(const ToleranceOptions& options);

/// A difference as a line, with its line break.
std::string differenceLine(const KelvaneSDK::ResultDifference& difference, const std::string& expectedName,
                           const std::string& foundName);

/// A line for each label, those that differ first by their first differences; or that all is equal.
std::string summary(const KelvaneSDK::ResultComparison& comparison, const std::string& expectedName,
                    const std::string& foundName);

/// `walk.jsonl:3: ...`
std::string invalidLineText(const KelvaneSDK::ResultComparison::InvalidLine& line, const std::string& name);

}  // namespace kelvane
