#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <limits>
#include <thread>

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

/// A function (1) of which input 0 is fixed by a constant (2), the others come from streams, and the output
/// is used.
void fixed(Document& d, std::string_view function, std::string_view constantType, std::string_view text, std::vector<std::string> streamTypes,
           std::string_view outputType) {
    const auto node = d.function(function);
    link(d, {d.constant(constantType, text), node});
    for (std::size_t i = 0; i < streamTypes.size(); ++i) {
        link(d, {d.stream(streamTypes[i], "s" + std::to_string(i)), node, static_cast<std::int64_t>(i) + 1});
    }
    link(d, {node, d.output(outputType, "out")});
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

INSTANTIATE_TEST_SUITE_P(Nodes, DiagramCheckTest,
                         testing::Values(Case{"SoundChain", [](Document& d) { chain(d, "Float", "Absolute", "Float"); }, {}},
                                         Case{"Empty", [](Document&) {}, {}},
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
                                         Case{"NothingCloseIsSuggested",
                                              [](Document& d) { d.output("Quaternions", "out"); },
                                              {{"unknown-type", "/nodes/0", error,
                                                "nodes[0]: node 1 (\"Quaternions\", \"out\"): no type of this class is called "
                                                "\"Quaternions\""}}},
                                         Case{"NothingStopsAfterAnUnknownType",
                                              [](Document& d) {
                                                  link(d, {d.function("Sinus"), 9});
                                              },
                                              {{"unknown-type", "/nodes/0", error}, {"connection-unknown-id", "/connections/0", error}}},
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
                                         Case{"ElementTypeOfAnArrayOutputType",
                                              [](Document& d) {
                                                  chain(d, "Float array", "Array sum", "Float");
                                                  d.outputType(2, "Float array");
                                              },
                                              {{"output-type-overridden", "/nodes/1", warning}}},
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
                                         Case{"LargestId",
                                              [](Document& d) {
                                                  d.stream("Float", "in");
                                                  d.data.info = {{{INT64_MAX, "Input stream", "Float", {}}}, {}, {}, {}, {}, {}, {}};
                                              },
                                              {{"id-leaves-no-room", "/nodes/0", error}}}),
                         nameOf);

INSTANTIATE_TEST_SUITE_P(Properties, DiagramCheckTest,
                         testing::Values(Case{"UnknownName",
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
                                               {"position-unknown-id", "/positions/3", warning}}}),
                         nameOf);

INSTANTIATE_TEST_SUITE_P(Connections, DiagramCheckTest,
                         testing::Values(Case{"UnknownIds",
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
                                         Case{"IntoAStream",
                                              [](Document& d) {
                                                  chain(d, "Float", "Absolute", "Float");
                                                  d.connect(2, 1);
                                              },
                                              {{"node-without-inputs", "/connections/2", fatal}}},
                                         Case{"OutOfAVariableOutput",
                                              [](Document& d) {
                                                  chain(d, "Float", "Absolute", "Float");
                                                  link(d, {3, d.output("Float", "copy")});
                                              },
                                              {{"input-unconnected", "/nodes/3", warning}, {"output-refused", "/connections/2", error}}},
                                         Case{"FedTwice",
                                              [](Document& d) {
                                                  chain(d, "Float", "Absolute", "Float");
                                                  link(d, {d.constant("Float", "1"), 2});
                                              },
                                              {{"input-connected-twice", "/connections/2", warning}}},
                                         // Between two nodes of open type a connection is lost; behind one that fixes a type it is made.
                                         Case{"LostBetweenOpenTypes",
                                              [](Document& d) {
                                                  link(d, {d.function("Pass-through"), d.function("Negate")});
                                                  link(d, {d.stream("Float", "in"), 1});
                                                  link(d, {2, d.output("Float", "out")});
                                              },
                                              {{"input-unconnected", "/nodes/1", warning},
                                               {"never-runs", "/nodes/3", warning},
                                               {"connection-lost", "/connections/0", error}}},
                                         Case{"NotLostWithAnOutputType",
                                              [](Document& d) {
                                                  link(d, {d.function("Pass-through"), d.function("Negate")});
                                                  link(d, {d.stream("Float", "in"), 1});
                                                  link(d, {2, d.output("Float", "out")});
                                                  d.outputType(1, "Float");
                                              },
                                              {}},
                                         Case{"NotLostBehindTheStream",
                                              [](Document& d) {
                                                  link(d, {d.stream("Float", "in"), d.function("Pass-through")});
                                                  link(d, {2, d.function("Negate")});
                                                  link(d, {3, d.output("Float", "out")});
                                              },
                                              {}},
                                         Case{"ScalarCannotAdoptFromAnOpenArray",
                                              [](Document& d) {
                                                  link(d, {d.function("Order"), d.function("Max")});
                                              },
                                              {{"input-unconnected", "/nodes/0", warning},
                                               {"input-unconnected", "/nodes/0", warning},
                                               {"type-unresolved", "/nodes/0", warning},
                                               {"output-unused", "/nodes/0", warning},
                                               {"input-unconnected", "/nodes/1", warning},
                                               {"input-unconnected", "/nodes/1", warning},
                                               {"type-unresolved", "/nodes/1", warning},
                                               {"output-unused", "/nodes/1", warning},
                                               {"type-adoption-stops", "/connections/0", fatal}}}),
                         nameOf);

INSTANTIATE_TEST_SUITE_P(
    Types, DiagramCheckTest,
    testing::Values(
        Case{"AFunctionStopsOnAnotherType",
             [](Document& d) { chain(d, "Integer", "Absolute", "Float"); },
             {{"type-mismatch", "/connections/0", fatal,
               "connections[0]: node 2 (\"Absolute\"): input 0 (\"x\") is of type \"Float\", but "
               "node 1 (\"Integer\", \"in\") "
               "brings values of type \"Integer\""}}},
        Case{"AVariableOutputLosesAnotherType",
             [](Document& d) { chain(d, "Float", "Absolute", "Integer"); },
             {{"type-mismatch", "/connections/1", error}}},
        // Pass-through hands on what it gets: only the last wire is at fault.
        Case{"WhatIsForwardedStaysForeign",
             [](Document& d) {
                 chain(d, "Integer", "Pass-through", "Float");
                 d.outputType(2, "Float");
             },
             {{"type-mismatch", "/connections/0", warning}, {"type-mismatch", "/connections/1", error}}},
        Case{"WhatIsForwardedMayFit",
             [](Document& d) {
                 chain(d, "Integer", "Pass-through", "Integer");
                 d.outputType(2, "Float");
             },
             {{"type-mismatch", "/connections/0", warning}}},
        Case{"EqualComparesNothing",
             [](Document& d) {
                 chain(d, "Float", "Equal", "Boolean");
                 link(d, {d.stream("Integer", "other"), 2, 1});
             },
             {{"type-mismatch", "/connections/2", error}}},
        Case{"AdditionStops",
             [](Document& d) {
                 chain(d, "Float", "Add", "Float");
                 link(d, {d.stream("Integer", "other"), 2, 1});
             },
             {{"type-mismatch", "/connections/2", fatal}}},
        Case{"NoStopWhereNothingRuns",
             [](Document& d) {
                 chain(d, "Integer", "Make vector", "Vector");
                 d.connect(1, 2, 1);
             },
             {{"input-unconnected", "/nodes/1", warning},
              {"never-runs", "/nodes/2", warning},
              {"type-mismatch", "/connections/0", error},
              {"type-mismatch", "/connections/2", error}}},
        Case{"ASelectorIsReadBeforeTheNodeRuns",
             [](Document& d) {
                 chain(d, "Float", "Switch", "Float");
                 link(d, {1, 2, 1});
             },
             {{"input-unconnected", "/nodes/1", warning}, {"never-runs", "/nodes/2", warning}, {"type-mismatch", "/connections/0", fatal}}},
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
        Case{"Labels",
             [](Document& d) {
                 chain(d, "Float", "Timestamp", "Float");
                 link(d, {1, d.output("Float", "out")});
                 d.stream("Integer", "out");
             },
             {{"duplicate-label", "/nodes/3", warning}, {"label-types-differ", "/nodes/4", warning}, {"output-unused", "/nodes/4", warning}}}),
    nameOf);

INSTANTIATE_TEST_SUITE_P(Cycles, DiagramCheckTest,
                         testing::Values(Case{"TwoNodes",
                                              [](Document& d) {
                                                  chain(d, "Float", "Add", "Float");
                                                  link(d, {2, d.function("Absolute", "back")});
                                                  d.connect(4, 2, 1);
                                              },
                                              {{"cycle", "/connections/3", fatal,
                                                "connections[3]: node 2 (\"Add\"): waits for itself, so that the evaluation never ends: "
                                                "node 2 (\"Add\") -> node 4 (\"Absolute\", \"back\") -> node 2 (\"Add\")"}}},
                                         Case{"SelfLoop",
                                              [](Document& d) {
                                                  chain(d, "Float", "Limiter", "Float");
                                                  d.connect(2, 2, 1);
                                              },
                                              {{"cycle", "/connections/2", fatal}}},
                                         Case{"SelfLoopOfOpenType",
                                              [](Document& d) {
                                                  link(d, {d.function("Negate"), 1});
                                              },
                                              {{"input-unconnected", "/nodes/0", warning},
                                               {"type-unresolved", "/nodes/0", warning},
                                               {"output-unused", "/nodes/0", warning},
                                               {"self-connection-stops", "/connections/0", fatal}}},
                                         Case{"DiamondsAreNone",
                                              [](Document& d) {
                                                  chain(d, "Float", "Absolute", "Float");
                                                  link(d, {2, d.function("Sine")});
                                                  link(d, {2, d.function("Power")});
                                                  d.connect(4, 5, 1);
                                                  link(d, {5, d.output("Float", "p")});
                                              },
                                              {}},
                                         Case{"FeedbackByLabelIsNone",
                                              [](Document& d) {
                                                  chain(d, "Float", "Absolute", "Float");
                                                  link(d, {d.stream("Float", "out"), d.output("Float", "next")});
                                              },
                                              {}},
                                         Case{"EntryFromOutsideNeverEnds",
                                              [](Document& d) {
                                                  chain(d, "Float", "Absolute", "Float");
                                                  d.connect(2, 2);
                                              },
                                              {{"input-connected-twice", "/connections/2", warning}, {"endless-cycle", "/connections/2", fatal}}},
                                         Case{"ASecondInputBringsItToRest",
                                              [](Document& d) {
                                                  chain(d, "Float", "Add", "Float");
                                                  link(d, {d.constant("Float", "1"), 2, 1});
                                                  d.connect(2, 2, 0);
                                              },
                                              {{"input-connected-twice", "/connections/3", warning}, {"resting-cycle", "/connections/3", warning}}},
                                         Case{"AGateMayBringItToRest",
                                              [](Document& d) {
                                                  chain(d, "Float", "Derivative", "Float");
                                                  d.connect(2, 2);
                                              },
                                              {{"input-connected-twice", "/connections/2", warning}, {"restless-cycle", "/connections/2", warning}}},
                                         // The constant opens the cycle in a batch's first pass alone.
                                         Case{"AConstantDoesNotOpenFurtherPasses",
                                              [](Document& d) {
                                                  chain(d, "Float", "Add", "Float");
                                                  link(d, {d.constant("Float", "1"), 2, 1});
                                                  d.connect(2, 2, 1);
                                              },
                                              {{"input-connected-twice", "/connections/3", warning}, {"cycle", "/connections/3", fatal}}}),
                         nameOf);

INSTANTIATE_TEST_SUITE_P(
    Constants, DiagramCheckTest,
    testing::Values(
        Case{"DivisionByZero",
             [](Document& d) {
                 chain(d, "Integer", "Divide", "Integer");
                 link(d, {d.constant("Integer", "0", "zero"), 2, 1});
             },
             {{"constant-stops", "/nodes/1", fatal,
               "nodes[1]: node 2 (\"Divide\"): input 1 (\"b\") is fixed at 0 by node 4 "
               "(\"Integer\", \"zero\"); "
               "an integer cannot be divided by 0"}}},
        Case{"DivisionOfFloats",
             [](Document& d) {
                 chain(d, "Float", "Divide", "Float");
                 link(d, {d.constant("Float", "0"), 2, 1});
             },
             {}},
        Case{"ResampleStep",
             [](Document& d) { fixed(d, "Resample", "Float", "0", {"Sequence"}, "Sequence"); },
             {{"constant-never-ends", "/nodes/0", fatal}}},
        Case{"ComputedStep",
             [](Document& d) {
                 link(d, {d.constant("Float", "0.5"), d.function("Negate")});
                 link(d, {2, d.function("Resample")});
                 link(d, {d.stream("Sequence", "s"), 3, 1});
                 link(d, {3, d.output("Sequence", "out")});
             },
             {{"constant-never-ends", "/nodes/2", fatal}}},
        Case{"BufferLength", [](Document& d) { fixed(d, "Buffer", "Integer", "-2", {"Float"}, "Float"); }, {{"constant-stops", "/nodes/0", fatal}}},
        Case{"BufferLengthThatOnlyEmpties", [](Document& d) { fixed(d, "Buffer", "Integer", "-1", {"Float"}, "Float"); }, {}},
        Case{"DelayOfNothing", [](Document& d) { fixed(d, "Delay", "Float", "0", {"Float"}, "Float"); }, {{"constant-stops", "/nodes/0", fatal}}},
        Case{"IndexBelowZero",
             [](Document& d) { fixed(d, "Remove from array", "Integer", "-1", {"Float array"}, "Float array"); },
             {{"constant-stops", "/nodes/0", fatal}}},
        Case{"NoStopWhereNothingRuns",
             [](Document& d) { fixed(d, "Buffer", "Integer", "-2", {}, "Float"); },
             {{"input-unconnected", "/nodes/0", warning}, {"never-runs", "/nodes/2", warning}}}),
    nameOf);

INSTANTIATE_TEST_SUITE_P(
    Groups, DiagramCheckTest,
    testing::Values(
        Case{"Containers",
             [](Document& d) {
                 chain(d, "Float", "Absolute", "Float");
                 d.data.info.containers = {{0, 0, "empty", {}, "pink", std::nullopt},
                                           {0, 0, "outer", {1, 9}, "blue", {{{0, 0, "inner", {8}, {}, {}}, {0, 0, "fine", {2}, {}, {}}}}}};
             },
             {{"unknown-color", "/containers/0", warning, "containers[0]: no colour is called \"pink\""},
              {"container-empty", "/containers/0", fatal,
               "containers[0]: the container \"empty\" holds no node; it needs one that provides its output"},
              {"container-unknown-id", "/containers/1/nodeIds/1", error},
              {"container-empty", "/containers/1/containers/0", fatal},
              {"container-unknown-id", "/containers/1/containers/0/nodeIds/0", error,
               "containers[1].containers[0].nodeIds[0]: the container \"inner\" names node 8, which does not "
               "exist"}}},
        Case{"ContainerThatFeedsOnlyItself",
             [](Document& d) {
                 chain(d, "Float", "Add", "Float");
                 d.data.info.connections.pop_back();
                 d.connect(2, 2, 1);
                 d.data.info.containers = {{0, 0, "box", {2, 2}, {}, {}}};
             },
             {{"input-unconnected", "/nodes/2", warning}, {"cycle", "/connections/1", fatal}, {"container-without-output", "/containers/0", fatal}}},
        Case{"Subdiagrams",
             [](Document& d) {
                 chain(d, "Float", "Absolute", "Float");
                 d.data.info.subdiagrams = {{"part", {1, 4, 2}}};
             },
             {{"node-in-no-subdiagram", "/nodes/2", error}, {"subdiagram-unknown-id", "/subdiagrams/0/nodeIds/1", error}}},
        Case{"NoSubdiagramsAtAll",
             [](Document& d) {
                 chain(d, "Float", "Absolute", "Float");
                 d.data.info.subdiagrams.emplace();
             },
             {}}),
    nameOf);

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
    std::thread([&] {
        // One ring through all of them.
        document.data.info.connections[0].outputNodeId = last;
        document.outputType(2, "Float");
        const auto findings = checkDiagram(document.data.info);
        ASSERT_EQ(std::count_if(findings.begin(), findings.end(), [](const auto& f) { return f.fatal; }), 1);
    }).join();
}

}  // namespace KelvaneSDK::testing_support
