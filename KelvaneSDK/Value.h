#pragma once

#include <cstdint>
#include <cstring>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

#include "KelvaneSDK/List.h"

namespace [[gnu::visibility("default")]] KelvaneSDK {

/// Three doubles; the unit is the application's.
struct Vector {
    double x = 0, y = 0, z = 0;

    /// "(x:1.0,y:-2.5,z:0.0)", each number in its shortest form that reads back exactly.
    std::string description() const;
    /// Reads any text that is three numbers after the characters " :xyz()[]" are deleted; absent otherwise.
    static std::optional<Vector> fromText(std::string_view text);

    friend bool operator==(const Vector&, const Vector&) = default;
};

/// A quaternion with vector part (x, y, z) and real part w; a unit quaternion by convention, which nothing
/// enforces.
struct Orientation {
    double x = 0, y = 0, z = 0, w = 1;

    /// "(x:0.0,y:0.0,z:0.0,w:1.0)".
    std::string description() const;
    /// Reads any text that is four numbers after the characters " :xyzw()[]" are deleted; absent otherwise.
    static std::optional<Orientation> fromText(std::string_view text);

    friend bool operator==(const Orientation&, const Orientation&) = default;
};

/// One sample of a time series: `t` in seconds, `f` the value.
struct Sample {
    double t = 0, f = 0;

    friend bool operator==(const Sample&, const Sample&) = default;
};

/// An immutable text whose copies share their bytes; UTF-8 by convention.
class String {
public:
    String() = default;
    String(std::string_view text) : chars(std::span<const char>(text.data(), text.size())) {}
    String(const char* text) : String(std::string_view(text)) {}
    String(const std::string& text) : String(std::string_view(text)) {}
    explicit String(ListStorage shared) : chars(std::move(shared)) {}

    std::string_view view() const { return {chars.data(), chars.size()}; }
    operator std::string_view() const { return view(); }
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
    Sequence() = default;
    Sequence(std::initializer_list<Sample> samples) : list(samples) {}
    explicit Sequence(List<Sample> samples) : list(std::move(samples)) {}
    explicit Sequence(ListStorage shared) : list(std::move(shared)) {}

    const List<Sample>& samples() const { return list; }
    std::size_t size() const { return list.size(); }
    const ListStorage& shared() const { return list.shared(); }

    friend bool operator==(const Sequence&, const Sequence&) = default;

private:
    List<Sample> list;
};

/// The exact type of a payload. Those from String on share a block between copies; the others are held
/// inline.
enum class ValueType : std::uint8_t {
    Float,
    Integer,
    Boolean,
    Vector,
    Orientation,
    String,
    Sequence,
    FloatArray,
    IntegerArray,
    BooleanArray,
    StringArray,
    VectorArray,
    OrientationArray,
    SequenceArray,
    SampleArray,  ///< a list of sample records, `List<Sample>`; no slot holds one
};

/// The name of a payload type in messages: "Float", "Integer array", ..., "Sample array".
std::string_view valueTypeName(ValueType type);

/// The payload type of a C++ type; defined for exactly the fifteen types that a Value can hold.
template <class T>
struct PayloadType;
#define KELVANE_PAYLOAD(cppType, tag)                      \
    template <>                                            \
    struct PayloadType<cppType> {                          \
        static constexpr ValueType value = ValueType::tag; \
    }
KELVANE_PAYLOAD(double, Float);
KELVANE_PAYLOAD(std::int64_t, Integer);
KELVANE_PAYLOAD(bool, Boolean);
KELVANE_PAYLOAD(Vector, Vector);
KELVANE_PAYLOAD(Orientation, Orientation);
KELVANE_PAYLOAD(String, String);
KELVANE_PAYLOAD(Sequence, Sequence);
KELVANE_PAYLOAD(List<double>, FloatArray);
KELVANE_PAYLOAD(List<std::int64_t>, IntegerArray);
KELVANE_PAYLOAD(List<bool>, BooleanArray);
KELVANE_PAYLOAD(List<String>, StringArray);
KELVANE_PAYLOAD(List<Vector>, VectorArray);
KELVANE_PAYLOAD(List<Orientation>, OrientationArray);
KELVANE_PAYLOAD(List<Sequence>, SequenceArray);
KELVANE_PAYLOAD(List<Sample>, SampleArray);
#undef KELVANE_PAYLOAD

template <class T>
concept Payload = requires {
    PayloadType<T>::value;
};

/// One value of one of the payload types, with exact type equality: an integer is never a float. Copying a
/// scalar is a few instructions; copying a text, list or sequence shares its block. Reading from several
/// threads is safe.
class Value {
public:
    template <Payload T>
    Value(T payload) noexcept : tag(PayloadType<T>::value) {
        if constexpr (isInline(PayloadType<T>::value)) {
            std::memcpy(bytes, &payload, sizeof payload);
        } else {
            new (bytes) ListStorage(payload.shared());
        }
    }
    /// Any other integer type becomes an Integer.
    template <class T>
    requires(std::is_integral_v<T> && !std::is_same_v<T, bool> && !std::is_same_v<T, std::int64_t> &&
             (sizeof(T) < 8 || std::is_signed_v<T>)) Value(T integer)
    noexcept : Value(static_cast<std::int64_t>(integer)) {}
    Value(std::string_view text) : Value(String(text)) {}
    Value(const char* text) : Value(String(text)) {}
    Value(const std::string& text) : Value(String(text)) {}

    Value(const Value& other) noexcept : tag(other.tag) {
        isScalar(tag) ? copyScalar(other) : copyOther(other);
    }
    Value(Value&& other) noexcept : tag(other.tag) { isScalar(tag) ? copyScalar(other) : moveOther(other); }
    Value& operator=(const Value& other) noexcept {
        if (!areScalars(tag, other.tag)) return assign(other);
        tag = other.tag;
        copyScalar(other);
        return *this;
    }
    Value& operator=(Value&& other) noexcept {
        if (!areScalars(tag, other.tag)) return assign(std::move(other));
        tag = other.tag;
        copyScalar(other);
        return *this;
    }
    ~Value() {
        if (!isInline(tag)) dropShared();
    }

    ValueType type() const { return tag; }

    template <Payload T>
    bool holds() const {
        return tag == PayloadType<T>::value;
    }
    /// The payload, or absent when the value is of another type. Lists and texts share their block with this
    /// value.
    template <Payload T>
    std::optional<T> get() const {
        if (!holds<T>()) return std::nullopt;
        return unchecked<T>();
    }
    /// The payload; a value of another type stops the program.
    template <Payload T>
    T as() const {
        if (!holds<T>()) stopOnWrongType(PayloadType<T>::value);
        return unchecked<T>();
    }
    /// The payload of a value that is known to be of this type.
    template <Payload T>
    T unchecked() const {
        if constexpr (isInline(PayloadType<T>::value)) {
            T payload;
            std::memcpy(&payload, bytes, sizeof payload);
            return payload;
        } else {
            return T(storage());
        }
    }
    /// Replaces the payload of an inline type by another of the same type.
    template <Payload T>
    requires(PayloadType<T>::value < ValueType::String) void replace(T payload) noexcept {
        std::memcpy(bytes, &payload, sizeof payload);
    }
    /// The same by the payload of another value, of the same scalar type.
    void replaceScalar(const Value& other) noexcept { copyScalar(other); }
    /// The elements of a list or sequence (samples) or the bytes of a text, valid as long as this value is
    /// unchanged; empty when the value is of another type.
    template <class Item>
    std::span<const Item> items() const {
        return holdsItems<Item>() ? itemsUnchecked<Item>() : std::span<const Item>();
    }

    /// How many elements, samples or bytes a list, sequence or text has; 0 for the other types.
    std::size_t elementCount() const { return isInline(tag) ? 0 : storage().count; }
    /// The same with the bytes of the texts, or the samples of the sequences, that are elements of a list.
    std::size_t contentCount() const;

    /// True when both are of the same type and equal: exact equality of numbers (so NaN differs from itself),
    /// of bytes and of elements.
    friend bool operator==(const Value& a, const Value& b);

private:
    static constexpr bool isInline(ValueType type) { return type < ValueType::String; }

    template <class Item>
    bool holdsItems() const {
        if constexpr (std::is_same_v<Item, Sample>) {
            return tag == ValueType::Sequence || tag == ValueType::SampleArray;
        } else if constexpr (std::is_same_v<Item, char>) {
            return tag == ValueType::String;
        } else {
            return tag == PayloadType<List<Item>>::value;
        }
    }
    template <class Item>
    std::span<const Item> itemsUnchecked() const {
        return {static_cast<const Item*>(storage().block.get()), storage().count};
    }

    const ListStorage& storage() const { return *std::launder(reinterpret_cast<const ListStorage*>(bytes)); }
    ListStorage& storage() { return *std::launder(reinterpret_cast<ListStorage*>(bytes)); }

    static constexpr bool isScalar(ValueType type) { return type <= ValueType::Boolean; }
    // By one comparison; an integer and a boolean go the longer way, which is right for all.
    static constexpr bool areScalars(ValueType a, ValueType b) {
        return (static_cast<unsigned>(a) | static_cast<unsigned>(b)) <=
               static_cast<unsigned>(ValueType::Boolean);
    }
    // Only what a scalar fills: reading more than was just written would wait for the write.
    void copyScalar(const Value& other) noexcept { std::memcpy(bytes, other.bytes, sizeof(double)); }
    void copyOther(const Value& other) noexcept;
    void moveOther(Value& other) noexcept;
    Value& assign(const Value& other) noexcept;
    Value& assign(Value&& other) noexcept;
    void dropShared() noexcept;
    [[noreturn]] void stopOnWrongType(ValueType wanted) const;

    alignas(8) unsigned char bytes[32] = {};
    ValueType tag;
};

/// The text of any value as an application shows it, distinct from a slot's
/// stringValue(). A Float is its shortest exact decimal ("2.0"), a text stands without quotes, a vector is
/// "(x:1.0,y:2.0,z:3.0)", a sequence "[(t: 0.0, f: 1.0)]", a list of sample records "[(t:0.0,f:1.0)]", a list
/// of floats "[1.0,2.0]", any other list "[a, b]" with texts in double quotes.
std::string getValueString(const Value& value);

/// "[1.0,2.5,-3.0]", without spaces; "[]" for an empty list.
std::string description(const List<double>& list);
/// Deletes spaces and square brackets, splits at commas and reads every piece as a double; absent when one
/// fails. A text with nothing left is the empty list.
std::optional<List<double>> doublesFromText(std::string_view text);

}  // namespace KelvaneSDK
