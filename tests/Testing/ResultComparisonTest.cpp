#include "KelvaneSDK/Testing/ResultComparison.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>

namespace KelvaneSDK {

namespace {

std::string line(const std::string& value, double timestamp = 1) {
    return "{\"timestamp\":" + std::to_string(timestamp) + ",\"name\":\"x\"" + (value.empty() ? "" : ",\"") + value + "}\n";
}

/// The differences, from pieces of one byte.
std::string differences(const std::string& expected, const std::string& found, const std::optional<Tolerance>& tolerance = {}) {
    std::string lines;
    std::size_t read = 0;
    ResultComparison comparison([&] { return std::string_view(expected).substr(std::min(read++, expected.size()), 1); }, tolerance,
                                [&](const ResultDifference& difference) { lines += difference.text("A", "B") + "|"; });
    for (const char byte : found) comparison.take(std::string_view(&byte, 1));
    comparison.finish();
    if (const auto& invalid = comparison.invalidLine())
        lines += (invalid->isExpected ? "A:" : "B:") + std::to_string(invalid->number) + ": " + invalid->reason;
    return lines;
}

struct Case {
    const char *expected, *found;
    std::optional<Tolerance> tolerance;
    std::string difference;  // behind the time and label; empty: they are equal
};

}  // namespace

TEST(ResultComparisonTest, ComparesValuesNotTheirSpelling) {
    const Case cases[]{
        {R"(floatValue":1)", R"(floatValue": 1.0e0)", {}, ""},
        {R"(floatValue":0.1)", R"(floatValue":0.10000000000000002)", {}, ": 0.1 in A, 0.10000000000000002 in B"},
        {R"(floatValue":0.0)", R"(floatValue":-0)", {}, ": 0 in A, -0.0 in B"},
        {R"(floatValue":0.0)", R"(floatValue":-0)", Tolerance{}, ""},
        {R"(floatValue":null)", R"(floatValue":null)", {}, ""},
        {R"(floatValue":null)", R"(floatValue":1)", Tolerance{9, 9}, ": null in A, 1 in B"},
        {R"(floatValue":9007199254740993)", R"(floatValue":9007199254740992)", {}, ""},
        {R"(integerValue":9007199254740993)", R"(integerValue":9007199254740992)", {}, ": 9007199254740993 in A, 9007199254740992 in B"},
        {R"(integerValue":-9223372036854775808)", R"(integerValue":9223372036854775807)", Tolerance{1e19, 0},
         ": -9223372036854775808 in A, 9223372036854775807 in B"},
        {R"(integerValue":1)", R"(floatValue":1)", Tolerance{}, ": 1 (integerValue) in A, 1 (floatValue) in B"},
        {R"(vectorValue":{"x":1,"y":2,"z":3})", R"(vectorValue":{"z":3.5,"y":2.25,"x":1})", Tolerance{0.25, 0}, ".z: 3 in A, 3.5 in B"},
        {R"(floatArrayValue":[1,null,100])", R"(floatArrayValue":[1,null,101])", Tolerance{0, 0.01}, ""},
        {R"(floatArrayValue":[1])", R"(floatArrayValue":[1,2])", {}, ": 1 element in A, 2 elements in B"},
        {R"(sequenceArrayValue":[[],[{"t":1,"f":2}]])", R"(sequenceArrayValue":[[],[{"t":1,"f":3}]])", {}, "[1][0].f: 2 in A, 3 in B"},
        {R"(stringValue":"\u00e9")", R"(stringValue":"é")", {}, ""},
        {R"(stringValue":"a")", R"(stringValue":"b")", {}, R"(: "a" in A, "b" in B)"},
        {"", "", {}, ""},
        {"", R"(booleanValue":true)", {}, ": no value in A, true (booleanValue) in B"},
    };
    for (const auto& [expected, found, tolerance, difference] : cases) {
        const auto text = difference.empty() ? "" : "at 1.0, \"x\"" + difference + "|";
        EXPECT_EQ(differences(line(expected), line(found), tolerance), text);
    }
}

TEST(ResultComparisonTest, GoesOnBehindWhatOneResultLacks) {
    const auto at = [](double timestamp) { return line("floatValue\":1", timestamp); };
    const auto only = [](const char* time, bool inFirst) {
        return std::string("at ") + time + ", \"x\": " + (inFirst ? "1 in A, nothing in B|" : "nothing in A, 1 in B|");
    };
    EXPECT_EQ(differences(at(1) + at(2) + at(4), at(1) + at(3) + at(4) + at(5)), only("2.0", true) + only("3.0", false) + only("5.0", false));
    // Two recordings, one after the other.
    const auto two = at(1) + at(2) + at(3) + at(1) + at(3);
    EXPECT_EQ(differences(two, two), "");
    EXPECT_EQ(differences(two, at(1) + at(2) + at(1) + at(3)), only("3.0", true));
    EXPECT_EQ(differences(at(1), at(1) + "{}"), "B:2: \"timestamp\" is missing; a number was expected");
    EXPECT_EQ(differences("[]\n", at(1)), "A:1: the line is an array; an object was expected");
}

TEST(ResultComparisonTest, AnEngineIsComparedInOneCall) {
    Kelvane engine;
    ASSERT_TRUE(engine.read("x: Float [not forwarded]\ny: Float = Divide(1, x)", true));
    const auto recording = line("floatValue\":4") + line("floatValue\":1e1", 2);
    EXPECT_EQ(differencesFromExpected(engine, recording + "{", R"({"timestamp":1,"name":"y","floatValue":0.25})"),
              "at 2.0, \"y\": nothing in the expected results, 0.1 in those found\n"
              "line 3 of the recording: not JSON: the text ends too early: the name of a member was expected\n");
}

}  // namespace KelvaneSDK
