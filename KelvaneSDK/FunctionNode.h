#pragma once

#include "KelvaneSDK/ArrayVariables.h"
#include "KelvaneSDK/Node.h"
#include "KelvaneSDK/ScalarVariables.h"
#include "KelvaneSDK/SequenceValue.h"

namespace KelvaneSDK {

/// The base of every function class. A class is its contract: createInputs(), createOutput(), setTypeString()
/// and process(), written with the helpers below; a class with state also overrides reset(). process() runs
/// when every input was updated and holds a value, unless the class has readiness rules of its own, and ends
/// in exactly one of the helpers that finish a step.
///
/// Reading an input that holds no value, or a value of another type than asked for, stops the program.
class FunctionNode : public Node {
public:
    void initialize() override;

protected:
    /// Appends an input slot per class, each with its label (static text). TimestampedVariable takes any
    /// value, ValueVariable any scalar, ArrayVariable any list; the concrete classes take their own type.
    template <class... Slots, class... Labels>
    requires(sizeof...(Slots) == sizeof...(Labels)) void addInputs(Labels... labels) {
        (appendInput(Slots::slotClass, labels), ...);
    }
    /// Says which value classes the generic inputs do not support.
    template <class... Slots>
    void unsupported() {
        static constexpr std::array<ValueClass, sizeof...(Slots)> list{Slots::slotClass...};
        unsupportedTypes = list;
    }
    template <class Slot>
    void setOutput() {
        makeOutput(Slot::slotClass);
    }

    /// An input slot, for the value operations.
    const TimestampedVariable& input(std::size_t index) const { return *inputValues()[index]; }
    /// An array input slot, for sorted() and sum().
    const ArrayVariable& arrayInput(std::size_t index) const;
    /// The output slot with the value of the previous step, for the value operations.
    const TimestampedVariable& previousOutput() const { return *outputValue(); }
    /// The input's value, whatever its type.
    const Value& value(std::size_t index) const;
    bool isUpdated(std::size_t index) const { return input(index).updated; }
    /// The timestamp of an input's value, in seconds.
    double timestamp(std::size_t index) const { return input(index).timestamp; }

    double real(std::size_t index) const { return input(index).as<double>(); }
    std::int64_t integer(std::size_t index) const { return input(index).as<std::int64_t>(); }
    bool boolean(std::size_t index) const { return input(index).as<bool>(); }
    Vector vector(std::size_t index) const { return input(index).as<Vector>(); }
    Orientation orientation(std::size_t index) const { return input(index).as<Orientation>(); }
    std::string_view text(std::size_t index) const;
    /// The samples of a sequence, in place.
    std::span<const Sample> samples(std::size_t index) const {
        return input(index).items<Sample>(ValueType::Sequence);
    }
    /// The elements of an array, in place: items<double>(1) of a Float array.
    template <class Item>
    std::span<const Item> items(std::size_t index) const {
        return input(index).items<Item>(PayloadType<List<Item>>::value);
    }

    /// Ends the step with a new output: every input's `updated` flag is consumed, the output is stamped with
    /// the latest input timestamp and forwarded. Takes a payload, a Value, or an optional value or answer: an
    /// absent one clears the output and emits nothing.
    template <class T>
    void finish(T newOutput) {
        if constexpr (std::is_same_v<T, std::optional<Value>>) {
            outputValue()->setValue(std::move(newOutput));
        } else if constexpr (std::is_same_v<T, std::optional<bool>>) {
            newOutput ? outputValue()->setValue(Value(*newOutput)) : outputValue()->clearValue();
        } else {
            outputValue()->setValue(Value(std::move(newOutput)));
        }
        completeStep();
    }
    /// Ends the step by emitting the output as it stands once more, if it holds a value.
    void finishWithPreviousOutput() { completeStep(); }
    /// Ends the step without output: consumes every input's `updated` flag and leaves the output untouched.
    void endWithoutOutput();
    /// Consumes one input's `updated` flag.
    void consume(std::size_t index) { inputValues()[index]->updated = false; }
    /// Emits an output now, stamped with the latest input timestamp, and leaves the inputs' flags to the
    /// class.
    void emit(Value newOutput);

    /// a + b, where an overflow of 64 bits stops the program.
    std::int64_t checkedAdd(std::int64_t a, std::int64_t b) const;
};

}  // namespace KelvaneSDK
