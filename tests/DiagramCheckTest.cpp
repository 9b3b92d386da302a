#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <thread>

#include "KelvaneSDK/FunctionNode.h"
#include "support/DiagramDocument.h"

namespace KelvaneSDK::testing_support {

namespace {

enum class Kind { warning, error, fatal };
using enum Kind;

struct Expected {
    std::string code, pointer;
    Kind kind;
    /// The whole line, where its words are part of the case.
    std::string text = {};
};

struct Case {
    std::string name;
    std::function<void(DiagramDocument&)> build;
    std::vector<Expected> findings;
};

std::string describe(const Finding& finding) {
    const std::string kind = finding.fatal ? "fatal" : finding.severity == Severity::error ? "error" : "warning";
    return kind + " " + finding.code + " " + finding.pointer;
}

std::string describe(const Expected& expected) {
    constexpr std::string_view names[] = {"warning", "error", "fatal"};
    return std::string(names[static_cast<std::size_t>(expected.kind)]) + " " + expected.code + " " + expected.pointer;
}

using Document = DiagramDocument;

struct Link {
    std::int64_t from, to;
    std::int64_t input = 0;
};
// Braces make the nodes in the order in which they stand.
void link(Document& d, const Link& link) { d.connect(link.from, link.to, link.input); }

/// A stream (1) through a function (2) to a variable output (3).
void chain(Document& d, std::string_view type, std::string_view function, std::string_view outputType) {
    link(d, {d.stream(type, "in"), d.function(function)});
    link(d, {2, d.output(outputType, "out")});
}

// Readable where a row fails.
void PrintTo(const Case& row, std::ostream* stream) { *stream << row.name; }

class DiagramCheckTest : public testing::TestWithParam<Case> {};

std::string nameOf(const testing::TestParamInfo<Case>& info) { return info.param.name; }

}  // namespace

TEST_P(DiagramCheckTest, TellsTheFindingsOfItsRow) {
    Document document;
    GetParam().build(document);
    const auto findings = checkDiagram(document.text());
    std::vector<std::string> expected, found;
    for (const auto& row : GetParam().findings) expected.push_back(describe(row));
    for (const auto& finding : findings) found.push_back(describe(finding));
    ASSERT_EQ(found, expected);
    for (std::size_t i = 0; i < findings.size(); ++i) {
        const auto& text = GetParam().findings[i].text;
        EXPECT_EQ(findingText(findings[i]), text.empty() ? findingText(findings[i]) : text);
        EXPECT_GT(findings[i].line, 0U);
    }
    // The record gives the same findings, without places.
    auto fromRecord = checkDiagram(document.data.info);
    ASSERT_EQ(fromRecord.size(), findings.size());
    for (std::size_t i = 0; i < findings.size(); ++i) {
        fromRecord[i].line = findings[i].line;
        fromRecord[i].column = findings[i].column;
        EXPECT_EQ(fromRecord[i], findings[i]);
    }
}

// The words of the findings; which faults are found where is the matter of corpus/.
INSTANTIATE_TEST_SUITE_P(Documents, DiagramCheckTest,
                         testing::Values(Case{"SoundChain", [](Document& d) { chain(d, "Float", "Absolute", "Float"); }, {}},
                                         Case{"UnknownFunction",
                                              [](Document& d) {
                                                  link(d, {d.stream("Float", "in"), d.function("Moving avrager")});
                                              },
                                              {{"unknown-type", "/nodes/1", error,
                                                "nodes[1]: node 2 (\"Moving avrager\"): no function is called \"Moving avrager\"; "
                                                "did you mean \"Moving averager\"?"}}},
                                         Case{"UnknownClass",
                                              [](Document& d) { d.add("Input Stream", "Float", "in"); },
                                              {{"unknown-class", "/nodes/0", error,
                                                "nodes[0]: node 1 (\"Float\", \"in\"): no node class is called \"Input Stream\"; did you mean "
                                                "\"Input stream\"?"}}},
                                         Case{"UnknownOutputTypeIsMendedByAConnection",
                                              [](Document& d) {
                                                  chain(d, "Float", "Pass-through", "Float");
                                                  d.outputType(2, "float");
                                              },
                                              {{"unknown-output-type", "/nodes/1", error,
                                                "nodes[1]: node 2 (\"Pass-through\"): no value type is called \"float\"; did you mean "
                                                "\"Float\"?"}}},
                                         Case{"OverriddenOutputType",
                                              [](Document& d) {
                                                  chain(d, "Float", "Absolute", "Float");
                                                  d.outputType(2, "Integer");
                                              },
                                              {{"output-type-overridden", "/nodes/1", warning,
                                                "nodes[1]: node 2 (\"Absolute\"): the output type \"Integer\" has no effect: the output is "
                                                "always of type \"Float\""}}},
                                         Case{"DuplicateId",
                                              [](Document& d) {
                                                  chain(d, "Float", "Absolute", "Float");
                                                  d.data.info.nodes.push_back({2, "Constant", "Float", {}});
                                              },
                                              // The constant comes first in the engine's order, and takes the wires.
                                              {{"output-unused", "/nodes/0", warning},
                                               {"duplicate-id", "/nodes/1", error},
                                               {"input-unconnected", "/nodes/1", warning},
                                               {"output-unused", "/nodes/1", warning},
                                               {"node-without-inputs", "/connections/0", fatal}}},
                                         Case{"UnknownName",
                                              [](Document& d) {
                                                  chain(d, "Float", "Absolute", "Float");
                                                  d.property(2, "Decription", "x");
                                                  d.property(2, "Hidden", "true");
                                              },
                                              {{"unknown-property", "/properties/3", error,
                                                "properties[3]: node 2 (\"Absolute\"): nodes of the class \"Function\" have no property "
                                                "\"Decription\"; "
                                                "did you mean \"Description\"?"},
                                               {"unknown-property", "/properties/4", error}}},
                                         Case{"ValuesThatDoNotParse",
                                              [](Document& d) {
                                                  chain(d, "Float", "Absolute", "Float");
                                                  link(d, {d.constant("Vector", "1,2", "v"), d.output("Vector", "v")});
                                                  link(d, {d.constant("Boolean", "True", "b"), d.output("Boolean", "b")});
                                              },
                                              {{"value-unparsable", "/properties/4", error,
                                                "properties[4]: node 4 (\"Vector\", \"v\"): \"1,2\" is no value of type \"Vector\"; expected "
                                                "three numbers between commas"},
                                               {"value-unparsable", "/properties/7", error,
                                                "properties[7]: node 6 (\"Boolean\", \"b\"): \"True\" is no value of type \"Boolean\"; "
                                                "expected \"true\" or \"false\"; "
                                                "did you mean \"true\"?"}}},
                                         Case{"WhatIsPassedOverInSilence",
                                              [](Document& d) {
                                                  chain(d, "Float", "Absolute", "Float");
                                                  d.property(1, "Forwarding", "TRUE");
                                                  d.property(2, "Color", "Blue");
                                                  d.property(9, "Color", "blue");
                                                  d.data.info.positions.push_back({8, 0, 0});
                                                  link(d, {d.constant("Sequence array", "0,1"), d.output("Sequence array", "s")});
                                                  link(d, {d.constant("Integer array", "1,2"), d.output("Integer array", "i")});
                                              },
                                              {{"integer-array-constant", "/nodes/5", warning},
                                               {"boolean-text", "/properties/3", warning,
                                                "properties[3]: node 1 (\"Float\", \"in\"): \"Forwarding\" is \"TRUE\", which counts as "
                                                "false; expected \"true\" or "
                                                "\"false\"; did you mean \"true\"?"},
                                               {"unknown-color", "/properties/4", warning,
                                                "properties[4]: node 2 (\"Absolute\"): no colour is called \"Blue\"; did you mean \"blue\"?"},
                                               {"property-unknown-id", "/properties/5", warning},
                                               {"value-ignored", "/properties/6", warning},
                                               {"position-unknown-id", "/positions/3", warning}}},
                                         Case{"UnknownIds",
                                              [](Document& d) {
                                                  chain(d, "Float", "Absolute", "Float");
                                                  d.connect(7, 8);
                                              },
                                              {{"connection-unknown-id", "/connections/2", fatal,
                                                "connections[2]: no node has the outputNodeId 7; the connection would be retried without end"},
                                               {"connection-unknown-id", "/connections/2", fatal}}},
                                         Case{"NoSuchInput",
                                              [](Document& d) {
                                                  chain(d, "Float", "Absolute", "Float");
                                                  d.connect(1, 2, 1);
                                                  d.connect(1, 2, -1);
                                                  d.connect(1, 2, std::int64_t{1} << 32);
                                              },
                                              {{"input-out-of-range", "/connections/2", fatal,
                                                "connections[2]: node 2 (\"Absolute\"): the node has only input 0; there is no input 1"},
                                               {"input-out-of-range", "/connections/3", fatal},
                                               {"input-out-of-range", "/connections/4", fatal}}},
                                         Case{"AFunctionStopsOnAnotherType",
                                              [](Document& d) { chain(d, "Integer", "Absolute", "Float"); },
                                              {{"type-mismatch", "/connections/0", fatal,
                                                "connections[0]: node 2 (\"Absolute\"): input 0 (\"x\") is of type \"Float\", but "
                                                "node 1 (\"Integer\", \"in\") "
                                                "brings values of type \"Integer\""}}},
                                         Case{"UnsupportedTypes",
                                              [](Document& d) {
                                                  chain(d, "Boolean", "Add", "Boolean");
                                                  d.connect(1, 2, 1);
                                              },
                                              {{"type-unsupported", "/nodes/1", warning},
                                               {"never-runs", "/nodes/2", warning,
                                                "nodes[2]: node 3 (\"Boolean\", \"out\"): the node never runs, because input 0 "
                                                "(\"value\") waits for node 2 (\"Add\"), "
                                                "which never gives an output"}}},
                                         Case{"TwoNodes",
                                              [](Document& d) {
                                                  chain(d, "Float", "Add", "Float");
                                                  link(d, {2, d.function("Absolute", "back")});
                                                  d.connect(4, 2, 1);
                                              },
                                              {{"cycle", "/connections/3", fatal,
                                                "connections[3]: node 2 (\"Add\"): waits for itself, so that the evaluation never ends: "
                                                "node 2 (\"Add\") -> node 4 (\"Absolute\", \"back\") -> node 2 (\"Add\")"}}},
                                         Case{"DivisionByZero",
                                              [](Document& d) {
                                                  chain(d, "Integer", "Divide", "Integer");
                                                  link(d, {d.constant("Integer", "0", "zero"), 2, 1});
                                              },
                                              {{"constant-stops", "/nodes/1", fatal,
                                                "nodes[1]: node 2 (\"Divide\"): input 1 (\"b\") is fixed at 0 by node 4 "
                                                "(\"Integer\", \"zero\"); "
                                                "an integer cannot be divided by 0"}}},
                                         Case{"Containers",
                                              [](Document& d) {
                                                  chain(d, "Float", "Absolute", "Float");
                                                  d.data.info.containers = {
                                                      {0, 0, "empty", {}, "pink", std::nullopt},
                                                      {0, 0, "outer", {1, 9}, "blue", {{{0, 0, "inner", {8}, {}, {}}, {0, 0, "fine", {2}, {}, {}}}}}};
                                              },
                                              {{"unknown-color", "/containers/0", warning, "containers[0]: no colour is called \"pink\""},
                                               {"container-empty", "/containers/0", fatal,
                                                "containers[0]: the container \"empty\" holds no node; it needs one that provides its output"},
                                               {"container-unknown-id", "/containers/1/nodeIds/1", error},
                                               {"container-empty", "/containers/1/containers/0", fatal},
                                               {"container-unknown-id", "/containers/1/containers/0/nodeIds/0", error,
                                                "containers[1].containers[0].nodeIds[0]: the container \"inner\" names node 8, which does not "
                                                "exist"}}}),
                         nameOf);

// An application may bring such a class; none of the library's is like it.
TEST(DiagramCheck, ANodeWithoutAnOutputCannotBeConnectedOrTyped) {
    class Sink final : public FunctionNode {
        void createInputs() override { addInputs<FloatValue>("x"); }
        void setTypeString() override { typeString = "Sink"; }
    };
    NodeRegistry registry = NodeRegistry::library();
    registry.add(functionFamily("Own", {entry<Sink>("takes all")}));
    DiagramDocument document;
    const auto sink = document.function("Sink");
    document.outputType(sink, "Float");
    document.property(sink, "OutputValue", "1");
    document.connect(sink, document.function("Absolute"));
    const auto findings = checkDiagram(document.data.info, registry);
    for (const std::string pointer : {"/nodes/0", "/properties/0", "/connections/0"}) {
        EXPECT_TRUE(std::any_of(findings.begin(), findings.end(), [&](const Finding& f) {
            return f.pointer == pointer && f.code == "output-missing" && f.fatal && f.nodeId == sink;
        })) << pointer;
    }
}

// Nothing that a file controls may become a depth of calls or a cost beyond its size.
TEST(DiagramCheck, LargeDocumentsTakeNoDepthOfCalls) {
    constexpr int count = 100000;
    DiagramDocument document;
    std::int64_t last = document.stream("Float", "in");
    for (int i = 0; i < count; ++i) {
        const auto next = document.function(i % 2 == 0 ? "Negate" : "Pass-through");
        document.connect(last, next);
        last = next;
    }
    document.connect(last, document.output("Float", "out"));
    EXPECT_EQ(checkDiagram(document.data.info), std::vector<Finding>());
    auto mistyped = document;
    mistyped.connect(mistyped.stream("Integer", "count"), mistyped.function("Sine"));
    EXPECT_TRUE(checkDiagram(mistyped.data.info).back().fatal) << "too large to be tried out";
    std::thread([&] {
        // One ring through all of them.
        document.data.info.connections[0].outputNodeId = last;
        document.outputType(2, "Float");
        const auto findings = checkDiagram(document.data.info);
        ASSERT_EQ(std::count_if(findings.begin(), findings.end(), [](const auto& f) { return f.fatal; }), 1);
    }).join();
}

}  // namespace KelvaneSDK::testing_support
