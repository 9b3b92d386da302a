#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "KelvaneSDK/NodeClass.h"

namespace KelvaneSDK {

/// A node as far as the types of constants depend on it.
struct TypedNode {
    /// What a function says about itself; null for the other nodes.
    const Declaration* function = nullptr;
    /// The type of the values that it gives; a variable output's is that of its input. Absent where it is to
    /// be found out.
    std::optional<ValueClass> type = {};
    /// A constant whose type is not said.
    bool isOpen = false;
    /// The type that its value looks like.
    std::optional<ValueClass> look = {};
};

/// A connection between nodes by their index.
struct TextWire {
    std::size_t from, to, input;
};

/// Finds the types of the open constants: that of the slot they feed first; where it is generic, the type
/// that the other inputs of the function give it; and where nothing does, what the value looks like. The
/// wires are in the order of their targets and inputs. Takes time in proportion.
void findConstantTypes(std::vector<TypedNode>& nodes, std::span<const TextWire> wires);

/// What a value that is written without a type looks like: "1" is an Integer, "1.0" a Float, "(1, 2, 3)" a
/// Vector; absent for other lists.
std::optional<ValueClass> lookOf(std::string_view value, bool isQuoted);

}  // namespace KelvaneSDK
