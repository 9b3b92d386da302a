#include <gtest/gtest.h>

#include <algorithm>
#include <thread>

#include "KelvaneSDK/FunctionNode.h"
#include "support/DiagramDocument.h"

namespace KelvaneSDK::testing_support {

namespace {

/// What is found, a line for each.
void expectFindings(const DiagramDocument& document, std::string_view expected) {
    auto findings = checkDiagram(document.text());
    std::string texts = "\n";
    for (auto& finding : findings) {
        texts += findingText(finding) + "\n";
        EXPECT_GT(finding.line, 0U);
        finding.line = finding.column = 0;
    }
    EXPECT_EQ(texts, expected);
    // The record gives the same findings, without places.
    EXPECT_EQ(checkDiagram(document.data.info), findings);
}

}  // namespace

// The words of the findings; which faults are found where is the matter of corpus/.
TEST(DiagramCheck, TellsWhatIsWrongWithNodes) {
    auto document = DiagramDocument::chain("Pass-through");
    document.outputType(2, "float");
    document.add("Input Stream", "Float", "other");
    document.outputType(document.constant("Float", "ten"), "Integer");
    document.add("Function", "Moving avrager");
    expectFindings(document, R"(
nodes[1]: node 2 ("Pass-through"): no value type is called "float"; did you mean "Float"?
nodes[3]: node 4 ("Float", "other"): no node class is called "Input Stream"; did you mean "Input stream"?
nodes[4]: node 5 ("Float"): the output type "Integer" has no effect: the output is always of type "Float"
nodes[4]: node 5 ("Float"): the output feeds nothing
nodes[5]: node 6 ("Moving avrager"): no function is called "Moving avrager"; did you mean "Moving averager"?
properties[4]: node 5 ("Float"): "ten" is no value of type "Float"; expected a number
)");
}

TEST(DiagramCheck, TellsWhatComesOfADuplicateId) {
    auto document = DiagramDocument::chain("Absolute");
    // The constant comes first in the engine's order, and takes the wires.
    document.data.info.nodes.push_back({2, "Constant", "Float", std::nullopt});
    expectFindings(document, R"(
nodes[0]: node 1 ("Float", "x"): the output feeds nothing
nodes[1]: node 2 ("Absolute"): the id belongs to node 2 ("Float") in nodes[3] already, which takes all connections to it
nodes[1]: node 2 ("Absolute"): input 0 ("x") is not connected, so that the node never runs
nodes[1]: node 2 ("Absolute"): the output feeds nothing
connections[0]: node 2 ("Float"): nodes of the class "Constant" have no inputs to connect to
)");
}

TEST(DiagramCheck, TellsWhatIsWrongWithProperties) {
    auto document = DiagramDocument::chain("Absolute");
    document.property(2, "Decription", "x");
    document.property(2, "Color", "Blue");
    document.property(1, "Forwarding", "TRUE");
    document.property(99, "Color", "blue");
    document.data.info.positions.push_back({98, 0, 0});
    for (const auto& [type, text] : {std::pair{"Vector", "1,2"}, {"Boolean", "True"}, {"Sequence array", "0,1"}, {"Integer array", "1"}}) {
        document.constant(type, text);
    }
    expectFindings(document, R"(
nodes[3]: node 4 ("Vector"): the output feeds nothing
nodes[4]: node 5 ("Boolean"): the output feeds nothing
nodes[5]: node 6 ("Sequence array"): the output feeds nothing
nodes[6]: node 7 ("Integer array"): an integer array has no text form, so that exporting the diagram stops the program
nodes[6]: node 7 ("Integer array"): the output feeds nothing
properties[3]: node 2 ("Absolute"): nodes of the class "Function" have no property "Decription"; did you mean "Description"?
properties[4]: node 2 ("Absolute"): no colour is called "Blue"; did you mean "blue"?
properties[5]: node 1 ("Float", "x"): "Forwarding" is "TRUE", which counts as false; expected "true" or "false"; did you mean "true"?
properties[6]: "Color" is set for node 99, which does not exist
properties[7]: node 4 ("Vector"): "1,2" is no value of type "Vector"; expected three numbers between commas
properties[8]: node 5 ("Boolean"): "True" is no value of type "Boolean"; expected "true" or "false"; did you mean "true"?
properties[9]: node 6 ("Sequence array"): a value of type "Sequence array" cannot be set by a text
positions[3]: a position is given for node 98, which does not exist
)");
}

TEST(DiagramCheck, TellsWhatIsWrongWithWires) {
    auto document = DiagramDocument::chain("Absolute");
    for (const auto& [from, to] : {std::pair{7, 8}, {3, 2}, {4, 4}}) document.connect(from, to);
    document.connect(1, 2, std::int64_t{1} << 32);
    document.function("Negate");
    expectFindings(document, R"(
nodes[3]: node 4 ("Negate"): input 0 ("value") is not connected, so that the node never runs
nodes[3]: node 4 ("Negate"): no connection or outputType gives the node's "Generic value" slots a type
nodes[3]: node 4 ("Negate"): the output feeds nothing
connections[2]: no node has the outputNodeId 7; the connection would be retried without end
connections[2]: no node has the inputNodeId 8; the connection would be retried without end
connections[3]: node 3 ("Float", "y"): the output of a variable output cannot feed input 0 ("x") of node 2 ("Absolute"); connect what feeds the variable output, or give an input stream the same label
connections[4]: node 4 ("Negate"): the node feeds its own input 0 ("value") before its type is known
connections[5]: node 2 ("Absolute"): the node has only input 0; there is no input 4294967296
)");
}

TEST(DiagramCheck, TellsWhatIsWrongWithTypes) {
    for (const auto& [function, expected] : {std::pair{"Absolute", R"(
connections[0]: node 2 ("Absolute"): input 0 ("x") is of type "Float", but node 1 ("Boolean", "x") brings values of type "Boolean"
connections[1]: node 3 ("Boolean", "y"): input 0 ("value") is of type "Boolean", but node 2 ("Absolute") brings values of type "Float"
connections[2]: node 2 ("Absolute"): the node has only input 0; there is no input 1
)"},
                                             {"Add", R"(
nodes[1]: node 2 ("Add"): "Add" does not support values of type "Boolean"
nodes[2]: node 3 ("Boolean", "y"): the node never runs, because input 0 ("value") waits for node 2 ("Add"), which never gives an output
)"}}) {
        auto document = DiagramDocument::chain(function, "Boolean");
        document.data.info.nodes.front().typeString = "Boolean";
        document.connect(1, 2, 1);
        expectFindings(document, expected);
    }
}

TEST(DiagramCheck, TellsWhatNeverEnds) {
    auto document = DiagramDocument::chain("Add");
    document.connect(2, document.function("Absolute", "back"));
    document.connect(4, 2, 1);
    expectFindings(document, R"(
connections[3]: node 2 ("Add"): waits for itself, so that the evaluation never ends: node 2 ("Add") -> node 4 ("Absolute", "back") -> node 2 ("Add")
)");
}

TEST(DiagramCheck, TellsWhatAConstantDoes) {
    auto document = DiagramDocument::chain("Divide", "Integer");
    document.data.info.nodes.front().typeString = "Integer";
    document.connect(document.constant("Integer", "0", "zero"), 2, 1);
    expectFindings(document, R"(
nodes[1]: node 2 ("Divide"): input 1 ("b") is fixed at 0 by node 4 ("Integer", "zero"); an integer cannot be divided by 0
)");
}

TEST(DiagramCheck, TellsWhatIsWrongWithContainers) {
    auto document = DiagramDocument::chain("Absolute");
    const ContainerInfo inner{0, 0, "inner", {8}, {}, {}};
    document.data.info.containers = {{0, 0, "empty", {}, "pink", {}}, {0, 0, "outer", {1, 9}, "blue", {{inner}}}};
    document.data.info.subdiagrams = {{"part", {1, 2, 9}}};
    expectFindings(document, R"(
nodes[2]: node 3 ("Float", "y"): no subdiagram contains the node
containers[0]: no colour is called "pink"
containers[0]: the container "empty" holds no node; it needs one that provides its output
containers[1].nodeIds[1]: the container "outer" names node 9, which does not exist
containers[1].containers[0]: the container "inner" holds no node; it needs one that provides its output
containers[1].containers[0].nodeIds[0]: the container "inner" names node 8, which does not exist
subdiagrams[0].nodeIds[2]: the subdiagram "part" names node 9, which does not exist
)");
}

TEST(DiagramCheck, PlacesFollowTheTextAndNotTheRecord) {
    // Connections before nodes, a member that comes twice, an escaped name.
    std::string places;
    for (const auto& finding : checkDiagram("{\"connections\": [{\"outputNodeId\":1,\"inputNodeId\":5,\"inputIndex\":0}],\n"
                                            " \"nodes\": [{\"id\":3,\"classString\":\"Nobody\",\"typeString\":\"\"}],\n"
                                            " \"properties\": [], \"positions\": [],\n"
                                            " \"n\\u006fdes\": [{\"id\":1, \"classString\":\"Input stream\", \"typeString\":\"Float\"},\n"
                                            "   {\"id\":1, \"classString\":\"Input stream\", \"typeString\":\"Flaot\"}]}")) {
        places += std::to_string(finding.line) + ":" + std::to_string(finding.column) + " " + finding.code + "\n";
    }
    EXPECT_EQ(places, "1:18 connection-unknown-id\n5:4 duplicate-id\n5:4 unknown-type\n");
}

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
