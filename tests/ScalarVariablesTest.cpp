#include "KelvaneSDK/ScalarVariables.h"

#include <gtest/gtest.h>

#include <cmath>

#include "support/Slots.h"
#include "support/Stops.h"

namespace KelvaneSDK::testing_support {

using Class = ValueClass;

// What each type can do, by first letters: add, subtract, multiply, divide, scale (c), isEqual, the four orderings (l),
// negate and sum (t).
constexpr std::pair<std::string_view, std::string_view> operations[]{
    {"Float", "asmdcelllln"},   {"Integer", "asmdcelllln"},       {"Vector", "asmdcen"},   {"Boolean", "en"},
    {"Orientation", "asmdcen"}, {"Sequence", "asmdcen"},          {"String", "aellll"},    {"Float array", "asmdcent"},
    {"Integer array", "ct"},    {"Boolean array", "en"},          {"String array", "aet"}, {"Vector array", "asmdcent"},
    {"Sequence array", ""},     {"Orientation array", "asmdcent"}};

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

TEST(ValueClass, EveryTypeHasItsDefaultCompanionAndOperations) {
    const auto adopted = [](Class receiver, Class source) { return makeSlot(receiver)->adoptedType(*makeSlot(source)); };
    for (const auto& [name, letters] : operations) {
        SCOPED_TRACE(name);
        const auto own = concreteClassNamed(name).value();
        const auto empty = makeSlot(own), filled = makeSlot(own, true);
        EXPECT_FALSE(empty->hasValue());
        EXPECT_EQ(valueTypeName(filled->payload()->type()), name);
        if (own == Class::IntegerValue) filled->setValue(Value(1));  // it is divided by itself
        EXPECT_EQ(operationsOf(*filled->value()), letters);
        empty->label = "x";
        if (letters.find('e') != letters.npos) {
            EXPECT_STOP(filled->isEqual(*empty), "^input \"x\" holds no value where " + std::string(name) + " is needed$");
        }
        const auto element = adopted(Class::ValueVariable, own), list = adopted(Class::ArrayVariable, own);
        EXPECT_EQ(isArray(own) ? list : element, own);
        EXPECT_EQ(typeString(list), std::string(typeString(element)) + " array");
        for (const auto receiver : {Class::TimestampedVariable, Class::FloatValue}) EXPECT_EQ(adopted(receiver, own), own);
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
