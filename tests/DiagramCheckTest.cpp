#include <gtest/gtest.h>

#include <algorithm>

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
TEST(DiagramCheck, ReportsWhatIsWrongWithNodes) {
    auto document = DiagramDocument::chain("Pass-through");
    document.outputType(2, "float");
    document.add("Input Stream", "Float", "other");
    document.outputType(document.constant("Float", "ten"), "Integer");
    document.add("Function", "Moving avrager");
    document.connect(document.add("Constant", "Float"), 6);
    document.data.info.nodes.push_back({2, "Constant", "Float", std::nullopt});
    expectFindings(document, R"(
nodes[1]: node 2 ("Pass-through"): no value type is called "float"; did you mean "Float"?
nodes[1]: node 2 ("Pass-through"): the id belongs to node 2 ("Float") in nodes[7] already, which takes all connections to it
nodes[3]: node 4 ("Float", "other"): no node class is called "Input Stream"; did you mean "Input stream"?
nodes[4]: node 5 ("Float"): the output type "Integer" has no effect: the output is always of type "Float"
nodes[4]: node 5 ("Float"): the output feeds nothing
nodes[5]: node 6 ("Moving avrager"): no function is called "Moving avrager"; did you mean "Moving averager"?
nodes[6]: node 7 ("Float"): no "OutputValue" is set, so that the constant is 0.0
nodes[7]: node 2 ("Float"): no "OutputValue" is set, so that the constant is 0.0
properties[4]: node 5 ("Float"): "ten" is no value of type "Float"; expected a number
connections[0]: node 2 ("Float"): nodes of the class "Constant" have no inputs to connect to
)");
}

TEST(DiagramCheck, ReportsWhatIsWrongWithWires) {
    auto document = DiagramDocument::chain("Absolute");
    for (const auto& [from, to] : {std::pair{7, 8}, {3, 2}, {4, 4}}) document.connect(from, to);
    document.connect(1, 2, std::int64_t{1} << 32);
    document.function("Negate");
    const auto stream = document.stream("Boolean", "b");
    document.connect(stream, document.function("Absolute", "b"));
    expectFindings(document, R"(
nodes[5]: node 6 ("Absolute", "b"): the output feeds nothing
connections[2]: no node has the outputNodeId 7; the connection would be retried without end
connections[2]: no node has the inputNodeId 8; the connection would be retried without end
connections[3]: node 3 ("Float", "y"): the output of a variable output cannot feed input 0 ("x") of node 2 ("Absolute"); connect what feeds the variable output, or give an input stream the same label
connections[4]: node 4 ("Negate"): the node feeds its own input 0 ("value") before its type is known
connections[5]: node 2 ("Absolute"): the node has only input 0; there is no input 4294967296
connections[6]: node 6 ("Absolute", "b"): input 0 ("x") is of type "Float", but node 5 ("Boolean", "b") brings values of type "Boolean"
)");
}

TEST(DiagramCheck, ReportsWhatNeverRunsOrNeverEnds) {
    auto document = DiagramDocument::chain("Add");
    document.connect(2, document.function("Absolute", "back"));
    document.connect(4, 2, 1);
    const auto stream = document.stream("Boolean", "b");
    document.connect(stream, document.function("Negate"));
    document.connect(6, document.function("Add", "sum"));
    document.connect(7, document.function("Pass-through"));
    document.connect(8, document.output("Boolean", "nothing"));
    const auto divide = document.function("Divide");
    document.connect(document.stream("Integer", "i"), divide);
    document.connect(document.constant("Integer", "0", "zero"), divide, 1);
    document.connect(divide, document.output("Integer", "quotient"));
    expectFindings(document, R"(
nodes[6]: node 7 ("Add", "sum"): "Add" does not support values of type "Boolean"
nodes[6]: node 7 ("Add", "sum"): input 1 ("b") is not connected, so that the node never runs
nodes[7]: node 8 ("Pass-through"): the node never runs, because input 0 ("value") waits for node 7 ("Add", "sum"), which never runs; nor does the node behind it
nodes[9]: node 10 ("Divide"): input 1 ("b") is fixed at 0 by node 12 ("Integer", "zero"); an integer cannot be divided by 0
connections[3]: node 2 ("Add"): waits for itself, so that the evaluation never ends: node 2 ("Add") -> node 4 ("Absolute", "back") -> node 2 ("Add")
)");
}

// What only an application's own classes do.
TEST(DiagramCheck, JudgesAnApplicationsOwnClassesByWhatTheyDo) {
    class Sink final : public FunctionNode {
        void createInputs() override { appendInput(ValueClass::FloatValue, "x"); }
        void setTypeString() override { typeString = "Sink"; }
        void setProperty(std::string_view name, std::string_view value) override {
            if (name == "Gain" && value == "high") return;
            if (name == "Gain" && value == "wild") stop("too much");
            name == "Gain" ? printDiagnostic("ERROR: no such gain!") : FunctionNode::setProperty(name, value);
        }
    };
    NodeRegistry registry = NodeRegistry::library();
    registry.add(functionFamily("Own", {entry<Sink>("takes all")}));
    DiagramDocument document;
    const auto sink = document.function("Sink");
    document.connect(document.stream("Float", "in"), sink);
    document.outputType(sink, "Float");
    document.property(sink, "OutputValue", "1");
    for (const auto* gain : {"high", "low", "wild"}) document.property(sink, "Gain", gain);
    document.connect(sink, document.function("Absolute"));
    std::string found;
    for (const auto& finding : checkDiagram(document.data.info, registry))
        found += finding.pointer + " " + finding.code + " " + std::string(severityName(finding.severity)) + "\n";
    EXPECT_EQ(found,
              "/nodes/0 output-missing fatal\n/nodes/2 output-unused warning\n/properties/2 output-missing fatal\n"
              "/properties/4 property-refused error\n/properties/5 building-stops fatal\n/connections/1 output-missing fatal\n");
}

// Nothing that a file controls may become a depth of calls or a cost beyond its size, in the check or in the engine.
TEST(DiagramCheck, LongChainsTakeNoDepthOfCalls) {
    constexpr int count = 100000;
    DiagramDocument document;
    const auto first = document.output("Float", "out");
    // Every node feeds the one before it.
    for (int i = 0; i < count; ++i) {
        const auto next = document.function(i % 2 == 0 ? "Negate" : "Pass-through");
        document.connect(next, next - 1);
        document.outputType(next, "Float");
    }
    document.connect(document.stream("Float", "in"), first + count);
    EXPECT_EQ(checkDiagram(document.data.info), std::vector<Finding>());
    Kelvane engine;
    engine.read(document.text(), true);
    EXPECT_EQ(engine.evaluate({1, {{"in", 2.0}}}).outputs, (LabelledValues{{"out", 2.0}}));
    // One ring through all of them.
    document.data.info.connections.back().outputNodeId = first + 1;
    const auto findings = checkDiagram(document.data.info);
    EXPECT_EQ(std::count_if(findings.begin(), findings.end(), [](const auto& f) { return f.severity == Severity::fatal; }), 1);
}

}  // namespace KelvaneSDK::testing_support
