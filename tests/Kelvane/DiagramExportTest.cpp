#include <gtest/gtest.h>

#include <cmath>

#include <limits>

#include "KelvaneSDK/Nodes/VariableOutputNode.h"
#include "support/DiagramDocument.h"
#include "support/Stops.h"

namespace KelvaneSDK::testing_support {

namespace {

// One node of every category, out of the order of categories, with everything that a document can say.
DiagramDocument everything() {
    DiagramDocument document;
    const auto output = document.output("Float", "sum"), add = document.function("Add"), x = document.stream("Float", "x"),
               c = document.constant("Float", "2.5", "c");
    document.connect(x, add, 0);
    document.connect(x, output);
    document.connect(c, add, 1);
    document.connect(add, output);
    document.property(add, "Color", "orange");
    document.property(output, "Hidden", "true");
    document.data.info.positions[1] = {add, 12.25, -3};
    document.data.info.containers = {{{1, 2, "box", {add}, "red", {{{3, 4, "inner", {c}, std::nullopt, {{{5, 6, "core", {x}, "blue", {}}}}}}}}}};
    document.data.info.manualLines = {{"first", "second"}};
    document.data.info.subdiagrams = {{{"main", {x, c, add, output}}, {"again", {add}}}};
    return document;
}

}  // namespace

TEST(DiagramExportTest, AnEmptyEngineExportsTheDefaultSubdiagram) {
    DiagramInfo expected;
    expected.containers.emplace();
    expected.manualLines.emplace();
    expected.subdiagrams = {{{"[0]", {}}}};
    Kelvane engine;
    EXPECT_EQ(DiagramData::decode(engine.createJSON())->info, expected);
    EXPECT_TRUE(engine.getConstants().empty() && engine.getManualLines().empty());
}

TEST(DiagramExportTest, NumbersTheNodesByCategoryAndWritesThemAll) {
    Kelvane engine;
    engine.read(everything().text(), true);
    const auto text = engine.createJSON();
    DiagramInfo expected;
    expected.nodes = {
        {0, "Constant", "Float", {}}, {1, "Input stream", "Float", {}}, {2, "Function", "Add", "Float"}, {3, "Variable output", "Float", {}}};
    expected.properties = {{0, "Description", "c"}, {0, "OutputValue", "2.5"}, {1, "Description", "x"}, {1, "Forwarding", "false"},
                           {2, "Color", "orange"},  {3, "Description", "sum"}, {3, "Hidden", "true"}};
    expected.connections = {{0, 2, 1}, {1, 2, 0}, {1, 3, 0}, {2, 3, 0}};
    expected.positions = {{0, 0, 0}, {1, 0, 0}, {2, 12.25, -3}, {3, 0, 0}};
    expected.containers = {
        {{1, 2, "box", {2}, "red", {{{3, 4, "inner", {0}, std::nullopt, {{{5, 6, "core", {1}, "blue", std::vector<ContainerInfo>()}}}}}}}}};
    expected.manualLines = {{"first", "second"}};
    expected.subdiagrams = {{{"main", {1, 0, 2, 3}}, {"again", {2}}}};
    EXPECT_EQ(DiagramData::decode(text)->info, expected);
    EXPECT_EQ(engine.nodeList(NodeCategory::VariableOutput)[0]->id, 3) << "the live nodes keep the new ids";
    Kelvane again;
    ASSERT_TRUE(again.read(text, true));
    EXPECT_EQ(again.createJSON(), text);
    again.setVariableOutputHidden("sum", false);
    EXPECT_EQ(again.evaluate({1, {{"x", 4.0}}}).outputs, (LabelledValues{{"sum", 6.5}}));
}

TEST(DiagramExportTest, ADocumentIsTheSameHoweverItIsSpelled) {
    const auto whole = [](std::string_view manual, std::string_view id, std::string_view rest) {
        return "\n{ \"manualLines\" : [" + std::string(manual) + "],\t\"positions\":[{\"y\":-0,\"x\":1e1,\"id\":" + std::string(id) +
               "}],\r\n\"connections\":[],\"properties\":[],\"nodes\":[]" + std::string(rest) + "}\n ";
    };
    DiagramInfo expected;
    expected.positions = {{3, 10, -0.0}};
    expected.manualLines = {{"ü/"}};
    for (const auto& text :
         {whole("\"ü/\"", "3", ""), whole("\"\\u00fc\\/\"", "3", ""), whole("\"ü/\"", "30e-1", ""), whole("\"ü/\"", "3.0", ",\"containers\":null"),
          whole("\"ü/\"", "3", ",\"more\":[{}]"), whole("\"ü/\"", "4,\"id\":3", ",\"manualLines\":[\"ü/\"]")}) {
        const auto decoded = DiagramData::decode(text);
        ASSERT_TRUE(decoded) << text;
        EXPECT_EQ(decoded->info, expected) << text;
        EXPECT_TRUE(std::signbit(decoded->info.positions[0].y)) << text;
    }
    for (const auto& text : {whole("\"\xc3(\"", "3", ""), whole("", "03", ""), whole("", "3.5", ""), whole("", "3", ",\"nodes\":1"),
                             whole("1", "3", ""), whole("", "3", "") + ",", whole("", "\"3\"", "")})
        EXPECT_FALSE(DiagramData::decode(text)) << text;
}

TEST(DiagramExportTest, EditsReachEveryNodeOfTheLabel) {
    DiagramDocument document;
    for (const auto* label : {"b", "a", "b"}) document.stream("Float", label), document.constant("Float", "1", label);
    document.constant("Integer", "1", "b");
    for (const auto* label : {"v", "w", "v"}) document.output("Vector", label);
    Kelvane engine;
    engine.read(document.text(), true);
    EXPECT_EQ(engine.getInputStreams(), (std::vector<std::string>{"b", "a", "b"}));
    EXPECT_EQ(engine.getVariableOutputs(), (std::vector<VariableOutputDescription>{{"v", "Vector"}, {"w", "Vector"}, {"v", "Vector"}}));
    CapturedDiagnostics captured;
    engine.setConstant("b", 9);
    engine.setConstant("unknown", 9);
    engine.setInputStreamForwarding("unknown", true);
    engine.setInputStreamForwarding("b", true);
    EXPECT_TRUE(captured.lines.empty());
    EXPECT_EQ(engine.getConstants(), (std::vector<ConstantDescription>{{"b", 1.0}, {"a", 1.0}, {"b", 1.0}, {"b", 9}}));
    engine.setConstant("b", 5.0);
    EXPECT_EQ(engine.getConstants(), (std::vector<ConstantDescription>{{"b", 5.0}, {"a", 1.0}, {"b", 5.0}, {"b", 9}}));
    EXPECT_EQ(engine.evaluate({1, {{"a", 1.0}, {"b", 2.0}}}).outputs, (LabelledValues{{"b", 2.0}}));
    engine.setVariableOutputHidden("v", true);
    for (const auto& node : engine.nodeList(NodeCategory::VariableOutput)) {
        EXPECT_EQ(dynamic_cast<VariableOutputNode&>(*node).hidden(), node->label() == "v");
    }
}

TEST(DiagramExportTest, StopsAtWhatADocumentCannotSay) {
    Kelvane engine;
    engine.read(everything().text(), true);
    engine.nodeList(NodeCategory::Function)[0]->position.x = std::numeric_limits<double>::infinity();
    EXPECT_NE(engine.createJSON().find("\"x\": null"), std::string::npos) << "JSON has no infinity";
    const auto loose = NodeRegistry::library().find(NodeCategory::Function, "Absolute")->make();
    engine.nodeList(NodeCategory::Function)[0]->connectOutput(*loose->inputValues()[0]);
    EXPECT_STOP(engine.createJSON(), "a node without id .*: the node has no id");
    engine.nodeList(NodeCategory::InputStream)[0]->setDescriptionString({});
    EXPECT_STOP(engine.evaluate({1, {}}), "node 1 \\(\"Float\"\\): the node has no label");
}

}  // namespace KelvaneSDK::testing_support
