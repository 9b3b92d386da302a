#pragma once

#include <cstddef>
#include <deque>
#include <optional>

#include "KelvaneSDK/Value.h"

namespace KelvaneSDK {

// Operations on a list value of any element type. A list is a value of one of the array types that slots
// hold; any other value stops the program. Positions must lie within the list, which the caller sees to.
// Every new list costs one allocation at most.

/// True for the seven array types that slots hold.
bool isList(const Value& value);

std::size_t listSize(const Value& list);
Value elementAt(const Value& list, std::size_t position);

/// `count` elements from position `first` on; the whole list shares its block instead of copying.
Value slice(const Value& list, std::size_t first, std::size_t count);
Value withoutElement(const Value& list, std::size_t position);

/// The list with an element, or with all elements of another list, inserted before a position (the size
/// appends). Absent when they are not of the list's element type.
std::optional<Value> withElement(const Value& list, std::size_t position, const Value& element);
std::optional<Value> withElements(const Value& list, std::size_t position, const Value& inserted);

/// The list of these elements, or the empty list of an element type. Absent when that is no type of a list's
/// elements or some element is of another type.
std::optional<Value> listOf(const std::deque<Value>& elements, ValueType elementType);

}  // namespace KelvaneSDK
