#include <gtest/gtest.h>

#include "KelvaneSDK/DiagramCheck/NearestName.h"
#include "support/DiagramDocument.h"

namespace KelvaneSDK::testing_support {

namespace {

struct TextCase {
    std::string name, text, code, pointer, message;
    std::size_t line, column;
};
class DiagramTextTest : public testing::TestWithParam<TextCase> {};

}  // namespace

TEST_P(DiagramTextTest, TellsWhereTheTextFails) {
    const auto& expected = GetParam();
    const auto findings = checkDiagram(expected.text);
    ASSERT_EQ(findings.size(), 1U);
    EXPECT_EQ(findings[0].code, expected.code);
    EXPECT_EQ(findings[0].pointer, expected.pointer);
    EXPECT_EQ(findings[0].message, expected.message);
    EXPECT_EQ(findings[0].line, expected.line);
    EXPECT_EQ(findings[0].column, expected.column);
}

INSTANTIATE_TEST_SUITE_P(Texts, DiagramTextTest,
                         testing::Values(TextCase{"Empty", "", "undecodable", "", "not JSON: the text ends too early: a value was expected", 1, 1},
                                         TextCase{"MissingComma", "{\"nodes\": []\n \"properties\": []}", "undecodable", "",
                                                  "not JSON: \",\" or \"}\" was expected", 2, 2},
                                         TextCase{"TrailingComma", "{\"nodes\": [1,]}", "undecodable", "", "not JSON: a value was expected", 1, 14},
                                         TextCase{"Word", "{\"nodes\":\n\n  nil}", "undecodable", "", "not JSON: a value was expected", 3, 3},
                                         TextCase{"Unicode", "{\"a\": \"\xC3\x28\"}", "undecodable", "", "not JSON: not valid UTF-8", 1, 8},
                                         TextCase{"Number", "{\"a\": 01}", "undecodable", "", "not JSON: \",\" or \"}\" was expected", 1, 8},
                                         TextCase{"TooLargeANumber", "{\"a\": 1e999}", "undecodable", "", "not JSON: a number is out of range", 1, 7},
                                         TextCase{"Rest", "{} {}", "undecodable", "", "not JSON: something follows the end of the document", 1, 4},
                                         TextCase{"Array", " []", "undecodable", "", "an object was expected, an array was found", 1, 2},
                                         TextCase{"WrongType", "{\"nodes\":[{\"id\":1.5}],\"properties\":[],\"connections\":[],\"positions\":[]}",
                                                  "undecodable", "/nodes/0/id", "an integer of 64 bits was expected, the number 1.5 was found", 1,
                                                  17},
                                         TextCase{"MissingMember", "{\"nodes\":[\n{\"id\":1}],\"properties\":[],\"connections\":[],\"positions\":[]}",
                                                  "undecodable", "/nodes/0/classString", "a string is missing", 2, 1},
                                         TextCase{"TooDeep", "{\"x\":" + std::string(maximumDocumentDepth, '['), "nested-too-deep", "",
                                                  "nested deeper than the limit of 2048 levels", 1, 5 + maximumDocumentDepth}),
                         [](const auto& testCase) { return testCase.param.name; });

TEST(DiagramCheck, PlacesFollowTheTextAndNotTheRecord) {
    // Connections before nodes, a member that comes twice, an escaped name.
    const std::string text =
        "{\"connections\": [{\"outputNodeId\":1,\"inputNodeId\":5,\"inputIndex\":0}],\n"
        " \"nodes\": [{\"id\":3,\"classString\":\"Nobody\",\"typeString\":\"\"}],\n"
        " \"properties\": [], \"positions\": [],\n"
        " \"n\\u006fdes\": [{\"id\":1, \"classString\":\"Input stream\", \"typeString\":\"Float\"},\n"
        "   {\"id\":1, \"classString\":\"Input stream\", \"typeString\":\"Flaot\"}]}";
    const auto findings = checkDiagram(text);
    ASSERT_EQ(findings.size(), 3U);
    EXPECT_EQ(findings[0].code, "connection-unknown-id");
    EXPECT_EQ(findings[0].line, 1U);
    EXPECT_EQ(findings[0].column, 18U);
    EXPECT_EQ(findings[1].code, "duplicate-id");
    EXPECT_EQ(findings[1].line, 5U);
    EXPECT_EQ(findings[1].column, 4U);
    EXPECT_EQ(findings[2].hint, "did you mean \"Float\"?");
}

TEST(DiagramCheck, SuggestsOnlyCloseNames) {
    constexpr std::string_view names[] = {"Add", "Adder", "Moving averager", "Sine"};
    EXPECT_EQ(nearestName("add", names), "Add");
    EXPECT_EQ(nearestName("Addre", names), "Adder");
    EXPECT_EQ(nearestName("moving averger", names), "Moving averager");
    EXPECT_EQ(nearestName("Subtract", names), "");
    EXPECT_EQ(nearestName("", names), "");
    EXPECT_EQ(nearestName(std::string(100000, 'a'), names), "");
}

}  // namespace KelvaneSDK::testing_support
