#pragma once

// Internal: the rows of the library, with a quick way for what nearly always holds: every value is of its
// slot's type.

#include "KelvaneSDK/FunctionRows.h"
#include "KelvaneSDK/Nodes/Step.h"

namespace KelvaneSDK {

namespace Rows {

// How a parameter is read where it fits, from what was given. The kinds that are not here are not worth a way
// of their own.
template <class T>
struct Fitting;

template <Payload T>
requires(PayloadType<T>::value < ValueType::String) struct Fitting<T> {
    static bool fits(const GivenValue& given) { return given.template holds<T>(); }
    static T read(const GivenValue& given) { return given.value.template unchecked<T>(); }
};
template <class T>
struct Fitting<Timed<T>> : Fitting<T> {
    static Timed<T> read(const GivenValue& given) { return {Fitting<T>::read(given), given.timestamp}; }
};
template <>
struct Fitting<Anything> {
    static bool fits(const GivenValue& given) { return given.hasValue(); }
    static Anything read(const GivenValue& given) { return {given.value, given.timestamp}; }
};

struct NoTypedForm {};

// Gives a value that was computed from inputs consumed before.
inline void emitPayload(FunctionNode& node, const Value& result, double latest) {
    NodeState& state = NodeState::of(node);
    state.checkElements(result, node);
    state.give(result, latest);
}
template <class T>
[[gnu::noinline]] void emitAnew(FunctionNode& node, T result, double latest) {
    emitPayload(node, Value(result), latest);
}
template <Payload T>
void emitPayload(FunctionNode& node, T result, double latest) {
    if constexpr (PayloadType<T>::value < ValueType::String) {
        GivenValue& given = NodeState::of(node).given;
        if (!given.template holds<T>() || given.special != 0) return emitAnew(node, result, latest);
        given.value.replace(result);
        given.publish(latest);
    } else {
        emitPayload(node, Value(std::move(result)), latest);
    }
}

/// `Typed` does the same as `Function` on payloads, for the types that it takes, where `Function` takes
/// slots.
template <class Function, class Typed = NoTypedForm>
class FastRow : Row<Function> {
    using Base = Row<Function>;
    using Base::all, Base::places, Base::slotCount, Base::functionOf, typename Base::Parameters,
        typename Base::R, typename Base::Out;
    template <std::size_t parameter>
    using At = typename Base::template At<parameter>;

public:
    static void prepare(const RowNode& node, Step& step) {
        if constexpr (!std::is_same_v<Typed, NoTypedForm>) {
            const ValueClass type = node.inputValues().back()->valueClass();
            if (!supports(type, node.declaration()->operation)) return;
            if (type == ValueClass::FloatValue) prepareTyped<double>(step, all);
            if (type == ValueClass::IntegerValue) prepareTyped<std::int64_t>(step, all);
            if (type == ValueClass::BooleanValue) prepareTyped<bool>(step, all);
            if (type == ValueClass::VectorValue) prepareTyped<Vector>(step, all);
            if (type == ValueClass::OrientationValue) prepareTyped<Orientation>(step, all);
        } else {
            prepareFitting(node, step, all);
        }
    }

private:
    // Where every value is of its slot's type, as it nearly always is, it is read where it stands. All else
    // is asked and reported by process().
    template <class T, std::size_t... p>
    static void prepareTyped(Step& step, std::index_sequence<p...>) {
        // Not where an argument would be converted.
        if constexpr (requires(ArgumentAt<p, T>... arguments) { Typed{}(arguments...); }) {
            using TypedOut = decltype(Typed{}(std::declval<ArgumentAt<p, T>>()...));
            if constexpr (std::is_same_v<TypedOut, T> || std::is_same_v<TypedOut, bool> ||
                          std::is_same_v<TypedOut, std::optional<T>>) {
                step.setCompute<slotCount, computeAs<T>>();
            }
        }
    }
    template <std::size_t p, class T>
    using ArgumentAt =
        std::conditional_t<std::is_same_v<std::tuple_element_t<p, Parameters>, TimestampedVariable>, T,
                           std::tuple_element_t<p, Parameters>>;
    template <class T>
    static void computeAs(FunctionNode& node, const StepInput* inputs, double latest) {
        computeTyped<T>(node, inputs, latest, all);
    }
    template <class T, std::size_t... p>
    static void computeTyped(FunctionNode& node, const StepInput* inputs, double latest,
                             std::index_sequence<p...>) {
        if ((Fitting<ArgumentAt<p, T>>::fits(*inputs[p].source) && ...)) {
            // An absent result is one that stops.
            const auto result = Typed{}(Fitting<ArgumentAt<p, T>>::read(*inputs[p].source)...);
            if constexpr (Payload<std::remove_cvref_t<decltype(result)>>) {
                return emitPayload(node, result, latest);
            } else if (result) {
                return emitPayload(node, *result, latest);
            }
        }
        node.process();
    }

    template <std::size_t... p>
    static void prepareFitting(const RowNode& node, Step& step, std::index_sequence<p...>) {
        if constexpr ((isScalar<p>() && ...) && (Payload<Out> || std::is_same_v<Out, Value>)) {
            if constexpr (!std::is_same_v<R, Maybe<Out>>) {
                if (node.asksEachStep()) return;
                if constexpr (slotCount > 0) step.setCompute<slotCount, compute>();
            } else {
                step.run = [](Step& ready) { return runFitting(ready, all); };
            }
        }
    }
    static void compute(FunctionNode& node, const StepInput* inputs, double latest) {
        computeFitting(node, inputs, latest, all);
    }
    template <std::size_t... p>
    static void computeFitting(FunctionNode& node, const StepInput* inputs, double latest,
                               std::index_sequence<p...>) {
        if (!(fitsAt<p>(inputs) && ...)) return node.process();
        emitPayload(node, functionOf(node)(fittingAt<p>(node, inputs)...), latest);
    }
    // A step that may fall silent consumes its inputs only after that is known.
    template <std::size_t... p>
    static bool runFitting(Step& step, std::index_sequence<p...>) {
        double latest = 0;
        for (std::size_t i = 0; i < slotCount; ++i) {
            const GivenValue& source = *step.inputs[i].source;
            if (!step.inputs[i].hasNews() || !source.hasValue()) return false;
            if (latest <= source.timestamp) latest = source.timestamp;
        }
        RowNode& node = static_cast<RowNode&>(*step.node);
        if (!(fitsAt<p>(step.inputs) && ...)) return node.process(), true;
        if (!isCertain(fittingAt<p>(node, step.inputs)...)) node.askDemands();
        const R result = functionOf(node)(fittingAt<p>(node, step.inputs)...);
        if (!result.result) return node.fallSilent(result.silence), true;
        for (std::size_t i = 0; i < slotCount; ++i) step.inputs[i].consume();
        emitPayload(node, *result.result, latest);
        return true;
    }
    // Whether the function says of such values, without a look at its demands, that they are met.
    template <class... A>
    static bool isCertain(const A&... arguments) {
        if constexpr (requires { Function::meetsDemands(arguments...); }) {
            return Function::meetsDemands(arguments...);
        } else {
            return false;
        }
    }
    template <std::size_t p>
    static constexpr bool isScalar() {
        if constexpr (isSlot<At<p>>) {
            return requires(const GivenValue& given) { Fitting<At<p>>::read(given); };
        } else {
            return true;
        }
    }
    template <std::size_t p>
    static bool fitsAt(const StepInput* inputs) {
        if constexpr (isSlot<At<p>>) {
            return Fitting<At<p>>::fits(*inputs[places[p]].source);
        } else {
            return true;
        }
    }
    template <std::size_t p>
    static decltype(auto) fittingAt(const FunctionNode& node, const StepInput* inputs) {
        if constexpr (isSlot<At<p>>) {
            return Fitting<At<p>>::read(*inputs[places[p]].source);
        } else {
            return static_cast<const Node&>(node);
        }
    }
};

template <class Function>
requires std::is_class_v<Function>
struct QuickWay<Function> : FastRow<Function> {
};

}  // namespace Rows

/// The value of Integer input `input` as text when it is below `least`, or absent: for a Demand's violation.
template <std::size_t input, std::int64_t least>
std::optional<std::string> belowLeast(std::span<const Value* const> values) {
    const auto number = values[input]->get<std::int64_t>();
    return number >= least ? std::nullopt : std::optional(std::to_string(*number));
}

/// A value operation of the slots. `Typed` computes the same on payloads of one scalar type, wherever the
/// slots hold such; for a type that it does not take, and where it returns an absent result, the slots are
/// asked.
template <class Function, class Typed>
NodeClass operation(SlotOperation which, const char* name, std::initializer_list<RowSlot> slots, Function,
                    Typed, const char* description) {
    static constexpr auto code = Rows::Row<Function>::code(Rows::FastRow<Function, Typed>::prepare, nullptr);
    return Rows::row(name, slots, description, code).applies(which);
}

}  // namespace KelvaneSDK
