#include <algorithm>

#include "support/FunctionTest.h"

namespace KelvaneSDK::testing_support {

namespace {

/// One summary, written by an entry for a label and a value.
struct SummaryRow {
    std::string document, label;
    Value value;
    /// Without its white space, which is as in the layout test.
    std::string expected;
    bool isRefused = false;
};

std::string evaluated(const SummaryRow& row, CapturedDiagnostics& diagnostics) {
    const auto node = NodeRegistry::library().find(NodeCategory::Function, "JSON output")->make();
    node->specializeGenericTypes(*concreteClassNamed(valueTypeName(row.value.type())));
    const Value inputs[] = {String(row.document), String(row.label), row.value};
    for (std::size_t i = 0; i < 3; ++i) node->inputValues()[i]->setValue(inputs[i]);
    node->process();
    EXPECT_EQ(diagnostics.lines.size(), row.isRefused ? 1U : 0U);
    for (const auto& line : diagnostics.lines) EXPECT_EQ(line, "ERROR: unsupported type in JSON conversion!");
    return std::string(node->outputValue()->payload()->as<String>().view());
}

}  // namespace

TEST(JsonOutput, WritesAValueOfEachTypeUnderItsLabel) {
    const std::string old = R"({"values":[{"label":"a","floatValue":1},{"floatValue":2},{"label":"b","stringValue":"x"}]})";
    const SummaryRow rows[] = {
        {"", "a", 1.5, R"({"values":[{"floatValue":1.5,"label":"a"}]})"},
        {"no JSON", "a", 2, R"({"values":[{"integerValue":2,"label":"a"}]})"},
        {R"({"values":[{"label":7}]})", "a", true, R"({"values":[{"booleanValue":true,"label":"a"}]})"},
        {R"({"values":{}})", "", "t", R"({"values":[{"label":"","stringValue":"t"}]})"},
        {"[]", "a", Vector{1, 2, 3}, R"({"values":[{"label":"a","vectorValue":{"x":1,"y":2,"z":3}}]})"},
        {"{}", "a", Orientation{1, 2, 3, 4}, R"({"values":[{"label":"a","orientationValue":{"w":4,"x":1,"y":2,"z":3}}]})"},
        {R"({"values":[]})", "a", List<double>{1, 2.5}, R"({"values":[{"arrayValue":[1,2.5],"label":"a"}]})"},
        {R"({"values":[]})", "a", Sequence({{0, 1}, {1, 2}}), R"({"values":[{"label":"a","sequenceValue":[{"f":1,"t":0},{"f":2,"t":1}]}]})"},
        {old, "a", "y", R"({"values":[{"label":"a","stringValue":"y"},{"floatValue":2},{"label":"b","stringValue":"x"}]})"},
        {old, "c", 3, R"({"values":[{"floatValue":1,"label":"a"},{"floatValue":2},{"label":"b","stringValue":"x"},{"integerValue":3,"label":"c"}]})"},
        {R"({"values":[{"label":"a","floatValue":1},{"label":"a","floatValue":2}]})", "a", false,
         R"({"values":[{"booleanValue":false,"label":"a"},{"floatValue":2,"label":"a"}]})"},
        {old, "b", List<std::int64_t>{1}, R"({"values":[{"floatValue":1,"label":"a"},{"floatValue":2},{"label":"b"}]})", true},
        {"", "n", List<String>{"x"}, R"({"values":[{"label":"n"}]})", true},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.document + " " + row.label + " " + getValueString(row.value));
        CapturedDiagnostics diagnostics;
        auto text = evaluated(row, diagnostics);
        std::erase_if(text, [](char c) { return c == ' ' || c == '\n'; });
        EXPECT_EQ(text, row.expected);
    }
}

// What one entry writes, the next reads: a summary of all types keeps them all.
TEST(JsonOutput, LaysOutOneKeyALine) {
    CapturedDiagnostics diagnostics;
    std::string document;
    const Value values[] = {1.5, 2, true, "t", Vector{1, 2, 3}, Orientation{1, 2, 3, 4}, List<double>{1}, Sequence({{0, 1}})};
    for (const auto& value : values) document = evaluated({document, std::string(valueTypeName(value.type())), value, ""}, diagnostics);
    EXPECT_EQ(std::count(document.begin(), document.end(), '\n'), 51) << document;
    EXPECT_TRUE(document.starts_with("{\n  \"values\": [\n    {\n      \"floatValue\": 1.5,\n      \"label\": \"Float\"\n    },\n")) << document;
    EXPECT_EQ(evaluated({document, "Float", 1.5, ""}, diagnostics), document);
}

}  // namespace KelvaneSDK::testing_support
