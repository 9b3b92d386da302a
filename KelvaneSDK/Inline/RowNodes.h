#pragma once

// How rows become nodes: what FunctionRows.h needs to be compiled into an application, which needs none of it
// by name.

#include <array>
#include <cstddef>
#include <initializer_list>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>

#include "KelvaneSDK/FunctionRows.h"

namespace [[gnu::visibility("default")]] KelvaneSDK {

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

template <class Function>
NodeClass pure(const char* name, std::initializer_list<RowSlot> slots, Function, const char* description) {
    static_assert(std::is_empty_v<Function>);
    static constexpr auto code = Rows::Row<Function>::code(Rows::QuickWay<Function>::prepare, nullptr);
    return Rows::row(name, slots, description, code);
}

template <class State>
NodeClass stateful(const char* name, std::initializer_list<RowSlot> slots, const char* description) {
    static constexpr auto code =
        Rows::Row<State>::code(Rows::QuickWay<State>::prepare, makeDeclared<Rows::StatefulRowNode<State>>);
    return Rows::row(name, slots, description, code);
}

}  // namespace KelvaneSDK
