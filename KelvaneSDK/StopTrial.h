#pragma once

// Internal: what would stop the program, tried out.

#include <functional>
#include <optional>
#include <string>

namespace KelvaneSDK {

/// Runs library code in which a stop ends only the trial: the reason of the stop, or absent when there was
/// none. Diagnostics of this thread are dropped meanwhile. What was worked on may only be destroyed after a
/// stop.
std::optional<std::string> reasonOfStop(const std::function<void()>& trial);

}  // namespace KelvaneSDK
