#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace kelvane {

/// What came of a case.
struct CaseOutcome {
    enum class Kind { asExpected, failed, skipped, blessed };
    Kind kind = Kind::failed;
    /// Why, for people; the first line alone says what is the matter.
    std::vector<std::string> lines;
};

/// A folder with a diagram and a recording, expected results or options beside it.
bool isCase(const std::filesystem::path& folder);

/// Runs a case and compares its results with the expected ones; `blesses` has them written where they
/// differ. What goes wrong is part of the outcome. From any thread.
CaseOutcome runCase(const std::filesystem::path& folder, bool blesses);

}  // namespace kelvane
