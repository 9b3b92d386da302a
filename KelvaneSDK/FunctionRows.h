#pragma once

// Functions as rows: what is a formula is written as one. A row is a name, the slots' labels, a function of
// plain parameters and a sentence; the types of the slots and of the output follow from the function.
//
//     pure("Power", {{"base"}, {"exponent"}}, [](double base, double exponent) { ... }, "...")
//     stateful<Averager>("Averager", {{"enable"}, {"x"}}, "...")    an Averager is called for every step
//
// Every parameter but the last kind is an input slot, in their order:
//
//     double, std::int64_t, bool, Vector, Orientation    the value of a slot of this type
//     Timed<T>                                           the value with its timestamp
//     std::string_view                                   the bytes of a text
//     std::span<const Sample>                            the samples of a sequence
//     std::span<const double>                            the elements of a Float array
//     const Value&                                       a value of the type that the slot has taken on
//     Anything                                           a value that is passed on or noticed, not read
//     const TimestampedVariable&                         the slot itself, for its value operations
//     const Node&                                        the node, for limits and stops; no slot
//
// What a step results in:
//
//     a payload, std::string or Value    the output
//     Maybe<T>                           a T, or Silent with the reason
//     std::optional<Value>               the output; when absent, the output loses its value
//     OrPrevious                         the output; when absent, the previous one is emitted again
//
// So a row may say
//
//     pure("Ratio", {{"x"}, {"y"}},
//          [](double x, double y) -> Maybe<double> {
//              if (y == 0) return Silent{"y is 0"};
//              return x / y;
//          },
//          "x / y").silent("when y is 0").keywords("quotient per")
//     pure("Peak", {{"list"}},
//          [](std::span<const double> list, const Node& node) {
//              if (list.empty()) node.stop("an empty list has no peak");
//              return *std::max_element(list.begin(), list.end());
//          },
//          "the largest element").demands({"the list has elements", {0}, isEmpty})
//     pure("Rest", {{"value"}, {"trigger"}}, [](Anything value, bool) { return value.value; }, "...")
//
// Views and references are valid during the step only. A row runs when every input has a new value; its
// demands are asked before each step. Inputs are read in their order, and the first that holds no value, or
// one of another type, stops the program.

#include <initializer_list>
#include <optional>

#include "KelvaneSDK/FunctionNode.h"

namespace [[gnu::visibility("default")]] KelvaneSDK {

/// No output in this step, and why (static text), in words that follow the function's name: what `why`
/// reports for a node that gives nothing.
///
///     return Silent{"y is 0"};
///     return Silent{"the list is empty", Silent::clearsOutput};
struct Silent {
    enum Effect : std::uint8_t {
        /// The output stays as it was, and every input's flag is consumed.
        keepsOutput,
        /// The output loses its value as well.
        clearsOutput,
        /// The output stays, and only input 1's flag is consumed.
        consumesInput1,
    };
    const char* reason;
    Effect effect = keepsOutput;
};

/// An output or its absence: `return Silent{"y is 0"};` or `return x / y;`.
template <class T>
struct Maybe {
    Maybe(const T& output) : result(output) {}
    Maybe(T&& output) : result(std::move(output)) {}
    Maybe(Silent why) : silence(why) {}

    std::optional<T> result;
    Silent silence{""};
};

/// An output; when absent, the previous one is emitted again, with the timestamp of this step, and nothing
/// when there was none.
struct OrPrevious {
    std::optional<Value> result;
};

/// A value with the timestamp of the batch that produced it, in seconds.
///
///     [](Timed<double> x, Timed<double> start) { return x.timestamp - start.timestamp; }
template <class T>
struct Timed {
    T value;
    double timestamp;
};

/// A value that is passed on or noticed without being read, whatever its type. A row that has such a
/// parameter and results in a Value may pass the one on as the other.
struct Anything {
    const Value& value;
    double timestamp;
};

/// A slot of a row: {"x"}, or {"window", "seconds"} with what its values mean. The type is for parameters
/// that do not say it: const Value&, Anything and slots.
struct RowSlot {
    /// What the slot is called, and where that does not say it, what its values mean: static texts.
    const char* label;
    const char* meaning = "";
    ValueClass genericType = ValueClass::TimestampedVariable;
};

/// A slot that takes any scalar, or any list, and takes on the type of what is connected. All such slots of a
/// node take on one type; lists are of what is connected to the scalars.
constexpr RowSlot scalar(const char* label, const char* meaning = "") {
    return {label, meaning, ValueClass::ValueVariable};
}
constexpr RowSlot array(const char* label, const char* meaning = "") {
    return {label, meaning, ValueClass::ArrayVariable};
}

/// A function of its inputs alone: `name` is the type string of documents, `description` one sentence in a
/// diagram author's words, with units. There are as many slots as the function has parameters for them. The
/// function object holds nothing; a lambda captures nothing.
template <class Function>
NodeClass pure(const char* name, std::initializer_list<RowSlot> slots, Function, const char* description);

/// A function with state: an object of `State` is called for every step, and made anew by a reset. Each node
/// has its own; it need not be copied.
///
///     struct Highest {
///         double operator()(double x) { return highest = std::max(highest, x); }
///         double highest = -std::numeric_limits<double>::infinity();
///     };
///     stateful<Highest>("Highest", {{"x"}}, "the highest value so far")
template <class State>
NodeClass stateful(const char* name, std::initializer_list<RowSlot> slots, const char* description);

}  // namespace KelvaneSDK

#include "KelvaneSDK/Inline/RowNodes.h"
