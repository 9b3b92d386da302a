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
// A row whose demands are asked each step may have a static meetsDemands() of the same parameters: true for
// values of which that is certain, so that they are not asked.

#include <array>
#include <tuple>
#include <utility>

#include "KelvaneSDK/FunctionNode.h"
#include "KelvaneSDK/Kelvane/NodeRegistry.h"

namespace [[gnu::visibility("default")]] KelvaneSDK {

/// No output in this step, and why (static text).
struct Silent {
    enum Effect : std::uint8_t {
        keepsOutput,     ///< the output stays as it was, and every input's flag is consumed
        clearsOutput,    ///< the output loses its value as well
        consumesInput1,  ///< the output stays, and only input 1's flag is consumed
    };
    const char* reason;
    Effect effect = keepsOutput;
};

/// An output or its absence.
template <class T>
struct Maybe {
    using type = T;
    Maybe(const T& output) : result(output) {}
    Maybe(T&& output) : result(std::move(output)) {}
    Maybe(Silent why) : silence(why) {}

    std::optional<T> result;
    Silent silence{""};
};

/// An output; when absent, the previous one is emitted again.
struct OrPrevious {
    std::optional<Value> result;
};

/// A value with the timestamp of the batch that produced it, in seconds.
template <class T>
struct Timed {
    T value;
    double timestamp;
};

/// A value that is passed on or noticed without being read.
struct Anything {
    const Value& value;
    double timestamp;
};

/// A slot of a row. The type is for parameters that do not say it: const Value&, Anything and slots.
struct RowSlot {
    const char* label;
    std::string_view meaning = {};
    ValueClass genericType = ValueClass::TimestampedVariable;
};

/// A slot that takes any scalar, or any list, and takes on the type of what is connected.
constexpr RowSlot scalar(const char* label, std::string_view meaning = {}) {
    return {label, meaning, ValueClass::ValueVariable};
}
constexpr RowSlot array(const char* label, std::string_view meaning = {}) {
    return {label, meaning, ValueClass::ArrayVariable};
}

namespace Rows {

// How a parameter is read: from a slot, where what does not fit stops, or, where it fits, from what was
// given.
template <class T>
struct Parameter;

template <Payload T>
requires(PayloadType<T>::value < ValueType::String) struct Parameter<T> {
    static constexpr bool isSlot = true;
    static constexpr ValueType type = PayloadType<T>::value;
    static bool fits(const GivenValue& given) { return given.template holds<T>(); }
    static T fitting(const GivenValue& given) { return given.value.template unchecked<T>(); }
    static T read(const TimestampedVariable& slot) { return slot.as<T>(); }
};
template <class T>
struct Parameter<Timed<T>> {
    static constexpr bool isSlot = true;
    static constexpr ValueType type = PayloadType<T>::value;
    static bool fits(const GivenValue& given) { return given.template holds<T>(); }
    static Timed<T> fitting(const GivenValue& given) {
        return {Parameter<T>::fitting(given), given.timestamp};
    }
    static Timed<T> read(const TimestampedVariable& slot) { return {slot.as<T>(), slot.timestamp()}; }
};

// The kinds that are not worth a way of their own when they fit.
template <class T, ValueType payload>
struct Content {
    static constexpr bool isSlot = true;
    static constexpr ValueType type = payload;
};
template <>
struct Parameter<std::span<const Sample>> : Content<Sample, ValueType::Sequence> {
    static auto read(const TimestampedVariable& slot) { return slot.items<Sample>(type); }
};
template <>
struct Parameter<std::span<const double>> : Content<double, ValueType::FloatArray> {
    static auto read(const TimestampedVariable& slot) { return slot.items<double>(type); }
};
template <>
struct Parameter<std::string_view> : Content<char, ValueType::String> {
    static std::string_view read(const TimestampedVariable& slot) {
        const auto bytes = slot.items<char>(type);
        return {bytes.data(), bytes.size()};
    }
};

// Slots whose class the row's slot says.
struct Generic {
    static constexpr bool isSlot = true;
    static bool fits(const GivenValue& given) { return given.hasValue(); }
};
template <>
struct Parameter<Value> : Generic {
    static const Value& read(const TimestampedVariable& slot) { return slot.typedValue(); }
};
template <>
struct Parameter<TimestampedVariable> : Generic {
    static const TimestampedVariable& read(const TimestampedVariable& slot) { return slot; }
};
template <>
struct Parameter<Anything> : Generic {
    static Anything read(const TimestampedVariable& slot) {
        const Value* held = slot.payload();
        if (held == nullptr) slot.stop("input " + std::to_string(slot.index) + " holds no value");
        return {*held, slot.timestamp()};
    }
    static Anything fitting(const GivenValue& given) { return {given.value, given.timestamp}; }
};
template <>
struct Parameter<Node> {
    static constexpr bool isSlot = false;
};

template <class T>
using ParameterOf = Parameter<std::remove_cvref_t<T>>;

// What a result is to the declaration: its value class, or absent where the row's `output` says it.
template <class T>
struct Result {
    using payload = T;
};
template <class T>
struct Result<Maybe<T>> {
    using payload = T;
};

template <class T>
constexpr ValueClass valueClassOf(ValueType type) {
    constexpr ValueClass classes[] = {ValueClass::FloatValue,
                                      ValueClass::IntegerValue,
                                      ValueClass::BooleanValue,
                                      ValueClass::VectorValue,
                                      ValueClass::OrientationValue,
                                      ValueClass::StringValue,
                                      ValueClass::SequenceValue,
                                      ValueClass::FloatArrayVariable,
                                      ValueClass::IntegerArrayVariable,
                                      ValueClass::BooleanArrayVariable,
                                      ValueClass::StringArrayVariable,
                                      ValueClass::VectorArrayVariable,
                                      ValueClass::OrientationArrayVariable,
                                      ValueClass::SequenceArrayVariable};
    return classes[static_cast<std::size_t>(type)];
}

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

struct NoTypedForm {};

/// A node whose step is a call of `Function`, which also is its state. `Typed` does the same on payloads, for
/// the types that it takes, where `Function` takes slots.
template <class Function, class Typed = NoTypedForm>
class RowNode final : public FunctionNode {
    using Parameters = typename Signature<Function>::parameters;
    using R = typename Signature<Function>::result;
    static constexpr std::size_t count = std::tuple_size_v<Parameters>;
    template <std::size_t parameter>
    using At = Parameter<std::tuple_element_t<parameter, Parameters>>;

    // The slot of each parameter, and how many there are.
    static constexpr auto places = []<std::size_t... p>(std::index_sequence<p...>) {
        std::array<std::size_t, count + 1> slots{};
        std::size_t next = 0;
        ((slots[p] = next, next += At<p>::isSlot ? 1 : 0), ...);
        slots[count] = next;
        return slots;
    }
    (std::make_index_sequence<count>());
    static constexpr auto all = std::make_index_sequence<count>();

public:
    static constexpr std::size_t slotCount = places[count];

    static void describeInto(Declaration& declaration, const RowSlot* slots) {
        describe(declaration, slots, all);
    }

    void process() override {
        checkDemands();
        call(inputValues().data(), all);
    }
    void reset() override {
        function = Function{};
        FunctionNode::reset();
    }
    void prepare(Step& step) const override {
        FunctionNode::prepare(step);
        if constexpr (!std::is_same_v<Typed, NoTypedForm>) {
            const ValueClass type = inputValues().back()->valueClass();
            if (!supports(type, declaration()->operation)) return;
            if (type == ValueClass::FloatValue) prepareTyped<double>(step, all);
            if (type == ValueClass::IntegerValue) prepareTyped<std::int64_t>(step, all);
            if (type == ValueClass::BooleanValue) prepareTyped<bool>(step, all);
            if (type == ValueClass::VectorValue) prepareTyped<Vector>(step, all);
            if (type == ValueClass::OrientationValue) prepareTyped<Orientation>(step, all);
        } else {
            prepareFitting(step, all);
        }
    }

private:
    template <std::size_t... p>
    static void describe(Declaration& declaration, const RowSlot* slots, std::index_sequence<p...>) {
        (describeSlot<p>(declaration, slots), ...);
        using Out = typename Result<R>::payload;
        if constexpr (std::is_same_v<Out, std::string>) {
            declaration.output = ValueClass::StringValue;
        } else if constexpr (Payload<Out>) {
            declaration.output = valueClassOf<Out>(PayloadType<Out>::value);
        }
    }
    template <std::size_t p>
    static void describeSlot(Declaration& declaration, const RowSlot* slots) {
        if constexpr (At<p>::isSlot) {
            constexpr std::size_t place = places[p];
            const RowSlot& slot = slots[place];
            using P = std::tuple_element_t<p, Parameters>;
            ValueClass type = slot.genericType;
            if constexpr (!std::is_base_of_v<Generic, At<p>>) type = valueClassOf<P>(At<p>::type);
            declaration.inputs.push_back({slot.label, type, slot.meaning});
            if constexpr (std::is_same_v<P, Anything>) {
                declaration.takesAnything.insert(place);
                if constexpr (std::is_same_v<typename Result<R>::payload, Value>) {
                    declaration.forwards.insert(place);
                }
            }
        }
    }

    void checkDemands() const {
        if (declaration()->asksEachStep()) stopOnViolation();
    }

    // Where every value is of its slot's type, as it nearly always is, it is read where it stands. All else
    // is asked and reported by process().
    template <class T, std::size_t... p>
    static void prepareTyped(Step& step, std::index_sequence<p...>) {
        // Not where an argument would be converted.
        if constexpr (requires(ArgumentAt<p, T>... arguments) { Typed{}(arguments...); }) {
            using Out = decltype(Typed{}(std::declval<ArgumentAt<p, T>>()...));
            if constexpr (std::is_same_v<Out, T> || std::is_same_v<Out, bool> ||
                          std::is_same_v<Out, std::optional<T>>) {
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
        if ((Parameter<ArgumentAt<p, T>>::fits(*inputs[p].source) && ...)) {
            // An absent result is one that stops.
            const auto result = Typed{}(Parameter<ArgumentAt<p, T>>::fitting(*inputs[p].source)...);
            if constexpr (Payload<std::remove_cvref_t<decltype(result)>>) {
                return emitPayload(node, result, latest);
            } else if (result) {
                return emitPayload(node, *result, latest);
            }
        }
        node.process();
    }

    template <std::size_t... p>
    void prepareFitting(Step& step, std::index_sequence<p...>) const {
        using Out = typename Result<R>::payload;
        if constexpr ((isScalar<p>() && ...) && (Payload<Out> || std::is_same_v<Out, Value>)) {
            if constexpr (!std::is_same_v<R, Maybe<Out>>) {
                if (declaration()->asksEachStep()) return;
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
        RowNode& self = static_cast<RowNode&>(node);
        emitPayload(node, self.function(self.template fittingAt<p>(inputs)...), latest);
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
        RowNode& self = static_cast<RowNode&>(*step.node);
        if (!(fitsAt<p>(step.inputs) && ...)) return self.process(), true;
        if (!isCertain(self.template fittingAt<p>(step.inputs)...)) self.checkDemands();
        const R result = self.function(self.template fittingAt<p>(step.inputs)...);
        if (!result.result) return self.fallSilent(result.silence), true;
        for (std::size_t i = 0; i < slotCount; ++i) step.inputs[i].consume();
        emitPayload(self, *result.result, latest);
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
    static void emitPayload(FunctionNode& node, const Value& result, double latest) {
        node.emitComputed(result, latest);
    }
    template <Payload T>
    static void emitPayload(FunctionNode& node, T result, double latest) {
        if constexpr (PayloadType<T>::value < ValueType::String) {
            GivenValue& given = node.given();
            if (!given.template holds<T>() || given.special != 0) return emitAnew(node, result, latest);
            given.value.replace(result);
            given.publish(latest);
        } else {
            node.emitComputed(Value(std::move(result)), latest);
        }
    }
    template <class T>
    [[gnu::noinline]] static void emitAnew(FunctionNode& node, T result, double latest) {
        node.emitComputed(Value(result), latest);
    }
    template <std::size_t p>
    static constexpr bool isScalar() {
        if constexpr (At<p>::isSlot) {
            return requires(const GivenValue& given) { At<p>::fitting(given); };
        } else {
            return true;
        }
    }
    template <std::size_t p>
    static bool fitsAt(const StepInput* inputs) {
        if constexpr (At<p>::isSlot) {
            return At<p>::fits(*inputs[places[p]].source);
        } else {
            return true;
        }
    }
    template <std::size_t p>
    decltype(auto) fittingAt(const StepInput* inputs) const {
        if constexpr (At<p>::isSlot) {
            return At<p>::fitting(*inputs[places[p]].source);
        } else {
            return static_cast<const Node&>(*this);
        }
    }
    template <std::size_t p>
    decltype(auto) readAt(TimestampedVariable* const* slots) const {
        if constexpr (At<p>::isSlot) {
            return At<p>::read(*slots[places[p]]);
        } else {
            return static_cast<const Node&>(*this);
        }
    }
    template <std::size_t... p>
    void call(TimestampedVariable* const* slots, std::index_sequence<p...>) {
        // Read in order, so that the first wrong input is the one that is named.
        std::tuple<decltype(readAt<p>(slots))...> arguments{readAt<p>(slots)...};
        deliver(std::apply(function, arguments));
    }

    void fallSilent(Silent silence) {
        if (silence.effect == Silent::clearsOutput) output().clearValue();
        if (silence.effect == Silent::consumesInput1) return consume(1);
        endWithoutOutput(silence.reason);
    }
    void deliver(std::optional<Value> result) { finishOrClear(std::move(result)); }
    void deliver(OrPrevious result) {
        if (!result.result) return finishWithPreviousOutput();
        finish(*std::move(result.result));
    }
    template <class T>
    void deliver(Maybe<T> result) {
        if (!result.result) return fallSilent(result.silence);
        deliver(*std::move(result.result));
    }
    template <class T>
    void deliver(T result) {
        finish(Value(std::move(result)));
    }

    [[no_unique_address]] Function function{};
};

template <class Function, class Typed = NoTypedForm>
NodeClass row(std::string_view name, std::initializer_list<RowSlot> slots, std::string_view description,
              bool keepsState) {
    Declaration declaration{.name = name, .description = description, .keepsState = keepsState};
    using Row = RowNode<Function, Typed>;
    Row::describeInto(declaration, slots.begin());
    return NodeClass::declared(std::move(declaration), [](const Declaration& ownDeclaration) {
        auto node = std::make_unique<Row>();
        node->declare(ownDeclaration);
        node->initialize();
        return std::unique_ptr<Node>(std::move(node));
    });
}

}  // namespace Rows

/// A function of its inputs alone.
template <class Function>
NodeClass pure(std::string_view name, std::initializer_list<RowSlot> slots, Function,
               std::string_view description) {
    return Rows::row<Function>(name, slots, description, false);
}

/// A function with state: an object of `State` is called for every step, and made anew by a reset.
template <class State>
NodeClass stateful(std::string_view name, std::initializer_list<RowSlot> slots,
                   std::string_view description) {
    return Rows::row<State>(name, slots, description, true);
}

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
NodeClass operation(SlotOperation which, std::string_view name, std::initializer_list<RowSlot> slots,
                    Function, Typed, std::string_view description) {
    return Rows::row<Function, Typed>(name, slots, description, false).applies(which);
}

}  // namespace KelvaneSDK
