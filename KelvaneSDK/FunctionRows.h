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

#include <tuple>

#include "KelvaneSDK/FunctionNode.h"

namespace [[gnu::visibility("default")]] KelvaneSDK {

/// No output in this step, and why (static text).
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

/// An output; when absent, the previous one is emitted again, with the timestamp of this step.
struct OrPrevious {
    std::optional<Value> result;
};

/// A value with the timestamp of the batch that produced it, in seconds.
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

/// A slot of a row. The type is for parameters that do not say it: const Value&, Anything and slots.
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

/// How rows become nodes. An application needs none of it by name.
namespace Rows {

// The type of the slot that a parameter is, where the parameter says it; the others are generic, as their
// RowSlot says.
template <class P>
inline constexpr std::optional<ValueType> typeSaid = std::nullopt;
template <Payload P>
inline constexpr std::optional<ValueType> typeSaid<P> = PayloadType<P>::value;
template <class T>
inline constexpr std::optional<ValueType> typeSaid<Timed<T>> = PayloadType<T>::value;
template <class Item>
inline constexpr std::optional<ValueType> typeSaid<std::span<const Item>> = PayloadType<List<Item>>::value;
template <>
inline constexpr std::optional<ValueType> typeSaid<std::span<const Sample>> = ValueType::Sequence;
template <>
inline constexpr std::optional<ValueType> typeSaid<std::string_view> = ValueType::String;
template <class P>
inline constexpr bool isSlot = !std::is_same_v<P, Node>;

// What a function object's result is to the declaration.
template <class T>
T outOf(const T&);
template <class T>
T outOf(const Maybe<T>&);

// The parameters and result of a function object's call operator.
template <class T>
struct Signature : Signature<decltype(&T::operator())> {};
template <class F, class R, class... P>
struct Signature<R (F::*)(P...) const> {
    using result = R;
    using parameters = std::tuple<std::remove_cvref_t<P>...>;
};
template <class F, class R, class... P>
struct Signature<R (F::*)(P...)> : Signature<R (F::*)(P...) const> {};

// The node of any row, which goes by what its class says of the row. None of it is a template that grows with
// the rows.
class RowNode : public FunctionNode {
public:
    void process() override;
    void prepare(Step& step) const override;
    bool asksEachStep() const;
    void askDemands() const;
    void fallSilent(Silent silence);

    // A parameter as input `i` has it.
    template <class P>
    decltype(auto) read(std::size_t i) const {
        if constexpr (std::is_same_v<P, TimestampedVariable>) {
            return input(i);
        } else if constexpr (std::is_same_v<P, Value>) {
            return input(i).typedValue();
        } else if constexpr (std::is_same_v<P, Anything>) {
            return Anything{value(i), timestamp(i)};
        } else if constexpr (std::is_same_v<P, std::string_view>) {
            return text(i);
        } else if constexpr (std::is_same_v<P, std::span<const Sample>>) {
            return samples(i);
        } else if constexpr (requires { typename P::element_type; }) {
            return items<std::remove_const_t<typename P::element_type>>(i);
        } else if constexpr (requires(P timed) { timed.timestamp; }) {
            return P{input(i).as<decltype(P::value)>(), timestamp(i)};
        } else {
            return input(i).as<P>();
        }
    }
    // Each kind of result, brought to the helper of FunctionNode that ends the step with it.
    void deliver(std::optional<Value> result) { finishOrClear(std::move(result)); }
    void deliver(OrPrevious result) {
        result.result ? finish(*std::move(result.result)) : finishWithPreviousOutput();
    }
    template <class T>
    void deliver(Maybe<T> result) {
        result.result ? deliver(*std::move(result.result)) : fallSilent(result.silence);
    }
    template <class T>
    [[gnu::noinline]] void deliver(T result) {
        finish(Value(std::move(result)));
    }
};

// A node whose row has state.
template <class State>
class StatefulRowNode final : public RowNode {
public:
    void reset() override {
        state = State{};
        FunctionNode::reset();
    }
    State state{};
};

// What the library asks of a row's function: what its signature says, and how it is called.
struct RowCode {
    // The types of the slots and of the output, where the function says them.
    std::span<const std::optional<ValueType>> slotTypes;
    std::optional<ValueType> outputType;
    // The slots whose values are not read, and those that may become the output.
    InputSet takesAnything, forwards;
    void (*call)(RowNode& node);
    // Fills in the quick way, or null.
    void (*prepare)(const RowNode& node, Step& step);
    // Absent for functions without state.
    NodeClass::Make makeStateful = nullptr;
};

// What the signature of `Function` says of its rows, and the call of one. `places` has the slot of each
// parameter, since parameters that are no slots may stand among the others.
template <class Function>
struct Row {
    using Parameters = typename Signature<Function>::parameters;
    using R = typename Signature<Function>::result;
    using Out = decltype(outOf(std::declval<R>()));
    static constexpr std::size_t count = std::tuple_size_v<Parameters>;
    static constexpr auto all = std::make_index_sequence<count>();
    template <std::size_t parameter>
    using At = std::tuple_element_t<parameter, Parameters>;
    static constexpr auto places = []<std::size_t... p>(std::index_sequence<p...>) {
        std::array<std::size_t, count + 1> slots{};
        ((slots[p + 1] = slots[p] + (isSlot<At<p>> ? 1 : 0)), ...);
        return slots;
    }
    (all);
    static constexpr std::size_t slotCount = places[count];
    static constexpr auto slotTypes = []<std::size_t... p>(std::index_sequence<p...>) {
        std::array<std::optional<ValueType>, count + 1> types{};
        ((types[places[p]] = isSlot<At<p>> ? typeSaid<At<p>> : std::nullopt), ...);
        return types;
    }
    (all);
    static constexpr InputSet takesAnything = []<std::size_t... p>(std::index_sequence<p...>) {
        InputSet slots;
        ((std::is_same_v<At<p>, Anything> ? slots.insert(places[p]) : void()), ...);
        return slots;
    }
    (all);

    static constexpr RowCode code(void (*prepare)(const RowNode&, Step&), NodeClass::Make makeStateful) {
        return {.slotTypes = std::span(slotTypes).first(slotCount),
                .outputType = outputType(),
                .takesAnything = takesAnything,
                .forwards = std::is_same_v<Out, Value> ? takesAnything : InputSet(),
                .call = [](RowNode& node) { call(node, all); },
                .prepare = prepare,
                .makeStateful = makeStateful};
    }
    // The function object; one with state stands in the node.
    static decltype(auto) functionOf(Node& node) {
        if constexpr (std::is_empty_v<Function>) {
            return Function{};
        } else {
            return (static_cast<StatefulRowNode<Function>&>(node).state);
        }
    }

private:
    static constexpr std::optional<ValueType> outputType() {
        if constexpr (std::is_same_v<Out, std::string>) {
            return ValueType::String;
        } else if constexpr (Payload<Out>) {
            return PayloadType<Out>::value;
        } else {
            return std::nullopt;
        }
    }
    template <std::size_t p>
    static decltype(auto) argument(const RowNode& node) {
        if constexpr (isSlot<At<p>>) {
            return node.template read<At<p>>(places[p]);
        } else {
            return static_cast<const Node&>(node);
        }
    }
    template <std::size_t... p>
    static void call(RowNode& node, std::index_sequence<p...>) {
        // Read in order, so that the first wrong input is the one that is named.
        std::tuple<decltype(argument<p>(node))...> arguments{argument<p>(node)...};
        node.deliver(std::apply(functionOf(node), arguments));
    }
};

// The library has a quick way for its own rows, in which the function is called with what the slots' feeders
// gave, without a look at the slots; what both do is the same.
template <class Function>
struct QuickWay {
    static constexpr void (*prepare)(const RowNode&, Step&) = nullptr;
};

NodeClass row(const char* name, std::initializer_list<RowSlot> slots, const char* description,
              const RowCode& code);

}  // namespace Rows

/// A function of its inputs alone: `name` is the type string of documents, `description` one sentence in a
/// diagram author's words, with units. There are as many slots as the function has parameters for them. The
/// function object holds nothing; a lambda captures nothing.
template <class Function>
NodeClass pure(const char* name, std::initializer_list<RowSlot> slots, Function, const char* description) {
    static_assert(std::is_empty_v<Function>);
    static constexpr auto code = Rows::Row<Function>::code(Rows::QuickWay<Function>::prepare, nullptr);
    return Rows::row(name, slots, description, code);
}

/// A function with state: an object of `State` is called for every step, and made anew by a reset. Each node
/// has its own; it need not be copied.
///
///     struct Highest {
///         double operator()(double x) { return highest = std::max(highest, x); }
///         double highest = -std::numeric_limits<double>::infinity();
///     };
///     stateful<Highest>("Highest", {{"x"}}, "the highest value so far")
template <class State>
NodeClass stateful(const char* name, std::initializer_list<RowSlot> slots, const char* description) {
    static constexpr auto code =
        Rows::Row<State>::code(Rows::QuickWay<State>::prepare, makeDeclared<Rows::StatefulRowNode<State>>);
    return Rows::row(name, slots, description, code);
}

}  // namespace KelvaneSDK
