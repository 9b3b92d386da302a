#pragma once

#include <optional>
#include <string_view>

#include "KelvaneSDK/Value.h"
#include "KelvaneSDK/ValueClass.h"

namespace KelvaneSDK {

/// The value of a class that a text says, or absent when it says none. Reads back whatever the class's
/// stringValue() writes: brackets and spaces are passed over, numbers stand between commas, vectors,
/// orientations and samples in groups of their width, the elements of a text array as they are. The empty
/// text is the empty list. Any thread; prints nothing.
std::optional<Value> valueFromText(ValueClass valueClass, std::string_view text);

/// False for the classes without a text form, the generic ones and sequence arrays.
bool readsText(ValueClass valueClass);

}  // namespace KelvaneSDK
