#include "KelvaneSDK/Values/SlotClasses.h"

#include <array>

#include "KelvaneSDK/Values/ArrayVariables.h"
#include "KelvaneSDK/Values/ScalarVariables.h"
#include "KelvaneSDK/Values/SequenceValue.h"

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
    std::unique_ptr<TimestampedVariable> (*make)(bool withDefault);
    TimestampedVariable& (*remake)(TimestampedVariable& slot);
};
template <class Slot>
constexpr Row rowOf(std::string_view code, std::string_view name, std::optional<ValueType> payload = {}) {
    return {code, name, payload, make<Slot>, remake<Slot>};
}

// In the order of ValueClass.
constexpr std::array<Row, 17> rows{{
    rowOf<TimestampedVariable>("*", "Generic value"),
    rowOf<ValueVariable>("?", "Generic variable"),
    rowOf<FloatValue>("f", "Float", ValueType::Float),
    rowOf<IntegerValue>("i", "Integer", ValueType::Integer),
    rowOf<VectorValue>("v", "Vector", ValueType::Vector),
    rowOf<BooleanValue>("b", "Boolean", ValueType::Boolean),
    rowOf<OrientationValue>("q", "Orientation", ValueType::Orientation),
    rowOf<SequenceValue>("s", "Sequence", ValueType::Sequence),
    rowOf<StringValue>("$", "String", ValueType::String),
    rowOf<ArrayVariable>("[?]", "Array"),
    rowOf<FloatArrayVariable>("[f]", "Float array", ValueType::FloatArray),
    rowOf<IntegerArrayVariable>("[i]", "Integer array", ValueType::IntegerArray),
    rowOf<BooleanArrayVariable>("[b]", "Boolean array", ValueType::BooleanArray),
    rowOf<StringArrayVariable>("[$]", "String array", ValueType::StringArray),
    rowOf<VectorArrayVariable>("[v]", "Vector array", ValueType::VectorArray),
    rowOf<OrientationArrayVariable>("[q]", "Orientation array", ValueType::OrientationArray),
    rowOf<SequenceArrayVariable>("[s]", "Sequence array", ValueType::SequenceArray),
}};

const Row& row(ValueClass valueClass) { return rows[static_cast<std::size_t>(valueClass)]; }

// The concrete class whose row is as wanted.
template <class Wanted>
std::optional<ValueClass> concreteClassWhere(Wanted wanted) {
    for (std::size_t i = 0; i < rows.size(); ++i) {
        if (rows[i].payload && wanted(rows[i])) return static_cast<ValueClass>(i);
    }
    return std::nullopt;
}

std::string_view withinBrackets(std::string_view code) { return code.substr(1, 1); }

}  // namespace

std::string_view typeCode(ValueClass valueClass) { return row(valueClass).code; }
std::string_view typeString(ValueClass valueClass) { return row(valueClass).name; }
std::optional<ValueType> payloadType(ValueClass valueClass) { return row(valueClass).payload; }
bool isGeneric(ValueClass valueClass) { return !row(valueClass).payload; }
bool isArray(ValueClass valueClass) { return valueClass >= ValueClass::ArrayVariable; }

std::optional<ValueClass> arrayClass(ValueClass valueClass) {
    if (isGeneric(valueClass) || isArray(valueClass)) return std::nullopt;
    const auto code = typeCode(valueClass);
    return concreteClassWhere([&](const Row& list) { return withinBrackets(list.code) == code; });
}

std::optional<ValueClass> elementClass(ValueClass valueClass) {
    if (isGeneric(valueClass) || !isArray(valueClass)) return std::nullopt;
    const auto code = withinBrackets(typeCode(valueClass));
    return concreteClassWhere([&](const Row& element) { return element.code == code; });
}

std::optional<ValueClass> concreteClassNamed(std::string_view typeString) {
    return concreteClassWhere([&](const Row& each) { return each.name == typeString; });
}

std::string_view valueTypeName(ValueType type) {
    const auto holder = concreteClassWhere([&](const Row& each) { return each.payload == type; });
    return holder ? typeString(*holder) : "Sample array";
}

std::optional<ValueClass> adoptedClass(ValueClass generic, ValueClass from) {
    if (generic == ValueClass::ArrayVariable && !isArray(from)) return arrayClass(from);
    if (generic == ValueClass::ValueVariable && isArray(from)) return elementClass(from);
    return from;
}

ValueClass classHolding(ValueType type) {
    return *concreteClassWhere([&](const Row& each) { return each.payload == type; });
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
