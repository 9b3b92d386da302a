#pragma once

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "KelvaneSDK/Value.h"
#include "KelvaneSDK/ValueClass.h"

namespace [[gnu::visibility("default")]] KelvaneSDK {

/// A set of a function's inputs, by index.
class InputSet {
public:
    constexpr InputSet() = default;
    constexpr InputSet(std::initializer_list<std::size_t> indices) {
        for (const auto index : indices) bits |= std::uint32_t{1} << index;
    }
    constexpr void insert(std::size_t index) { bits |= std::uint32_t{1} << index; }
    constexpr bool contains(std::size_t index) const { return index < 32 && ((bits >> index) & 1) != 0; }
    constexpr bool empty() const { return bits == 0; }

private:
    std::uint32_t bits = 0;
};

/// An input slot of a function.
struct InputDeclaration {
    /// What the slot is called; static text.
    const char* label = "";
    ValueClass type = ValueClass::TimestampedVariable;
    /// What the values mean and their unit, where the label does not say it: "seconds", "counted from 0".
    std::string_view meaning = {};
};

/// When a function runs. Every rule also asks that the values it mentions are there. A class that declares
/// another rule than `allInputs` overrides Node::allInputsUpdated() and Node::allInputsHaveValues() to match.
enum class Readiness : std::uint8_t {
    allInputs,      ///< every input has a new value
    anyInput,       ///< any input has a new value; the others may be empty
    selectedInput,  ///< the input that input 0 selects (1 when true, 2 when false) has a new value
    trueTrigger,    ///< input 0 has a new value, and it is true
    recording,      ///< input 0 has a new value, or input 1 has one while input 0 is true
    own,            ///< a rule of the class that says nothing more about itself
};

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
    isSmallerOrEqual,
    isLargerOrEqual,
    sum,
    sort,
    writeJson,
};

/// The most inputs that a declared function can have.
inline constexpr std::size_t mostDeclaredInputs = 8;

/// True when slots of this concrete class have the operation; for the generic classes that is still open, and
/// true is returned.
bool supports(ValueClass valueClass, SlotOperation operation);

/// True when values of this class, though it has the operation, may be such that there is no result: lists of
/// different lengths are not compared.
inline bool mayBeAbsent(ValueClass valueClass, SlotOperation operation) {
    return operation == SlotOperation::isEqual &&
           (isArray(valueClass) || valueClass == ValueClass::SequenceValue);
}

/// What becomes of a function whose slots do not support its value operation.
enum class WithoutOperation : std::uint8_t {
    clearsOutput,  ///< the output loses its value, and nothing is emitted
    emitsAnyway,   ///< an output comes all the same, at least at times
};

/// Something that a function asks of its inputs beyond their types. Values that break it stop the function.
struct Demand {
    /// What is asked, for people: "step is above 0".
    std::string_view text;
    /// The inputs that decide it.
    InputSet inputs;
    /// Why these values break it, or absent when they do not. There is an entry per input of the function:
    /// those of `inputs` have a value, of the type of their slot; others may be null.
    std::optional<std::string> (*violation)(std::span<const Value* const> values,
                                            std::span<const ValueClass> slots) = nullptr;
    /// The function asks before each step. False for a demand that only holds for values that never change,
    /// because what comes of others depends on what was before, or has no end.
    bool isAskedEachStep = true;
};

/// Everything that a function says about itself, once, where it stands. The registry, the help, the checker
/// and the engine read it; no other place knows functions by name.
///
/// Texts are static.
struct Declaration {
    /// The type string under which documents name the function.
    std::string_view name = {};
    std::vector<InputDeclaration> inputs = {};
    ValueClass output = ValueClass::TimestampedVariable;
    /// One sentence in a diagram author's words, with units.
    std::string_view description = {};
    /// When the function runs and yet emits nothing: "while open is false". Empty: every run emits, as long
    /// as the value operation is supported.
    std::string_view silentWhen = {};
    /// Further words that people search for: "greater above".
    std::string_view keywords = {};
    Readiness readiness = Readiness::allInputs;
    /// What it emits may depend on earlier runs, until a reset.
    bool keepsState = false;
    /// The inputs whose values may become the output as they are, whatever their type.
    InputSet forwards = {};
    /// The generic inputs whose values are passed on or noticed without being read, so that any type will do.
    InputSet takesAnything = {};
    SlotOperation operation = SlotOperation::none;
    WithoutOperation withoutOperation = WithoutOperation::clearsOutput;
    /// Without its operation the function prints an ERROR line.
    bool reportsUnsupported = false;
    std::vector<Demand> demands = {};
    /// The value classes that the generic slots do not support; connections do not consult it.
    std::vector<ValueClass> unsupported = {};
    /// False for a class that declares nothing: its slots are read off a new node, and nothing else is known.
    bool isDeclared = true;

    bool asksEachStep() const {
        for (const auto& demand : demands) {
            if (demand.isAskedEachStep) return true;
        }
        return false;
    }
    bool alwaysEmits() const { return silentWhen.empty(); }
};

}  // namespace KelvaneSDK
