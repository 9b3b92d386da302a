#pragma once

#include <string_view>

#include "KelvaneSDK/ValueClass.h"

namespace KelvaneSDK {

/// How a value of the class is written, for messages: `three numbers between commas`.
std::string_view textFormOf(ValueClass valueClass);

}  // namespace KelvaneSDK
