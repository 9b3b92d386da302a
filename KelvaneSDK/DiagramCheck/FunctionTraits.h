#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "KelvaneSDK/ValueClass.h"

namespace KelvaneSDK {

/// The value operation that a function asks of its slots.
enum class SlotOperation : std::uint8_t {
    none,
    add,
    subtract,
    multiply,
    divide,
    scale,
    negate,
    isEqual,
    isLarger,
    isSmaller,
    isLargerOrEqual,
    isSmallerOrEqual,
    sum,
    sort,
    writeJson,
};

/// When a function runs.
enum class Readiness : std::uint8_t {
    allInputs,      ///< every input is updated
    anyInput,       ///< an input is updated; the others may still be empty
    selectedInput,  ///< the one of inputs 1 and 2 that input 0 selects is updated
    triggerInput,   ///< input 0 is updated; the others hold values
    recordedInput,  ///< input 0 or input 1 is updated; both hold values
};

/// What is certain about a function beyond its slots. A function that nobody described is held to nothing: it
/// may be silent at any time.
struct FunctionTraits {
    SlotOperation operation = SlotOperation::none;
    /// The inputs (bit by index) that take a value of any type without reading it.
    std::uint32_t takesAnything = 0;
    /// The inputs whose values may become the output, whatever their type.
    std::uint32_t forwards = 0;
    /// Every evaluation gives an output, whatever the values, as long as the operation is supported.
    bool alwaysEmits = false;
    /// Without the operation, too, there may be an output.
    bool emitsUnsupported = false;
    /// Without the operation the function prints an error.
    bool reportsUnsupported = false;
    /// The function is one of the library's, which stop on a value of another type than their slot.
    bool isKnown = false;
    Readiness readiness = Readiness::allInputs;
};

FunctionTraits traitsOf(std::string_view function);

/// True when values of a concrete class have the operation; for generic classes that is still open.
bool supports(ValueClass valueClass, SlotOperation operation);

}  // namespace KelvaneSDK
