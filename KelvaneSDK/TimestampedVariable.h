#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "KelvaneSDK/Value.h"

// The engine's own, which a shared library does not export.
namespace KelvaneSDK {
class DiagramBuilder;
class Evaluation;
class NodeState;
class StepGroups;
struct GivenValue;
struct StepInput;
}  // namespace KelvaneSDK

namespace [[gnu::visibility("default")]] KelvaneSDK {

class Node;

/// The class of a value slot: what the slot can hold. The concrete classes hold values of exactly one type;
/// the generic ones take on a concrete class when they are connected. Behind each class stands how a function
/// reads its values.
enum class ValueClass : std::uint8_t {
    /// Generic: any value. Functions read it with value().
    TimestampedVariable,
    /// Generic: any scalar, which here is everything but a list. value().
    ValueVariable,
    /// A double: FunctionNode::real(). Arithmetic and comparisons are IEEE 754.
    FloatValue,
    /// A 64-bit integer: integer(). What overflows, and a division by 0, stops; divisions truncate.
    IntegerValue,
    /// Three doubles: vector(). Arithmetic goes component by component.
    VectorValue,
    /// true or false: boolean(). negate() is the logical not.
    BooleanValue,
    /// A quaternion: orientation(). multiply() is the Hamilton product, divide() that by the inverse; the
    /// other operations go component by component, and nothing normalises.
    OrientationValue,
    /// A time series: samples(). In arithmetic this slot's sequence gives the times, and the other one is
    /// interpolated at them; the result covers the times that lie within the other one. A sample whose
    /// divisor is zero is left out.
    SequenceValue,
    /// A text: text(). add() joins; the order is that of Unicode scalar values after canonical composition.
    StringValue,
    /// Generic: any list. value().
    ArrayVariable,
    /// Lists of the scalars above: items<double>(), items<std::int64_t>(), items<bool>(), items<String>(),
    /// items<Vector>(), items<Orientation>(), items<Sequence>().
    FloatArrayVariable,
    IntegerArrayVariable,
    BooleanArrayVariable,
    StringArrayVariable,
    VectorArrayVariable,
    OrientationArrayVariable,
    SequenceArrayVariable,
};

/// The short code that decides connections: "f", "[f]", "?", ...: slots of one code fit each other, and a
/// generic slot fits what it can take on.
std::string_view typeCode(ValueClass valueClass);
/// The name in documents, output lists and messages: "Float", "Float array", "Generic value", ... Static
/// text.
std::string_view typeString(ValueClass valueClass);
/// The class with this type string; absent for the generic classes' names and for any other text.
std::optional<ValueClass> concreteClassNamed(std::string_view typeString);
/// The payload type that slots of a concrete class hold; absent for the generic classes.
std::optional<ValueType> payloadType(ValueClass valueClass);
/// True for the three classes that take on another class when they are connected.
bool isGeneric(ValueClass valueClass);
/// True for the classes whose code stands in brackets: lists.
bool isArray(ValueClass valueClass);

/// The value of a class that a text says, or absent when it says none. Reads back whatever the class's
/// stringValue() writes: brackets and spaces are passed over, numbers stand between commas, vectors,
/// orientations and samples in groups of their width, the elements of a text array as they are. The empty
/// text is the empty list. Any thread; prints nothing.
std::optional<Value> valueFromText(ValueClass valueClass, std::string_view text);
/// False for the classes without a text form, the generic ones and sequence arrays.
bool readsText(ValueClass valueClass);

/// A value slot: an input or output of a node. It holds at most one value, says when that value was produced
/// and whether it is new, and offers the operations that let one function work for every type.
///
/// A node makes its slots by their class. The root class itself is the generic slot that takes any value.
/// Slots are unsynchronised and belong to the thread that evaluates their diagram.
///
///     for (const auto* slot : node.inputValues()) {
///         std::cout << slot->label << " (" << slot->typeString() << ")";
///         if (slot->hasValue()) std::cout << " = " << slot->stringValue() << " since " << slot->timestamp();
///         std::cout << (slot->updated() ? ", new\n" : "\n");
///     }
///
/// A slot that one node feeds reads that node's value where it stands. A slot that is written to by hand, or
/// that several nodes feed, has a value of its own, into which its feeders write. Both look the same here;
/// the former costs less.
class TimestampedVariable {
public:
    static constexpr ValueClass slotClass = ValueClass::TimestampedVariable;
    TimestampedVariable() = default;
    virtual ~TimestampedVariable();
    TimestampedVariable(const TimestampedVariable&) = delete;
    TimestampedVariable& operator=(const TimestampedVariable&) = delete;

    /// What the slot holds. A generic slot of a diagram is replaced by one of a concrete class once something
    /// is connected to it.
    virtual ValueClass valueClass() const { return slotClass; }
    /// The code and the name of that class: two slots of one code may be connected.
    std::string_view typeCode() const { return KelvaneSDK::typeCode(valueClass()); }
    std::string_view typeString() const { return KelvaneSDK::typeString(valueClass()); }

    /// Whether there is a value: something arrived since the last reset and was not cleared.
    bool hasValue() const { return payload() != nullptr; }
    /// The value, or absent. Shares the block of a list or text.
    std::optional<Value> value() const;
    /// The value in place, or null; valid until the slot changes.
    const Value* payload() const;
    /// Replaces the value by hand, of whatever type: nothing is checked, and neither timestamp nor flags
    /// change. What is written to an output goes on when its node forwards it.
    void setValue(Value newValue);
    void setValue(std::optional<Value> newValue) { newValue ? setValue(std::move(*newValue)) : clearValue(); }
    /// Leaves the slot without a value; timestamp and flags stay. By hand, as setValue().
    void clearValue();

    /// When the value was produced: the timestamp of its batch, in seconds; 0 before there was any.
    double timestamp() const;
    /// Like all that sets, by hand: the slot keeps a value of its own from then on, and an output that is
    /// set goes on only when its node forwards it or, for a constant, with the next batch.
    void setTimestamp(double newTimestamp);
    /// A new value arrived that the node has not consumed yet. The flag that decides when functions run.
    bool updated() const;
    /// By hand: an input that is set becomes news for its node, and one that is not waits for the next value.
    void setUpdated(bool updated);
    /// The value came from a constant. No function asks; applications may show it.
    bool isConstant() const;
    /// By hand; the engine sets it for the slots that a constant feeds.
    void setIsConstant(bool isConstant);

    /// The value as shown to users: "1.5", "(1.0, 2.0, 3.0)", "true,false"; doubles of a Float slot with six
    /// significant digits. Classes without a text form return "<NO STRING CONVERSION>".
    virtual std::string stringValue() const;
    /// Replaces the value by the one that `text` says, as valueFromText() reads it. A text that does not
    /// parse changes nothing and prints "ERROR: converting <text> to <typeString> failed!"; classes without
    /// a text form ignore it.
    virtual void setValueFromString(std::string_view text);

    /// Operations read this slot as the left operand and the other slot as the right one, and change neither.
    /// An absent result means that the class does not support the operation:
    ///
    ///     add                         Float, Integer, Vector, Orientation, Sequence, String, and arrays of
    ///                                 floats, texts, vectors and orientations
    ///     subtract, multiply, divide  the same without the texts
    ///     scale                       as subtract, and arrays of integers
    ///     negate                      as subtract, and Boolean with its arrays
    ///     isEqual                     all but arrays of integers and of sequences
    ///     isLarger and the like       Float, Integer, String
    ///
    /// An operand without a value, or one whose payload is not of this slot's class,
    /// stops the program, and so does an integer that overflows. Lists are combined element by element, up to
    /// the shorter one.
    ///
    ///     if (auto sum = input(0).add(input(1))) finish(std::move(*sum));
    virtual std::optional<Value> add(const TimestampedVariable& other) const;
    virtual std::optional<Value> subtract(const TimestampedVariable& other) const;
    /// Component by component; of orientations, the Hamilton product.
    virtual std::optional<Value> multiply(const TimestampedVariable& other) const;
    /// IEEE 754 for floats, so that a division by zero is an infinity or NaN; of integers it stops.
    virtual std::optional<Value> divide(const TimestampedVariable& other) const;
    /// Every component times the factor; for an integer the factor loses its fraction first.
    virtual std::optional<Value> scale(double factor) const;
    /// The arithmetic opposite, or logical not.
    virtual std::optional<Value> negate() const;
    /// Exact equality, of texts by canonical equivalence. Also absent, and no stop, for two payloads of
    /// different types and for lists of different lengths.
    virtual std::optional<bool> isEqual(const TimestampedVariable& other) const;
    /// Orders numbers, and texts by Unicode scalar values; NaN compares false with everything.
    virtual std::optional<bool> isLarger(const TimestampedVariable& other) const;
    virtual std::optional<bool> isSmaller(const TimestampedVariable& other) const;
    virtual std::optional<bool> isSmallerOrEqual(const TimestampedVariable& other) const;
    virtual std::optional<bool> isLargerOrEqual(const TimestampedVariable& other) const;

    /// The value as a payload: as<double>() of a Float slot. An absent value or another type stops the
    /// program, with a reason that names the slot and its node.
    template <class T>
    T as() const;
    /// The elements of a list or sequence, or the bytes of a text, in place and valid until the slot changes;
    /// an absent value or another type than `type` stops the program.
    template <class Item>
    std::span<const Item> items(ValueType type) const;
    /// The value, which must be of the type of the slot's class; for the generic classes any value. Stops
    /// otherwise.
    const Value& typedValue() const;
    /// Stops the program with a reason that names the node that owns this slot.
    [[noreturn]] void stop(std::string_view reason) const;

    // Where the slot stands; its node and the engine set these.

    /// The node that owns the slot.
    Node* owner = nullptr;
    /// The slot's name in the diagram, "open" or "value": static text, or null.
    const char* label = nullptr;
    /// The position among its node's inputs; 0 for an output.
    std::uint32_t index = 0;
    /// The slot's upstream has been dealt with in this pass over the diagram.
    bool checked : 1 = false;
    /// No connection feeds the slot.
    bool connectable : 1 = true;

    /// The engine's own: the slot must outlive its replacement.
    bool pinned : 1 = false;
    /// For a slot that was specialised: the generic class it came from.
    std::optional<ValueClass> isTyped;

protected:
    // Stores the default value of the slot's class when asked to; for constructors.
    void fill(bool withDefault);

private:
    // How the engine and the nodes move values; TimestampedVariable.cpp says what each does.
    friend class Evaluation;
    friend class Node;
    friend class NodeState;
    friend class StepGroups;
    const Value& required(ValueType type) const;
    const GivenValue* given() const { return source; }
    void consume();
    void bind(StepInput& input);
    void unbind();
    StepInput* boundInput() const { return isBound ? bound : nullptr; }
    void showGiven(GivenValue& nodesValue);
    GivenValue* handWritten() { return isOutput && ownsSource ? source : nullptr; }
    void dropHandWritten(GivenValue& nodesValue);
    void feedFrom(GivenValue& feeder);
    void unfeed(const GivenValue& feeder);
    void take(const GivenValue& feeder);
    void empty();
    [[noreturn]] void stopOnPayload(ValueType wanted) const;
    GivenValue& ownValue();
    std::uint64_t consumed() const;
    void setConsumed(std::uint64_t at);
    void leaveGroup();

    bool ownsSource : 1 = false, isOutput : 1 = false, wasConstant : 1 = false, isBound : 1 = false;
    GivenValue* source = nullptr;
    // By the source's clock; while the slot is bound, the count stands there.
    union {
        std::uint64_t consumedAt = 0;
        StepInput* bound;
    };
    std::uint64_t emptiedAt = 0;
};

}  // namespace KelvaneSDK

#include "KelvaneSDK/Inline/SlotValues.h"
