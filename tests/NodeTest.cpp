#include "KelvaneSDK/Node.h"

#include <gtest/gtest.h>

#include <limits>

#include "KelvaneSDK/FunctionNode.h"
#include "KelvaneSDK/Nodes/InputStreamNode.h"
#include "KelvaneSDK/Values/ScalarVariables.h"
#include "support/DiagramDocument.h"
#include "support/Stops.h"

namespace KelvaneSDK::testing_support {

namespace {

// One input of every generic kind and a concrete one; the output is generic too.
class ProbeFunction final : public FunctionNode {
public:
    void createInputs() override {
        appendInput(ValueClass::ValueVariable, "a");
        appendInput(ValueClass::ArrayVariable, "b");
        appendInput(ValueClass::TimestampedVariable, "c");
        appendInput(ValueClass::FloatValue, "d");
    }
    void createOutput() override { makeOutput(ValueClass::ArrayVariable); }
    void setTypeString() override { typeString = "Probe"; }
};

// Writes to its output slot itself.
class WritingFunction final : public FunctionNode {
public:
    void createInputs() override { appendInput(ValueClass::FloatValue, "x"); }
    void createOutput() override { makeOutput(ValueClass::FloatValue); }
    void setTypeString() override { typeString = "Writing"; }
    void process() override {
        output().setValue(Value(2 * real(0)));
        completeStep();
    }
};

std::unique_ptr<Node> make(NodeCategory category, std::string_view typeString) { return NodeRegistry::library().find(category, typeString)->make(); }
std::unique_ptr<Node> stream(std::string_view type) { return make(NodeCategory::InputStream, type); }
std::unique_ptr<Node> function(std::string_view name) { return make(NodeCategory::Function, name); }

void connect(Node& from, Node& to, std::size_t input) { from.connectOutput(*to.inputValues()[input]); }

// The type codes of the inputs and, after an arrow, of the output.
std::string codes(const Node& node) {
    std::string text;
    for (const auto* slot : node.inputValues()) text += std::string(slot->typeCode()) + " ";
    return text + "-> " + std::string(node.outputValue()->typeCode());
}

constexpr auto genericCodes = "? [?] * f -> [?]";

}  // namespace

TEST(NodeTest, GenericSlotsTakeOnTheTypeOfAConnectionAndFallBackWithIt) {
    struct Adoption {
        std::size_t input;
        std::string source, codes;
        std::optional<std::string> outputType;
    };
    const Adoption adoptions[] = {
        {0, "Integer", "i [i] i f -> [i]", "Integer array"},     {0, "Vector array", "v [v] v f -> [v]", "Vector array"},
        {1, "Float array", "f [f] [f] f -> [f]", "Float array"}, {1, "Boolean", "b [b] [b] f -> [b]", "Boolean array"},
        {2, "String", "$ [$] $ f -> [$]", "String array"},       {3, "Float", genericCodes, std::nullopt},
    };
    for (const auto& adoption : adoptions) {
        SCOPED_TRACE(adoption.source);
        const auto source = stream(adoption.source);
        const auto node = entry<ProbeFunction>("").make();
        connect(*source, *node, adoption.input);
        EXPECT_EQ(codes(*node), adoption.codes);
        EXPECT_EQ(node->outputType(), adoption.outputType);
        for (std::size_t i = 0; i < 4; ++i) {
            const auto& slot = *node->inputValues()[i];
            EXPECT_TRUE(slot.connectable == (i != adoption.input) && slot.owner == node.get() && slot.index == i);
        }
        ASSERT_EQ(source->connectedInputValues().size(), 1U);
        source->disconnect(*source->connectedInputValues()[0]);
        EXPECT_EQ(codes(*node), genericCodes);
        EXPECT_EQ(node->outputType(), std::nullopt);
        EXPECT_TRUE(node->inputValues()[adoption.input]->connectable);
    }
}

TEST(NodeTest, TypesStayFixedWhileAnyConnectionFixesThem) {
    const auto a = stream("Float"), b = stream("Float"), add = function("Add"), output = make(NodeCategory::VariableOutput, "Float");
    connect(*a, *add, 0);
    connect(*b, *add, 1);
    a->disconnect(*add->inputValues()[0]);
    EXPECT_EQ(codes(*add), "f f -> f");
    connect(*add, *output, 0);
    b->disconnect(*add->inputValues()[1]);
    EXPECT_EQ(codes(*add), "f f -> f") << "the output feeds another node";
    add->disconnect(*output->inputValues()[0]);
    EXPECT_EQ(codes(*add), "* * -> *") << "the upstream node is tested as well";
    EXPECT_FALSE(add->outputValue()->isTyped);
    const auto scale = function("Scale");
    connect(*a, *scale, 1);
    EXPECT_EQ(codes(*scale), "f f -> f");
    a->disconnect(*scale->inputValues()[1]);
    EXPECT_EQ(codes(*scale), "f * -> *") << "behind an input that never was generic";
}

TEST(NodeTest, TwoGenericNodesReportThatNoTypeIsKnown) {
    CapturedDiagnostics captured;
    const auto first = function("Pass-through"), second = function("Pass-through");
    connect(*first, *second, 0);
    const std::vector<std::string> expected(2, "ERROR: unexpected outputType == nil!");
    EXPECT_EQ(captured.lines, expected);
    EXPECT_EQ(codes(*second), "* -> *");
    // The slot that was connected has been replaced once more: the connection leads nowhere.
    EXPECT_TRUE(second->inputValues()[0]->connectable);
    first->outputValue()->setValue(Value(1.0));
    first->forwardOutput();
    EXPECT_FALSE(second->inputValues()[0]->hasValue());
}

TEST(NodeTest, TheOutputTypeOfADocumentFixesAGenericOutput) {
    const auto texts = function("Add");
    texts->setOutputType("String array");
    texts->resolveOutputType();
    EXPECT_EQ(codes(*texts), "[$] [$] -> [$]");
    CapturedDiagnostics captured;
    for (const auto* type : {"float array", "Generic value", ""}) {
        const auto node = function("Add");
        node->setOutputType(type);
        node->resolveOutputType();
        EXPECT_EQ(codes(*node), "* * -> *");
    }
    EXPECT_EQ(captured.lines, std::vector<std::string>(3, "ERROR: setting output type!"));
    const auto equal = function("Equal");
    equal->setOutputType("Float");
    equal->resolveOutputType();
    EXPECT_EQ(equal->outputType(), "Boolean") << "a concrete output has the last word";
}

TEST(NodeTest, ANodeMayFeedItself) {
    const auto node = entry<ProbeFunction>("").make();
    connect(*node, *node, 3);
    EXPECT_EQ(codes(*node), "f [f] f f -> [f]");
    node->outputValue()->setValue(Value(List<double>{1}));
    node->process();
    EXPECT_EQ(node->inputValues()[3]->value(), Value(List<double>{1}));
    node->disconnect(*node->inputValues()[3]);
    EXPECT_EQ(codes(*node), genericCodes);
    const auto other = function("Pass-through");
    other->id = 7;
    other->setProperty("Description", "left foot");
    EXPECT_STOP(connect(*other, *other, 0), "node 7 \\(\"Pass-through\", \"left foot\"\\): .*is not among its node's inputs");
    FloatValue loose;
    EXPECT_STOP(other->connectOutput(loose), "the slot to connect to has no owner");
    EXPECT_STOP(Node().resolveOutputType(), "a node without id .*no output slot");
}

TEST(NodeTest, CompletionConsumesTheInputsAndStampsTheOutput) {
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    for (const auto [a, b, expected] : {Vector{-5, -1, 0}, Vector{2, 7, 7}, Vector{nan, 3, 3}, Vector{3, nan, 3}}) {
        const auto x = stream("Float"), y = stream("Float"), node = function("Add");
        connect(*x, *node, 0);
        connect(*y, *node, 1);
        static_cast<InputStreamNode&>(*x).setValue(1.5, a);
        EXPECT_FALSE(node->allInputsUpdated() || node->allInputsHaveValues());
        static_cast<InputStreamNode&>(*y).setValue(2.0, b);
        EXPECT_TRUE(node->allInputsUpdated() && node->allInputsHaveValues());
        node->process();
        EXPECT_EQ(node->outputValue()->timestamp(), expected);
        EXPECT_FALSE(node->inputValues()[0]->updated() || node->inputValues()[1]->updated());
        node->reset();
        EXPECT_FALSE(node->inputValues()[0]->hasValue());
        EXPECT_EQ(node->outputValue()->value(), Value(3.5));
        EXPECT_EQ(node->outputValue()->timestamp(), 0);
    }
}

TEST(NodeTest, CompletionPassesOnWhatWasWrittenToTheOutput) {
    const auto x = stream("Float"), reader = function("Sine"), node = entry<WritingFunction>("").make();
    connect(*x, *node, 0);
    connect(*node, *reader, 0);
    for (const double value : {1.5, 2.5}) {
        static_cast<InputStreamNode&>(*x).setValue(value, value);
        node->process();
        EXPECT_EQ(reader->inputValues()[0]->value(), Value(2 * value));
        EXPECT_EQ(reader->inputValues()[0]->timestamp(), value);
    }
}

TEST(NodeTest, PropertiesOfEveryCategory) {
    using Properties = std::vector<Property>;
    EXPECT_EQ(function("Add")->getProperties(), Properties{});
    EXPECT_EQ(make(NodeCategory::Constant, "Integer")->getProperties(), (Properties{{"Description", "Integer"}, {"OutputValue", "0"}}));
    const auto input = stream("Float"), output = make(NodeCategory::VariableOutput, "String");
    EXPECT_EQ(input->getProperties(), (Properties{{"Description", "Float"}, {"Forwarding", "true"}}));
    CapturedDiagnostics captured;
    for (const auto* text : {"yes", "True", "1", ""}) {
        static_cast<InputStreamNode&>(*input).setForwarding(true);
        input->setProperty("Forwarding", text);
        output->setProperty("Hidden", text);
        EXPECT_EQ(input->getProperties()[1], (Property{"Forwarding", "false"})) << text;
        EXPECT_EQ(output->getProperties(), (Properties{{"Description", "String"}, {"Hidden", "false"}})) << text;
    }
    output->setProperty("Hidden", "true");
    output->setProperty("Description", "result");
    output->setProperty("Color", "blue");
    EXPECT_EQ(output->getProperties(), (Properties{{"Description", "result"}, {"Hidden", "true"}, {"Color", "blue"}}));
    output->setProperty("Color", "Blue");
    EXPECT_FALSE(output->color);
    EXPECT_TRUE(captured.lines.empty());
    output->setProperty("Forwarding", "true");
    input->setProperty("description", "x");
    EXPECT_EQ(captured.lines, (std::vector<std::string>{"ERROR: unknown propertyName Forwarding!", "ERROR: unknown propertyName description!"}));
    for (const auto color : allBodyColors()) EXPECT_EQ(bodyColorNamed(bodyColorName(color)), color);
}

TEST(VariableOutputNodeTest, PassesOnlyItsTypeAndFeedsNothing) {
    CapturedDiagnostics captured;
    const auto node = make(NodeCategory::VariableOutput, "Float"), next = function("Absolute");
    connect(*node, *next, 0);
    EXPECT_EQ(captured.lines, std::vector<std::string>{"ERROR: cannot connect to the output of a Variable Output node!"});
    EXPECT_TRUE(next->inputValues()[0]->connectable && node->connectedInputValues().empty());
    auto& input = *node->inputValues()[0];
    EXPECT_STOP(node->process(), "evaluated without a value");
    node->outputValue()->setValue(Value(1.0));
    input.setValue(Value(2));
    input.setUpdated(true);
    node->process();
    EXPECT_FALSE(node->outputValue()->hasValue() || input.updated());
}

}  // namespace KelvaneSDK::testing_support
