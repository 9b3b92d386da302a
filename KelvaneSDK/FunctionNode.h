#pragma once

#include "KelvaneSDK/Declaration.h"
#include "KelvaneSDK/Node.h"

namespace [[gnu::visibility("default")]] KelvaneSDK {

class FunctionNode;

/// What a node computes that gives a value, or stops, whenever every input has news and a value.
/// The inputs are consumed before; `latest` is their latest timestamp.
using Compute = void (*)(FunctionNode& node, const StepInput* inputs, double latest);

/// A function node as the engine evaluates it: what it reads and writes, within reach.
struct Step {
    /// Runs the node if its inputs are ready for it. True when it ran.
    using Run = bool (*)(Step& step);

    Run run = nullptr;
    /// Null for nodes that may fall silent.
    Compute compute = nullptr;
    FunctionNode* node = nullptr;
    /// The node's input slots, every one of them connected.
    StepInput* inputs = nullptr;
    std::size_t inputCount = 0;

    /// Lets a step of `count` inputs compute whenever they are ready.
    template <std::size_t count, Compute newCompute>
    void setCompute() {
        compute = newCompute;
        run = runWhenReady<count, newCompute>;
    }

private:
    template <std::size_t count, Compute newCompute>
    static bool runWhenReady(Step& step) {
        StepInput* const inputs = step.inputs;
        double latest = 0;
        for (std::size_t i = 0; i < count; ++i) {
            const GivenValue& source = *inputs[i].source;
            if (!inputs[i].hasNews() || !source.hasValue()) return false;
            if (latest <= source.timestamp) latest = source.timestamp;
        }
        for (std::size_t i = 0; i < count; ++i) inputs[i].consume();
        newCompute(*step.node, inputs, latest);
        return true;
    }
};

/// The base of every function class. A class says what it is in its `declaration()` and computes in
/// process(), written with the helpers below; a class with state also overrides reset(). process() runs when
/// every input was updated and holds a value, unless the class has readiness rules of its own, and ends in
/// exactly one of the helpers that finish a step.
///
///     class CounterFunction final : public FunctionNode {
///     public:
///         static Declaration declaration() {
///             return {.name = "Counter", .inputs = {{"value"}}, .output = ValueClass::IntegerValue,
///                     .description = "how many values have arrived", .keepsState = true,
///                     .takesAnything = {0}};
///         }
///         void process() override { finish(++count); }
///         void reset() override { count = 0; FunctionNode::reset(); }
///     private:
///         std::int64_t count = 0;
///     };
///
/// Reading an input that holds no value, or a value of another type than asked for, stops the program.
class FunctionNode : public Node {
public:
    void initialize() override;
    /// The slots, output and name of the declaration. A class without one overrides these.
    void createInputs() override;
    void createOutput() override;
    void setTypeString() override;
    std::span<const ValueClass> unsupportedTypes() const override;

    /// What the class says about itself, or null for a class that overrides createInputs() and the others.
    const Declaration* declaration() const { return declared; }
    /// Called before initialize(); the declaration must outlive the node.
    void declare(const Declaration& declaration) { declared = &declaration; }

    /// Fills in how the engine runs the node, for the types that its slots have now.
    virtual void prepare(Step& step) const;
    /// Gives a value that was computed from inputs consumed before.
    void emitComputed(const Value& newOutput, double latest) {
        checkElements(newOutput);
        give(newOutput, latest);
    }

protected:
    /// An input slot, for the value operations.
    const TimestampedVariable& input(std::size_t index) const { return *inputValues()[index]; }
    /// The output slot with the value of the previous step, for the value operations.
    const TimestampedVariable& previousOutput() const { return *outputValue(); }
    /// The input's value, whatever its type.
    const Value& value(std::size_t index) const;
    bool isUpdated(std::size_t index) const { return input(index).updated(); }
    /// The timestamp of an input's value, in seconds.
    double timestamp(std::size_t index) const { return input(index).timestamp(); }

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
    /// the latest input timestamp and forwarded. Takes a payload or a Value.
    template <class T>
    void finish(T newOutput) {
        if constexpr (std::is_same_v<T, Value>) checkElements(newOutput);
        consumeInputs();
        give(std::move(newOutput), latestInputTimestamp());
    }
    /// The same for a result that may be absent: then the output loses its value, and nothing is emitted.
    void finishOrClear(std::optional<Value> newOutput);
    /// Ends the step by emitting the output as it stands once more, if it holds a value.
    void finishWithPreviousOutput() { completeStep(); }
    /// Ends the step without output: consumes every input's `updated` flag and leaves the output untouched.
    /// The reason is static text.
    void endWithoutOutput(const char* reason = "");
    /// Consumes one input's `updated` flag.
    void consume(std::size_t index) { inputValues()[index]->consume(); }
    /// Emits an output now, stamped with the latest input timestamp, and leaves the inputs' flags to the
    /// class.
    void emit(Value newOutput);

    /// Stops when the inputs' values break a demand of the declaration.
    void stopOnViolation() const;
    /// a + b, where an overflow of 64 bits stops the program.
    std::int64_t checkedAdd(std::int64_t a, std::int64_t b) const;

private:
    const Declaration* declared = nullptr;
};

}  // namespace KelvaneSDK
