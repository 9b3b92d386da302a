#pragma once

#include <optional>
#include <string_view>

#include "KelvaneSDK/Value.h"
#include "KelvaneSDK/ValueClass.h"

namespace KelvaneSDK {

/// The value that a slot of a concrete class takes from this text, or absent where the slot reports a
/// failure. Prints nothing. Sequence arrays have no text form and are always absent.
std::optional<Value> valueFromText(ValueClass valueClass, std::string_view text);

/// True for the classes whose slots pass over every text in silence.
bool ignoresText(ValueClass valueClass);

/// How a value of the class is written, for messages: `three numbers, as in "1, 2, 3"`.
std::string_view textFormOf(ValueClass valueClass);

}  // namespace KelvaneSDK
