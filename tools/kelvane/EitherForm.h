#pragma once

#include <string>
#include <string_view>

#include "KelvaneSDK/DiagramData.h"

namespace kelvane {

/// The diagram that a text or a JSON document holds, as far as its form goes: it may have findings. Faults of
/// the form are reported, and end the command with a `Failure`.
KelvaneSDK::DiagramInfo readEitherForm(const std::string& name, std::string_view text);

}  // namespace kelvane
