#include "KelvaneSDK/ScalarVariables.h"

#include <gtest/gtest.h>

#include <cmath>

#include "support/Slots.h"
#include "support/Stops.h"

namespace KelvaneSDK::testing_support {

using Class = ValueClass;

// The operations by their first letters: add, subtract, multiply, divide, scale (c), isEqual, the four
// orderings (l), negate and sum (t).
struct ClassRow {
    std::string_view code, name, companion, defaultValue, operations;
};

// In the order of ValueClass.
constexpr ClassRow classes[]{
    {"*", "Generic value", "", "absent", ""},
    {"?", "Generic variable", "", "absent", ""},
    {"f", "Float", "Float array", "Float 0.0", "asmdcelllln"},
    {"i", "Integer", "Integer array", "Integer 0", "asmdcelllln"},
    {"v", "Vector", "Vector array", "Vector (x:0.0,y:0.0,z:0.0)", "asmdcen"},
    {"b", "Boolean", "Boolean array", "Boolean false", "en"},
    {"q", "Orientation", "Orientation array", "Orientation (x:0.0,y:0.0,z:0.0,w:1.0)", "asmdcen"},
    {"s", "Sequence", "Sequence array", "Sequence []", "asmdcen"},
    {"$", "String", "String array", "String ", "aellll"},
    {"[?]", "Array", "", "absent", ""},
    {"[f]", "Float array", "Float", "Float array []", "asmdcent"},
    {"[i]", "Integer array", "Integer", "Integer array []", "ct"},
    {"[b]", "Boolean array", "Boolean", "Boolean array []", "en"},
    {"[$]", "String array", "String", "String array []", "aet"},
    {"[v]", "Vector array", "Vector", "Vector array []", "asmdcent"},
    {"[q]", "Orientation array", "Orientation", "Orientation array []", "asmdcent"},
    {"[s]", "Sequence array", "Sequence", "Sequence array []", ""},
};

static std::string operationsOf(const Value& value) {
    constexpr std::pair<char, std::string_view> letters[]{
        {'a', "add"},      {'s', "subtract"},  {'m', "multiply"},         {'d', "divide"},          {'c', "scale"},  {'e', "isEqual"},
        {'l', "isLarger"}, {'l', "isSmaller"}, {'l', "isSmallerOrEqual"}, {'l', "isLargerOrEqual"}, {'n', "negate"}, {'t', "sum"}};
    std::string found;
    for (const auto& [letter, operation] : letters) {
        if (apply(operation, value, operation == "scale" ? Value(2.0) : value) != "absent") found += letter;
    }
    return found;
}

TEST(ValueClass, EveryClassHasItsNamesCompanionDefaultAndOperations) {
    const auto adopted = [](Class receiver, Class source) { return makeSlot(receiver)->adoptedType(*makeSlot(source)); };
    for (std::size_t i = 0; i < std::size(classes); ++i) {
        const auto& row = classes[i];
        SCOPED_TRACE(row.name);
        const auto own = static_cast<Class>(i);
        const auto slot = makeSlot(own), filled = makeSlot(own, true);
        EXPECT_EQ(slot->valueClass(), own);
        EXPECT_EQ(slot->typeCode(), row.code);
        EXPECT_EQ(slot->typeString(), row.name);
        EXPECT_EQ(describe(slot->value()), "absent");
        EXPECT_EQ(describe(filled->value()), row.defaultValue);
        if (own == Class::IntegerValue) filled->setValue(Value(1));  // it is divided by itself
        EXPECT_EQ(filled->hasValue() ? operationsOf(*filled->value()) : "", row.operations);
        const bool isConcrete = !row.companion.empty();
        EXPECT_EQ(filled->stringValue() == "<NO STRING CONVERSION>", !isConcrete || row.name == "Sequence array");
        EXPECT_EQ(concreteClassNamed(row.name), isConcrete ? std::optional(own) : std::nullopt);
        EXPECT_EQ(adopted(Class::TimestampedVariable, own), own);
        EXPECT_EQ(adopted(Class::FloatValue, own), own);
        EXPECT_FALSE(isArray(own) ? slot->arrayType() : slot->baseType());
        const auto companion = isArray(own) ? slot->baseType() : slot->arrayType();
        EXPECT_EQ(companion ? typeString(*companion) : "", row.companion);
        if (!isConcrete) continue;
        EXPECT_EQ(adopted(Class::ArrayVariable, own), isArray(own) ? own : companion);
        EXPECT_EQ(adopted(Class::ValueVariable, own), isArray(own) ? companion : own);
    }
    const std::string reason = "^a slot of type \"Array\" cannot adopt a type from one of type \"Generic v";
    EXPECT_STOP(adopted(Class::ArrayVariable, Class::ValueVariable), reason + "ariable\"$");
    EXPECT_STOP(adopted(Class::ArrayVariable, Class::TimestampedVariable), reason + "alue\"$");
}

TEST(ScalarVariables, Operate) {
    const Orientation i{1, 0, 0, 0}, q{1, 2, 3, 4};
    const double nan = std::nan("");
    expectOperations({
        {"isEqual", 0.0, -0.0, "true"},
        {"isLargerOrEqual", nan, nan, "false"},
        {"subtract", INT64_MIN + 5, 5, "Integer -9223372036854775808"},
        {"scale", 1, -0x1p63, "Integer -9223372036854775808"},
        {"isLarger", INT64_MAX, INT64_MAX - 1, "true"},
        {"isEqual", 9007199254740993, 9007199254740992, "false"},
        {"multiply", Vector{1, 2, 3}, Vector{4, 5, -6}, "Vector (x:4.0,y:10.0,z:-18.0)"},
        {"divide", Vector{1, 0, -3}, Vector{2, 0, 0}, "Vector (x:0.5,y:nan,z:-inf)"},
        {"add", q, Orientation{1, 1, 1, 1}, "Orientation (x:2.0,y:3.0,z:4.0,w:5.0)"},
        {"multiply", q, Orientation{5, 6, 7, 8}, "Orientation (x:24.0,y:48.0,z:48.0,w:-6.0)"},
        {"divide", i, Orientation{0, 2, 0, 0}, "Orientation (x:0.0,y:0.0,z:-0.5,w:0.0)"},
        {"isEqual", "caf\u00e9", "cafe\u0301", "true"},
        {"isLarger", "e\u0301", "z", "true"},  // these three: in one order even for bytes that are no text
        {"isLarger", "z", "f\xff", "true"},
        {"isLarger", "e\u0301", "f\xff", "true"},
        {"isSmaller", "\uffee", "\U0001f600", "true"},  // by scalar values, not by UTF-16 units
        {"stringValue", 1234567.0, 0.0, "1.23457e+06"},
        {"stringValue", Vector{1, -2.5, 1e-5}, 0.0, "(1.0, -2.5, 1e-05)"},
        {"stringValue", Orientation{}, 0.0, "(0.0, 0.0, 0.0, 1.0)"},
    });
}

TEST(ScalarVariablesDeathTest, MisuseAndIntegerOverflowStop) {
    expectStops({
        {"add", INT64_MAX, 1, "an integer addition overflows 64 bits"},
        {"subtract", INT64_MIN, 1, "an integer subtraction overflows 64 bits"},
        {"multiply", INT64_MAX, 2, "an integer multiplication overflows 64 bits"},
        {"divide", 1, 0, "an integer division is by zero or overflows 64 bits"},
        {"divide", INT64_MIN, -1, "an integer division is by zero or overflows 64 bits"},
        {"negate", INT64_MIN, 0.0, "an integer negation overflows 64 bits"},
        {"scale", INT64_MAX, 2.0, "an integer scaling overflows 64 bits"},
        {"scale", 1, 0x1p63, "the scale factor 9.223372036854776e\\+18 is no 64-bit integer"},
        {"add", 1.0, 1, "a slot holds a value of type Integer where Float is needed"},
    });
    for (std::size_t i = 0; i < std::size(classes); ++i) {
        const auto empty = makeSlot(static_cast<Class>(i)), filled = makeSlot(static_cast<Class>(i), true);
        empty->label = "x";
        if (classes[i].operations.find('e') == std::string_view::npos) continue;
        EXPECT_STOP(filled->isEqual(*empty), "^input \"x\" holds no value where " + std::string(classes[i].name) + " is needed$");
    }
}

TEST(ScalarVariables, ReadText) {
    expectParses({
        {9.0, " ( 2.5 , 7 ) ", "Float 2.5"},
        {9.0, "", "Float 9.0", true},
        {9, "(-42)", "Integer -42"},
        {9, "1.0", "Integer 9", true},
        {false, " true", "Boolean true"},
        {Vector{}, "1,2,3,", "Vector (x:0.0,y:0.0,z:0.0)", true},
        {Orientation{}, "(1, 2, 3, 4)", "Orientation (x:1.0,y:2.0,z:3.0,w:4.0)"},
        {"old", "( {", "String ( {"},
    });
}

}  // namespace KelvaneSDK::testing_support
