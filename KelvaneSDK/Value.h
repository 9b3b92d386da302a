#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>

namespace [[gnu::visibility("default")]] KelvaneSDK {

// The values that travel through a diagram: scalars (a double, a 64-bit integer, a truth, a vector, an
// orientation, a text, a sequence of samples) and lists of these. All of them are cheap to copy.
//
//     ValueType           C++ type             key in recordings           is
//     Float               double               "floatValue"                a number, IEEE 754
//     Integer             std::int64_t         "integerValue"              a count, exact
//     Boolean             bool                 "booleanValue"              true or false
//     Vector              Vector               "vectorValue"               three numbers
//     Orientation         Orientation          "orientationValue"          a rotation
//     String              String               "stringValue"               a text
//     Sequence            Sequence             "sequenceValue" (results)   a time series
//     FloatArray          List<double>         "floatArrayValue"           a list, and so for the others:
//     ...                                                                  Integer, Boolean, String, Vector,
//                                                                          Orientation and Sequence arrays
//     SampleArray         List<Sample>         "sequenceValue"             a time series as it is recorded
//
// Documents and messages name them as valueTypeName() does: "Float", "Float array".

/// The storage behind every list: an immutable block that all copies share. For code that passes lists on
/// without looking at their elements.
struct ListStorage {
    /// The elements side by side; null for none. Whoever holds a copy keeps them alive.
    std::shared_ptr<const void> block;
    /// How many there are, of whatever type.
    std::size_t count = 0;
};

/// An immutable list with value semantics: copies share one block, so passing a list on copies no elements,
/// and a list is never changed under somebody who reads it. A changed list is a new one, made of a span.
/// Reading from several threads at once is safe, and so is letting copies go.
///
///     const List<double> weights{0.25, 0.5, 0.25};
///     for (const double weight : weights) sum += weight;
template <class T>
class List {
public:
    /// What a List holds: double, std::int64_t, bool, a char of a text, or one of the types below.
    using value_type = T;

    /// The empty list, which allocates nothing.
    List() = default;
    /// Copies the elements, in one allocation: {0.25, 0.5, 0.25}.
    List(std::initializer_list<T> items) : List(std::span<const T>(items.begin(), items.size())) {}
    /// The same of elements that stand elsewhere: a std::vector, an array, a part of another list.
    explicit List(std::span<const T> items);
    /// Shares a block that holds elements of this type; that it does is not checked.
    explicit List(ListStorage shared) : storage(std::move(shared)) {}

    /// How many elements the list has.
    std::size_t size() const { return storage.count; }
    bool empty() const { return storage.count == 0; }
    /// The elements stand side by side, and stay where they are as long as some copy of the list lives.
    const T* data() const { return static_cast<const T*>(storage.block.get()); }
    const T* begin() const { return data(); }
    const T* end() const { return data() + size(); }
    /// `index` must be below size(), which is not checked.
    const T& operator[](std::size_t index) const { return data()[index]; }
    std::span<const T> items() const { return {data(), size()}; }
    /// The block itself, for a List, String or Sequence that shares it.
    const ListStorage& shared() const { return storage; }

    /// The same number of elements, which are equal one by one.
    friend bool operator==(const List& a, const List& b) { return a.equals(b); }

private:
    bool equals(const List& other) const;

    ListStorage storage;
};

/// Builds a list element by element, in one allocation when the capacity given is enough, and none for an
/// empty list. For an application that makes long lists; a short one is made of its elements.
///
///     ListBuilder<double> squares(100);
///     for (int i = 0; i < 100; ++i) squares.append(i * i);
///     engine.set(*stream, squares.finish());
template <class T>
class ListBuilder {
public:
    /// Makes space for so many elements; more may come.
    explicit ListBuilder(std::size_t expected = 0) { reserve(expected); }
    /// Moved, not copied: what has been appended has one owner until it is a list.
    ListBuilder(ListBuilder&&) noexcept = default;
    ListBuilder& operator=(ListBuilder&&) noexcept = default;

    /// How many elements have been appended.
    std::size_t size() const { return count; }
    /// What has been appended so far, to be changed in place, or looked back at; valid until the next append.
    std::span<T> items() { return {block.get(), count}; }
    /// Appends an element, or several; doubles the space where there is none left. std::bad_alloc leaves what
    /// has been appended as it was.
    void append(const T& item);
    void append(std::span<const T> items);
    /// Hands the list over, copying nothing, and leaves the builder empty.
    List<T> finish();

private:
    void reserve(std::size_t wanted);

    std::shared_ptr<T[]> block;
    std::size_t count = 0, capacity = 0;
};

/// Three doubles, of which the unit and the axes are the application's. Recordings have it as
/// {"x":1.0,"y":-2.5,"z":0.0}.
struct Vector {
    double x = 0, y = 0, z = 0;

    /// "(x:1.0,y:-2.5,z:0.0)", each number in its shortest form that reads back exactly.
    std::string description() const;
    /// Reads any text that is three numbers after the characters " :xyz()[]" are deleted; absent otherwise.
    static std::optional<Vector> fromText(std::string_view text);

    friend bool operator==(const Vector&, const Vector&) = default;
};

/// A rotation as a quaternion with vector part (x, y, z) and real part w, by default the one that turns
/// nothing; a unit quaternion by convention, which nothing enforces. The rotation by an angle about a unit
/// axis is {axis.x * sin(angle / 2), axis.y * sin(angle / 2), axis.z * sin(angle / 2), cos(angle / 2)}.
struct Orientation {
    double x = 0, y = 0, z = 0, w = 1;

    /// "(x:0.0,y:0.0,z:0.0,w:1.0)", in the same form of numbers.
    std::string description() const;
    /// Reads any text that is four numbers after the characters " :xyzw()[]" are deleted; absent otherwise.
    static std::optional<Orientation> fromText(std::string_view text);

    friend bool operator==(const Orientation&, const Orientation&) = default;
};

/// One sample of a time series: `t` in seconds on the axis of the batches' timestamps, `f` the value.
struct Sample {
    double t = 0, f = 0;

    friend bool operator==(const Sample&, const Sample&) = default;
};

/// An immutable text whose copies share their bytes. UTF-8 by convention, which nothing enforces: other bytes
/// pass through a diagram as they are. Compares byte by byte; String slots compare by canonical equivalence.
class String {
public:
    String() = default;
    /// Each copies the bytes.
    String(std::string_view text) : chars(std::span<const char>(text.data(), text.size())) {}
    String(const char* text) : String(std::string_view(text)) {}
    String(const std::string& text) : String(std::string_view(text)) {}
    /// Shares a block of chars.
    explicit String(ListStorage shared) : chars(std::move(shared)) {}

    /// The bytes, as long as some copy of the text lives.
    std::string_view view() const { return {chars.data(), chars.size()}; }
    operator std::string_view() const { return view(); }
    /// The block of chars.
    const ListStorage& shared() const { return chars.shared(); }

    friend bool operator==(const String& a, const String& b) { return a.view() == b.view(); }

private:
    List<char> chars;
};

/// The engine's own time series: a list of samples that travels as one value, ordered by `t` where an
/// operation needs an order. A distinct type from `List<Sample>`, the list of sample records: an application
/// converts with the constructor and samples(), which copy no samples.
class Sequence {
public:
    /// A sequence without samples, on which most functions stay silent or stop.
    Sequence() = default;
    /// Copies the samples: {{0.0, 1.5}, {0.1, 1.7}} at 0.0 and 0.1 s. Nothing sorts them.
    Sequence(std::initializer_list<Sample> samples) : list(samples) {}
    /// Shares the list's block.
    explicit Sequence(List<Sample> samples) : list(std::move(samples)) {}
    /// Shares a block of samples.
    explicit Sequence(ListStorage shared) : list(std::move(shared)) {}

    /// The samples in the order in which they were given.
    const List<Sample>& samples() const { return list; }
    /// How many there are.
    std::size_t size() const { return list.size(); }
    /// The block of samples.
    const ListStorage& shared() const { return list.shared(); }

    /// Sample by sample, times included.
    friend bool operator==(const Sequence&, const Sequence&) = default;

private:
    List<Sample> list;
};

/// The exact type of a payload, which a slot of the same class holds and a recording's line has a key for.
/// Those from String on share a block between copies; the others are held inline. Nothing converts one into
/// another but the functions that say so.
enum class ValueType : std::uint8_t {
    /// double, IEEE 754. NaN and infinities travel like any other number.
    Float,
    /// std::int64_t; sums, products and the like that overflow stop the program.
    Integer,
    /// bool.
    Boolean,
    /// Vector: three doubles.
    Vector,
    /// Orientation: a quaternion.
    Orientation,
    /// String: a text.
    String,
    /// Sequence: a time series.
    Sequence,
    /// List<double>, List<std::int64_t>, List<bool>, and so on.
    FloatArray,
    IntegerArray,
    BooleanArray,
    StringArray,
    VectorArray,
    OrientationArray,
    SequenceArray,
    /// List<Sample>, a list of sample records, as recordings hold time series; no slot holds one.
    SampleArray,
};

/// The name of a payload type in messages: "Float", "Integer array", ..., "Sample array".
std::string_view valueTypeName(ValueType type);

/// The C++ types of payloads, in the order of ValueType: std::tuple_element_t<2, AllPayloads> is bool, as
/// ValueType::Boolean is 2.
using AllPayloads = std::tuple<double, std::int64_t, bool, Vector, Orientation, String, Sequence,
                               List<double>, List<std::int64_t>, List<bool>, List<String>, List<Vector>,
                               List<Orientation>, List<Sequence>, List<Sample>>;
/// The place of a type among them; their number for any other type. For templates that walk the types.
template <class T>
inline constexpr std::size_t payloadPlace = []<class... All>(std::type_identity<std::tuple<All...>>) {
    std::size_t place = 0;
    static_cast<void>(((std::is_same_v<T, All> || (++place, false)) || ...));
    return place;
}(std::type_identity<AllPayloads>{});
/// One of the fifteen types that a Value can hold: what templates over payloads ask for.
///
///     template <Payload T>
///     void show(std::string_view label, const T& payload);
template <class T>
concept Payload = payloadPlace<T> < std::tuple_size_v<AllPayloads>;
/// The payload type of such a C++ type: PayloadType<double>::value is ValueType::Float.
template <Payload T>
struct PayloadType {
    static constexpr auto value = static_cast<ValueType>(payloadPlace<T>);
};

/// One value of one of the payload types, with exact type equality: an integer is never a float. It always
/// holds one; "no value" is an absent std::optional, or a null pointer.
///
///     const Value length = 2.5, count = 3, name = "walk", path = List<Vector>{{0, 0, 0}, {1, 0, 0}};
///     length.as<double>();           // 2.5; as<std::int64_t>() would stop the program
///     count.get<double>();           // absent
///     path.items<Vector>().size();   // 2
///
/// Copying a scalar is a few instructions; copying a text, list or sequence shares its block. Nothing but the
/// making of lists and texts allocates. Reading from several threads is safe.
class Value {
public:
    /// A value of the payload's type.
    template <Payload T>
    Value(T payload) noexcept;
    /// Any other integer type that fits becomes an Integer; an unsigned 64-bit one does not compile.
    template <class T>
    requires(std::is_integral_v<T> && !std::is_same_v<T, bool> && !std::is_same_v<T, std::int64_t> &&
             (sizeof(T) < 8 || std::is_signed_v<T>)) Value(T integer)
    noexcept : Value(static_cast<std::int64_t>(integer)) {}
    /// A String with a copy of the bytes, up to the first zero for a pointer.
    Value(std::string_view text) : Value(String(text)) {}
    Value(const char* text) : Value(String(text)) {}
    Value(const std::string& text) : Value(String(text)) {}

    /// Copies share the block of a list or text; what was moved from is an empty list or text, or the scalar
    /// that it was.
    Value(const Value& other) noexcept;
    Value(Value&& other) noexcept;
    Value& operator=(const Value& other) noexcept;
    Value& operator=(Value&& other) noexcept;
    ~Value();

    /// The exact type, which never changes but by assignment.
    ValueType type() const { return tag; }

    /// Whether the value is of this type, exactly.
    template <Payload T>
    bool holds() const;
    /// The payload, or absent when the value is of another type: for values of a type that is not known, such
    /// as those of a diagram from elsewhere. Lists and texts share their block with this value.
    ///
    ///     if (const auto steps = output.get<std::int64_t>()) show(*steps);
    template <Payload T>
    std::optional<T> get() const;
    /// The payload; a value of another type stops the program: for values whose type the diagram decides.
    template <Payload T>
    T as() const;
    /// The payload of a value that is known to be of this type; of another, the behaviour is undefined.
    template <Payload T>
    T unchecked() const;
    /// Replaces the payload of a value that is known to be of this type, a number, truth, vector or
    /// orientation.
    template <Payload T>
    void replace(T payload) noexcept;
    /// The same by the payload of another value, where both are floats, both integers or both booleans.
    void replaceScalar(const Value& other) noexcept;
    /// The elements of a list or sequence (samples) or the bytes of a text, valid as long as this value is
    /// unchanged; empty when the value is of another type. items<double>() of a list of floats,
    /// items<Sample>() of a sequence or a list of sample records, items<char>() of a text.
    template <class Item>
    std::span<const Item> items() const;

    /// How many elements, samples or bytes a list, sequence or text has; 0 for the other types.
    std::size_t elementCount() const;
    /// What EvaluationLimits::maxElements limits: the same with the bytes of the texts, or the samples of the
    /// sequences, that are elements of a list.
    std::size_t contentCount() const;

    /// True when both are of the same type and equal: exact equality of numbers (so NaN differs from itself),
    /// of bytes and of elements.
    friend bool operator==(const Value& a, const Value& b);

private:
    static constexpr bool isInline(ValueType type);
    static constexpr bool isScalar(ValueType type);
    static constexpr bool areScalars(ValueType a, ValueType b);
    template <class Item>
    bool holdsItems() const;
    const ListStorage& storage() const;
    ListStorage& storage();
    void copyScalar(const Value& other) noexcept;
    void copyOther(const Value& other) noexcept;
    void moveOther(Value& other) noexcept;
    Value& assign(const Value& other) noexcept;
    Value& assign(Value&& other) noexcept;
    void dropShared() noexcept;
    [[noreturn]] void stopOnWrongType(ValueType wanted) const;

    alignas(8) unsigned char bytes[32] = {};
    ValueType tag;
};

/// The text of any value as an application shows it, distinct from a slot's stringValue(), which documents
/// hold:
///
///     a Float                      2.0, the shortest decimal that reads back exactly; inf, nan
///     an Integer, a Boolean        -3, true
///     a String                     as it is, without quotes
///     a Vector, an Orientation     (x:1.0,y:2.0,z:3.0), (x:0.0,y:0.0,z:0.0,w:1.0)
///     a Sequence                   [(t: 0.0, f: 1.0)]
///     a list of sample records     [(t:0.0,f:1.0)]
///     a list of floats             [1.0,2.0]
///     any other list               [a, b], texts in double quotes
std::string getValueString(const Value& value);

/// "[1.0,2.5,-3.0]", without spaces; "[]" for an empty list. doublesFromText() reads it back exactly.
std::string description(const List<double>& list);
/// Deletes spaces and square brackets, splits at commas and reads every piece as a double; absent when one
/// fails. A text with nothing left is the empty list.
std::optional<List<double>> doublesFromText(std::string_view text);

}  // namespace KelvaneSDK

#include "KelvaneSDK/Inline/Values.h"
