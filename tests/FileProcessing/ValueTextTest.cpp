#include "KelvaneSDK/FileProcessing/ValueText.h"

#include <gtest/gtest.h>

#include "support/DiagramDocument.h"
#include "support/Stops.h"

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

TEST(ConstantText, IsReadFromTheDocumentAndWrittenBack) {
    const struct {
        std::string_view type, text, expected;
        // Absent: the text is refused, and the constant keeps its default.
        std::optional<std::string> written;
    } rows[]{
        {"Float", " ( 2.5 , 7 ) ", "2.5", "2.5"},
        {"Float", "1234567", "1234567.0", "1.23457e+06"},
        {"Float", "", "0.0", std::nullopt},
        {"Integer", "(-42)", "-42", "-42"},
        {"Integer", "1.0", "0", std::nullopt},
        {"Boolean", " true", "true", "true"},
        {"String", "( {", "( {", "( {"},
        {"Vector", "1,-2.5,1e-5", "(x:1.0,y:-2.5,z:1e-05)", "(1.0, -2.5, 1e-05)"},
        {"Vector", "1,2,3,", "(x:0.0,y:0.0,z:0.0)", std::nullopt},
        {"Orientation", "(1, 2, 3, 4)", "(x:1.0,y:2.0,z:3.0,w:4.0)", "(1.0, 2.0, 3.0, 4.0)"},
        {"Orientation", "1,2,3", "(x:0.0,y:0.0,z:0.0,w:1.0)", std::nullopt},
        {"Sequence", "(0.0, 1.0),(0.5, 2.0)", "[(t: 0.0, f: 1.0), (t: 0.5, f: 2.0)]", "(0.0, 1.0),(0.5, 2.0)"},
        {"Sequence", "1,2,3", "[]", std::nullopt},
        {"Float array", "[1, 2.5]", "[1.0,2.5]", "1.0,2.5"},
        {"Float array", "1,,2", "[]", std::nullopt},
        {"Integer array", "", "[]", ""},
        {"Boolean array", "true,false", "[true, false]", "true,false"},
        {"Boolean array", "0", "[]", std::nullopt},
        {"String array", "[a, b]", R"(["[a", " b]"])", "[a, b]"},
        {"String array", "", "[]", ""},
        {"Vector array", "1,2,3,4,5,6", "[(x:1.0,y:2.0,z:3.0), (x:4.0,y:5.0,z:6.0)]", "(x:1.0,y:2.0,z:3.0),(x:4.0,y:5.0,z:6.0)"},
        {"Vector array", "1,2", "[]", std::nullopt},
        {"Orientation array", "1,2,3,4", "[(x:1.0,y:2.0,z:3.0,w:4.0)]", "(x:1.0,y:2.0,z:3.0,w:4.0)"},
        {"Sequence array", "1,2", "[]", "<NO STRING CONVERSION>"},
    };
    for (const auto& [type, text, expected, written] : rows) {
        SCOPED_TRACE(std::string(type) + " " + std::string(text));
        DiagramDocument document;
        document.constant(type, text, "c");
        CapturedDiagnostics diagnostics;
        Kelvane engine;
        engine.read(document.text(), true);
        EXPECT_EQ(getValueString(engine.getConstants()[0].value), expected);
        const auto line = "ERROR: converting " + std::string(text) + " to " + std::string(type) + " failed!";
        EXPECT_EQ(diagnostics.lines, std::vector(written ? 0 : 1, line));
        const auto shown = engine.nodeList(NodeCategory::Constant)[0]->getProperties()[1].valueString;
        EXPECT_EQ(shown, written.value_or(shown));
    }
    DiagramDocument document;
    document.constant("Integer array", "(1, -2)", "c");
    Kelvane engine;
    engine.read(document.text(), true);
    EXPECT_STOP(engine.createJSON(), "an integer array has no text form unless it is empty");
}

}  // namespace KelvaneSDK::testing_support
