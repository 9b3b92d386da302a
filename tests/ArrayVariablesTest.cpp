#include "KelvaneSDK/ArrayVariables.h"

#include <gtest/gtest.h>

#include <cmath>

#include "support/DiagramDocument.h"
#include "support/Slots.h"
#include "support/Stops.h"

namespace KelvaneSDK::testing_support {

using Floats = List<double>;
using Integers = List<std::int64_t>;
using Booleans = List<bool>;
using Strings = List<String>;
using Vectors = List<Vector>;
using Orientations = List<Orientation>;

TEST(ArrayVariables, Operate) {
    const Orientation i{1, 0, 0, 0}, j{0, 1, 0, 0};
    const double nan = std::nan("");
    expectOperations({
        {"add", Floats{1, 2, 3}, Floats{10, 20}, "Float array [11.0,22.0]"},
        {"isEqual", Floats{1, nan}, Floats{1, nan}, "false"},
        {"isEqual", Floats{}, Booleans{}, "absent"},
        {"scale", Integers{1, 2}, -2.5, "Integer array [-2, -4]"},
        {"sum", Integers{INT64_MAX, -1, 1}, 0.0, "Integer 9223372036854775807"},
        {"negate", Booleans{true, false}, 0.0, "Boolean array [false, true]"},
        {"add", Strings{"a", "b"}, Strings{"c", "d", "e"}, R"(String array ["ac", "bd"])"},
        {"isEqual", Strings{"caf\u00e9"}, Strings{"cafe\u0301"}, "true"},
        {"multiply", Orientations{i, i}, Orientations{j}, "Orientation array [(x:0.0,y:0.0,z:1.0,w:0.0)]"},
        {"sum", Orientations{}, 0.0, "Orientation (x:0.0,y:0.0,z:0.0,w:0.0)"},
        {"sorted", Floats{nan, 3, 1, nan, 2}, "ascending", "Float array [1.0,2.0,3.0,nan,nan]"},
        {"sorted", Integers{INT64_MIN, 5}, "descending", "Integer array [5, -9223372036854775808]"},
        {"sorted", Booleans{true, false, true}, "ascending", "Boolean array [false, true, true]"},
        {"sorted", Strings{"b", "\u00e9", "Z"}, "descending", "String array [\"\u00e9\", \"b\", \"Z\"]"},
        {"stringValue", Integers{}, 0.0, ""},
        {"stringValue", Vectors{{1, 0, 0}, {}}, 0.0, "(x:1.0,y:0.0,z:0.0),(x:0.0,y:0.0,z:0.0)"},
    });
}

TEST(ArrayVariables, ListsOfOtherElementsAreNotSorted) {
    for (const Value& list : {Value(Vectors{{}}), Value(Orientations{{}}), Value(List<Sequence>{Sequence()})}) {
        const CapturedDiagnostics diagnostics;
        EXPECT_EQ(apply("sorted", list), "absent");
        EXPECT_EQ(diagnostics.lines, std::vector<std::string>{"ERROR: sorting unsupported type"});
    }
}

TEST(ArrayVariablesDeathTest, Stops) {
    expectStops({
        {"sum", Integers{INT64_MAX, 1}, 0.0, "an integer sum overflows 64 bits"},
        {"scale", Integers{1}, 1e19, "the scale factor 1e\\+19 is no 64-bit integer"},
        {"stringValue", Integers{1}, 0.0, "an integer array has no text form unless it is empty .*"},
        {"add", Floats{1}, Vectors{}, "a slot holds a value of type Vector array where Float array is needed"},
    });
    EXPECT_STOP(ArrayVariable().sorted(false), "^an array without a value was to be sorted$");
}

TEST(ArrayVariables, ReadText) {
    expectParses({
        {Floats{9}, "[1, 2.5]", "Float array [1.0,2.5]"},
        {Floats{9}, "1,,2", "Float array [9.0]", true},
        {Integers{9}, "(1, -2)", "Integer array [1, -2]"},
        {Booleans{true}, "0", "Boolean array [true]", true},
        {Strings{"x"}, "[a, b]", R"(String array ["[a", " b]"])"},
        {Strings{"x"}, "", "String array []"},
        {Vectors{{}}, "1,2,3,4,5,6", "Vector array [(x:1.0,y:2.0,z:3.0), (x:4.0,y:5.0,z:6.0)]"},
        {Vectors{}, "1,2", "Vector array []", true},
        {List<Sequence>{Sequence()}, "1,2", "Sequence array [[]]"},
    });
}

}  // namespace KelvaneSDK::testing_support
