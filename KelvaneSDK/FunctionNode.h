#pragma once

#include "KelvaneSDK/NodeClass.h"

namespace [[gnu::visibility("default")]] KelvaneSDK {

struct [[gnu::visibility("hidden")]] Step;

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
/// It becomes known to an engine with
///
///     engine.registerNodes(functionFamily("Counting", {entry<CounterFunction>()}));
///
/// Reading an input that holds no value, or a value of another type than asked for, stops the program.
/// Nothing but std::bad_alloc may be thrown out of a node. docs/node-classes.md is the guide.
class FunctionNode : public Node {
public:
    /// Makes the slots and takes the names, by the operations below; the label is the type string at first.
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

protected:
    // Reading the inputs, by their index from 0.

    /// The slot itself, for the value operations and for what it says of its value.
    const TimestampedVariable& input(std::size_t index) const { return *inputValues()[index]; }
    /// The input's value, whatever its type.
    const Value& value(std::size_t index) const;
    /// Whether the value is new since the last step. For classes that run when only some inputs are.
    bool isUpdated(std::size_t index) const { return input(index).updated(); }
    /// The timestamp of an input's value, in seconds.
    double timestamp(std::size_t index) const { return input(index).timestamp(); }
    /// The value of a Float, Integer, Boolean, Vector, Orientation or String slot. A text is read in place.
    double real(std::size_t index) const;
    std::int64_t integer(std::size_t index) const;
    bool boolean(std::size_t index) const;
    Vector vector(std::size_t index) const;
    Orientation orientation(std::size_t index) const;
    std::string_view text(std::size_t index) const;
    /// The samples of a sequence, in place.
    std::span<const Sample> samples(std::size_t index) const;
    /// The elements of an array, in place: items<double>(1) of a Float array.
    template <class Item>
    std::span<const Item> items(std::size_t index) const;
    /// The output slot with the value of the previous step, for the value operations.
    const TimestampedVariable& previousOutput() const { return *outputValue(); }

    // Ending a step. Each consumes the `updated` flag of every input.

    /// Emits a new output, stamped with the latest input timestamp. Takes a Value or anything that makes one:
    /// finish(1.5), finish(Vector{}), finish(List<double>(items)). Its type is not checked.
    void finish(Value newOutput);
    /// The same for a result that may be absent: then the output loses its value, and nothing is emitted.
    void finishOrClear(std::optional<Value> newOutput);
    /// Ends the step by emitting the output as it stands once more, if it holds a value.
    void finishWithPreviousOutput() { completeStep(); }
    /// Ends the step without output and leaves the previous one untouched; what follows does not run. The
    /// reason is static text.
    void endWithoutOutput(const char* reason = "");

    // For classes that decide by themselves what they consume.

    /// Consumes one input's `updated` flag.
    void consume(std::size_t index);
    /// Emits an output now, stamped with the latest input timestamp, and leaves the inputs' flags to the
    /// class.
    void emit(Value newOutput);

    /// Stops when the inputs' values break a demand of the declaration, with the demand's own reason.
    void stopOnViolation() const;

    // For the library's classes: fills in how the engine runs the node, for the types of its slots.
    virtual void prepare(Step& step) const;

private:
    friend class Evaluation;
    const Declaration* declared = nullptr;
};

/// A new node of a class with a declaration, ready for use: what `entry` enters, and what an application
/// calls that makes nodes by itself. The declaration must outlive the node.
template <class NodeType>
std::unique_ptr<Node> makeDeclared(const Declaration& declaration);

/// A class that declares itself, as a registry takes it:
///
///     engine.registerNodes(functionFamily("Counting", {entry<CounterFunction>()}));
///
/// The class is default-constructible and derives from FunctionNode.
template <class NodeType>
NodeClass entry() requires requires {
    NodeType::declaration();
};

/// A class that declares nothing: entry<MyFunction>("what it does"). The checker then assumes nothing about
/// when it runs or emits, and the engine keeps to the plain way of running it. That it keeps state, or has a
/// readiness of its own, is read off what it overrides.
template <class NodeType>
NodeClass entry(std::string_view description);

/// A family of function classes, for Kelvane::registerNodes(). The title is static text, under which lists of
/// functions show the classes in this order.
NodeFamily functionFamily(std::string_view title, std::vector<NodeClass> classes);

}  // namespace KelvaneSDK

#include "KelvaneSDK/Inline/NodeEntries.h"
