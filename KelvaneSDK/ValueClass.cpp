#include "KelvaneSDK/ValueClass.h"

#include <array>

#include "KelvaneSDK/ArrayVariables.h"
#include "KelvaneSDK/ScalarVariables.h"
#include "KelvaneSDK/SequenceValue.h"

namespace KelvaneSDK {

namespace {

template <class Slot>
std::unique_ptr<TimestampedVariable> make(bool withDefault) {
    if constexpr (std::is_constructible_v<Slot, bool>) {
        return std::make_unique<Slot>(withDefault);
    } else {
        return std::make_unique<Slot>();
    }
}

template <class Slot>
TimestampedVariable& remake(TimestampedVariable& slot) {
    static_assert(sizeof(Slot) == sizeof(TimestampedVariable) &&
                  std::is_nothrow_default_constructible_v<Slot>);
    void* const place = &slot;
    slot.~TimestampedVariable();
    return *new (place) Slot();
}

struct Row {
    std::string_view code;
    std::string_view name;
    std::optional<ValueType> payload;
    std::optional<ValueClass> companion;
    std::unique_ptr<TimestampedVariable> (*make)(bool withDefault);
    TimestampedVariable& (*remake)(TimestampedVariable& slot);
};
template <class Slot>
constexpr Row rowOf(std::string_view code, std::string_view name, std::optional<ValueType> payload = {},
                    std::optional<ValueClass> companion = {}) {
    return {code, name, payload, companion, make<Slot>, remake<Slot>};
}

using Class = ValueClass;

// In the order of ValueClass.
constexpr std::array<Row, 17> rows{{
    rowOf<TimestampedVariable>("*", "Generic value"),
    rowOf<ValueVariable>("?", "Generic variable"),
    rowOf<FloatValue>("f", "Float", ValueType::Float, Class::FloatArrayVariable),
    rowOf<IntegerValue>("i", "Integer", ValueType::Integer, Class::IntegerArrayVariable),
    rowOf<VectorValue>("v", "Vector", ValueType::Vector, Class::VectorArrayVariable),
    rowOf<BooleanValue>("b", "Boolean", ValueType::Boolean, Class::BooleanArrayVariable),
    rowOf<OrientationValue>("q", "Orientation", ValueType::Orientation, Class::OrientationArrayVariable),
    rowOf<SequenceValue>("s", "Sequence", ValueType::Sequence, Class::SequenceArrayVariable),
    rowOf<StringValue>("$", "String", ValueType::String, Class::StringArrayVariable),
    rowOf<ArrayVariable>("[?]", "Array"),
    rowOf<FloatArrayVariable>("[f]", "Float array", ValueType::FloatArray, Class::FloatValue),
    rowOf<IntegerArrayVariable>("[i]", "Integer array", ValueType::IntegerArray, Class::IntegerValue),
    rowOf<BooleanArrayVariable>("[b]", "Boolean array", ValueType::BooleanArray, Class::BooleanValue),
    rowOf<StringArrayVariable>("[$]", "String array", ValueType::StringArray, Class::StringValue),
    rowOf<VectorArrayVariable>("[v]", "Vector array", ValueType::VectorArray, Class::VectorValue),
    rowOf<OrientationArrayVariable>("[q]", "Orientation array", ValueType::OrientationArray,
                                    Class::OrientationValue),
    rowOf<SequenceArrayVariable>("[s]", "Sequence array", ValueType::SequenceArray, Class::SequenceValue),
}};

const Row& row(ValueClass valueClass) { return rows[static_cast<std::size_t>(valueClass)]; }

}  // namespace

std::string_view typeCode(ValueClass valueClass) { return row(valueClass).code; }
std::string_view typeString(ValueClass valueClass) { return row(valueClass).name; }
std::optional<ValueType> payloadType(ValueClass valueClass) { return row(valueClass).payload; }
bool isGeneric(ValueClass valueClass) { return !row(valueClass).payload; }
bool isArray(ValueClass valueClass) { return valueClass >= Class::ArrayVariable; }

std::optional<ValueClass> arrayClass(ValueClass valueClass) {
    return isArray(valueClass) ? std::nullopt : row(valueClass).companion;
}

std::optional<ValueClass> elementClass(ValueClass valueClass) {
    return isArray(valueClass) ? row(valueClass).companion : std::nullopt;
}

std::optional<ValueClass> concreteClassNamed(std::string_view typeString) {
    for (std::size_t i = 0; i < rows.size(); ++i) {
        if (rows[i].payload && rows[i].name == typeString) return static_cast<ValueClass>(i);
    }
    return std::nullopt;
}

std::optional<ValueClass> adoptedClass(ValueClass generic, ValueClass from) {
    if (generic == Class::ArrayVariable && !isArray(from)) return arrayClass(from);
    if (generic == Class::ValueVariable && isArray(from)) return elementClass(from);
    return from;
}

Value defaultValue(ValueType type) {
    switch (type) {
        case ValueType::Float:
            return 0.0;
        case ValueType::Integer:
            return 0;
        case ValueType::Boolean:
            return false;
        case ValueType::Vector:
            return Vector{};
        case ValueType::Orientation:
            return Orientation{};
        case ValueType::String:
            return String{};
        case ValueType::Sequence:
            return Sequence{};
        case ValueType::FloatArray:
            return List<double>{};
        case ValueType::IntegerArray:
            return List<std::int64_t>{};
        case ValueType::BooleanArray:
            return List<bool>{};
        case ValueType::StringArray:
            return List<String>{};
        case ValueType::VectorArray:
            return List<Vector>{};
        case ValueType::OrientationArray:
            return List<Orientation>{};
        case ValueType::SequenceArray:
            return List<Sequence>{};
        case ValueType::SampleArray:
            break;
    }
    return List<Sample>{};
}

TimestampedVariable& remakeSlot(TimestampedVariable& slot, ValueClass valueClass) {
    return row(valueClass).remake(slot);
}

std::unique_ptr<TimestampedVariable> makeSlot(ValueClass valueClass, bool withDefault) {
    return row(valueClass).make(withDefault);
}

}  // namespace KelvaneSDK
