#pragma once

#include <string>
#include <utility>
#include <vector>

#include "Commands.h"
#include "KelvaneSDK/KelvaneSDK.h"

namespace kelvane {

/// Prepares an engine as the options of a run say. Throws a `Failure` for an option that does not fit the
/// diagram.
void applyOptions(KelvaneSDK::Kelvane& engine, const RunOptions& options);

/// Takes "LABEL=TEXT" apart. A label may hold "=" itself: `known` are those of the constants, and others are
/// refused.
std::pair<std::string, std::string> splitSetting(const std::string& option, const std::string& setting,
                                                 const std::vector<std::string>& known);

/// The value of a constant that the text of a setting says; refuses others.
KelvaneSDK::Value constantValue(const std::string& option, KelvaneSDK::ValueClass type,
                                const std::string& text);

}  // namespace kelvane
