#include "KelvaneSDK/FileProcessing/ValueText.h"

#include <gtest/gtest.h>

#include "support/DiagramDocument.h"
#include "support/Slots.h"

namespace KelvaneSDK::testing_support {

TEST(GetValueString, HasAFormForEveryType) {
    const std::pair<Value, std::string_view> rows[]{
        {3, "3"},
        {2.0, "2.0"},
        {true, "true"},
        {"a \"b\"", "a \"b\""},
        {Vector{1, -2.5, 0}, "(x:1.0,y:-2.5,z:0.0)"},
        {Orientation{}, "(x:0.0,y:0.0,z:0.0,w:1.0)"},
        {Sequence{{0, 1}, {0.5, 2}}, "[(t: 0.0, f: 1.0), (t: 0.5, f: 2.0)]"},
        {List<Sample>{{0, 1}, {0.5, 2}}, "[(t:0.0,f:1.0),(t:0.5,f:2.0)]"},
        {List<double>{1, 2.5, -3}, "[1.0,2.5,-3.0]"},
        {List<std::int64_t>{1, 2, 3}, "[1, 2, 3]"},
        {List<bool>{true, false}, "[true, false]"},
        {List<String>{"a", "b, c", "d\"\\\n"}, R"(["a", "b, c", "d\"\\\n"])"},
        {List<Vector>{{1, 2, 3}, {}}, "[(x:1.0,y:2.0,z:3.0), (x:0.0,y:0.0,z:0.0)]"},
        {List<Orientation>{{}}, "[(x:0.0,y:0.0,z:0.0,w:1.0)]"},
        {List<Sequence>{Sequence{{0, 1}}, Sequence()}, "[[(t: 0.0, f: 1.0)], []]"},
    };
    for (const auto& [value, text] : rows) EXPECT_EQ(getValueString(value), text);
}

template <class T>
static std::string described(const std::optional<T>& value) {
    return value ? getValueString(Value(*value)) : "absent";
}

TEST(FromText, ReadsNumbersBetweenCommasAndNothingElse) {
    for (const auto text : {"(x:1,y:2,z:3)", "1,2,3", "[1, 2, 3]", "(z:1,y:2,x:3)", " ( 1 , 2e0 , 3 ) "}) {
        EXPECT_EQ(described(Vector::fromText(text)), "(x:1.0,y:2.0,z:3.0)") << text;
    }
    for (const auto text : {"1,2", "1,2,3,4", "{1,2,3}", "1,\t2,3", "1,,3", "", "w:1,2,3", "X:1,2,3"}) {
        EXPECT_EQ(Vector::fromText(text), std::nullopt) << text;
    }
    EXPECT_EQ(described(Orientation::fromText("w:2,4,6,8")), "(x:2.0,y:4.0,z:6.0,w:8.0)");
    EXPECT_EQ(Orientation::fromText("1,2,3"), std::nullopt);
    EXPECT_EQ(described(doublesFromText("[ 1 , 2.5 ]")), "[1.0,2.5]");
    for (const auto text : {"[1,,2]", "[1,]", "(1)", "1;2"}) EXPECT_EQ(doublesFromText(text), std::nullopt) << text;
}

}  // namespace KelvaneSDK::testing_support
