#pragma once

#include <span>
#include <string_view>

namespace KelvaneSDK {

/// The candidate that `name` is most likely a misspelling of (the first of equals), or empty when none is
/// close: one edit in four letters, three at most. A letter in the other case counts as half an edit, and so
/// does a whole name.
std::string_view nearestName(std::string_view name, std::span<const std::string_view> candidates);

}  // namespace KelvaneSDK
