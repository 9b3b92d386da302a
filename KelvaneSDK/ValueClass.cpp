#include "KelvaneSDK/ValueClass.h"

#include <array>

#include "KelvaneSDK/ArrayVariables.h"
#include "KelvaneSDK/ScalarVariables.h"
#include "KelvaneSDK/SequenceValue.h"

namespace KelvaneSDK {

namespace {

struct Row {
    std::string_view code;
    std::string_view name;
    std::optional<ValueType> payload;
    std::optional<ValueClass> companion;
};

using Class = ValueClass;

// In the order of ValueClass.
constexpr std::array<Row, 17> rows{{
    {"*", "Generic value", std::nullopt, std::nullopt},
    {"?", "Generic variable", std::nullopt, std::nullopt},
    {"f", "Float", ValueType::Float, Class::FloatArrayVariable},
    {"i", "Integer", ValueType::Integer, Class::IntegerArrayVariable},
    {"v", "Vector", ValueType::Vector, Class::VectorArrayVariable},
    {"b", "Boolean", ValueType::Boolean, Class::BooleanArrayVariable},
    {"q", "Orientation", ValueType::Orientation, Class::OrientationArrayVariable},
    {"s", "Sequence", ValueType::Sequence, Class::SequenceArrayVariable},
    {"$", "String", ValueType::String, Class::StringArrayVariable},
    {"[?]", "Array", std::nullopt, std::nullopt},
    {"[f]", "Float array", ValueType::FloatArray, Class::FloatValue},
    {"[i]", "Integer array", ValueType::IntegerArray, Class::IntegerValue},
    {"[b]", "Boolean array", ValueType::BooleanArray, Class::BooleanValue},
    {"[$]", "String array", ValueType::StringArray, Class::StringValue},
    {"[v]", "Vector array", ValueType::VectorArray, Class::VectorValue},
    {"[q]", "Orientation array", ValueType::OrientationArray, Class::OrientationValue},
    {"[s]", "Sequence array", ValueType::SequenceArray, Class::SequenceValue},
}};

const Row& row(ValueClass valueClass) { return rows[static_cast<std::size_t>(valueClass)]; }

template <class Slot>
std::unique_ptr<TimestampedVariable> make(bool withDefault) {
    return std::make_unique<Slot>(withDefault);
}

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

std::unique_ptr<TimestampedVariable> makeSlot(ValueClass valueClass, bool withDefault) {
    switch (valueClass) {
        case Class::TimestampedVariable:
            return std::make_unique<TimestampedVariable>();
        case Class::ValueVariable:
            return std::make_unique<ValueVariable>();
        case Class::FloatValue:
            return make<FloatValue>(withDefault);
        case Class::IntegerValue:
            return make<IntegerValue>(withDefault);
        case Class::VectorValue:
            return make<VectorValue>(withDefault);
        case Class::BooleanValue:
            return make<BooleanValue>(withDefault);
        case Class::OrientationValue:
            return make<OrientationValue>(withDefault);
        case Class::SequenceValue:
            return make<SequenceValue>(withDefault);
        case Class::StringValue:
            return make<StringValue>(withDefault);
        case Class::ArrayVariable:
            return std::make_unique<ArrayVariable>();
        case Class::FloatArrayVariable:
            return make<FloatArrayVariable>(withDefault);
        case Class::IntegerArrayVariable:
            return make<IntegerArrayVariable>(withDefault);
        case Class::BooleanArrayVariable:
            return make<BooleanArrayVariable>(withDefault);
        case Class::StringArrayVariable:
            return make<StringArrayVariable>(withDefault);
        case Class::VectorArrayVariable:
            return make<VectorArrayVariable>(withDefault);
        case Class::OrientationArrayVariable:
            return make<OrientationArrayVariable>(withDefault);
        case Class::SequenceArrayVariable:
            return make<SequenceArrayVariable>(withDefault);
    }
    return nullptr;
}

}  // namespace KelvaneSDK
