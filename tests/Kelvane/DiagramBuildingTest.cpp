#include <gtest/gtest.h>

#include <algorithm>
#include <array>

#include "KelvaneSDK/Kelvane/EngineState.h"
#include "support/DiagramDocument.h"
#include "support/Stops.h"

namespace KelvaneSDK::testing_support {

namespace {

using Lines = std::vector<std::string>;
using Ids = std::vector<std::int64_t>;

template <class Nodes>
Ids idsOf(const Nodes& nodes) {
    Ids ids;
    for (const auto& node : nodes) ids.push_back(node->id.value());
    return ids;
}

}  // namespace

TEST(DiagramBuildingTest, UnknownTypesEndTheBuildingAndKeepTheNodesBefore) {
    CapturedDiagnostics captured;
    Kelvane engine;
    engine.read(DiagramDocument::chain("Absolute").text(), true);
    EXPECT_FALSE(engine.read("{}", true));
    EXPECT_EQ(engine.getInputStreams(), Lines{"x"}) << "nothing has changed";
    auto document = DiagramDocument::chain("Absolute");
    document.function("absolute");
    EXPECT_FALSE(engine.read(document.text(), true));
    EXPECT_EQ(idsOf(engine.nodeList(NodeCategory::Function)), Ids{2});
    EXPECT_TRUE(engine.evaluate({1, {{"x", 1.0}}}).outputs.empty()) << "nothing was connected";
    document = DiagramDocument::chain("Absolute");
    document.add("function", "Absolute");
    EXPECT_FALSE(engine.read(document.text(), false));
    EXPECT_EQ(captured.lines,
              (Lines{"ERROR: failed to decode kelvane data!", "ERROR: typeString absolute for classString Function not found!",
                     "ERROR: failed to process diagram info", "ERROR: classString function not found!", "ERROR: failed to process diagram info"}));
    EXPECT_EQ(idsOf(engine.nodeList(NodeCategory::Function)), (Ids{6, 2})) << "the old one made room";
    EXPECT_TRUE(engine.read(DiagramDocument::chain("Absolute").text(), true));
    EXPECT_EQ(engine.evaluate({1, {{"x", -1.0}}}).outputs, (LabelledValues{{"y", 1.0}}));
}

TEST(DiagramBuildingTest, ChecksReportInOrder) {
    CapturedDiagnostics captured;
    auto document = DiagramDocument::chain("Absolute");
    document.function("Add");
    document.function("Updated");
    document.connect(1, 5);
    document.data.info.containers = {{{5, 6, "box", {9, 2}, "cyan", {{{0, 0, "inner", {8, 1}, "Cyan", {}}}}}}};
    document.data.info.subdiagrams = {{{"main", {3, 77, 1}}, {"rest", {1}}}};
    document.property(2, "Description", "first");
    document.property(2, "Size", "3");
    document.property(2, "Description", "last");
    document.data.info.positions.push_back({2, 8, 9});
    Kelvane engine;
    EXPECT_TRUE(engine.read(document.text(), true));
    EXPECT_EQ(captured.lines,
              (Lines{"ERROR: unknown propertyName Size!", "ERROR: wrong id 9 for container!", "ERROR: wrong id 8 for container!",
                     "ERROR: unknown nodeId 77", "ERROR: node 2 not contained in subdiagram!!", "ERROR: node 4 not contained in subdiagram!!",
                     "ERROR: node 5 not contained in subdiagram!!", "ERROR: nodes detected that are not contained in subdiagram!",
                     "WARNING: unconnected functions!", "WARNING: unconnected functions!"}));
    const Node& twiceTold = *engine.nodeList(NodeCategory::Function)[0];
    EXPECT_EQ(twiceTold.label(), "last");
    EXPECT_EQ(twiceTold.position.y, 9);
    const Container& box = *EngineState::of(engine).containers[0];
    EXPECT_EQ(idsOf(box.nodes), Ids{2});
    EXPECT_EQ(box.color, BodyColor::cyan);
    EXPECT_EQ(box.containers[0]->color, std::nullopt);
    EXPECT_EQ(idsOf(engine.getSubdiagrams()[0].nodes), (Ids{3, 1}));
}

TEST(DiagramBuildingTest, AppendingRenumbersTheOldNodesAboveTheDocument) {
    Kelvane engine;
    auto old = DiagramDocument::chain("Absolute");
    old.constant("Float", "2", "c");
    old.data.info.manualLines = {"old"};
    engine.read(old.text(), true);
    EXPECT_FALSE(engine.getAddedNodes());
    auto added = DiagramDocument::chain("Absolute");
    added.data.info.nodes[0].id = added.data.info.positions[0].id = 50;
    added.data.info.connections[0].outputNodeId = 50;
    added.data.info.properties[0].id = added.data.info.properties[1].id = 50;
    added.data.info.properties[0].valueString = "added";
    added.data.info.manualLines = {"new"};
    added.data.info.subdiagrams = {{{"ignored", {2}}}};
    EXPECT_TRUE(engine.read(added.text(), false));
    EXPECT_EQ(idsOf(engine.nodeList(NodeCategory::Constant)), Ids{51});
    EXPECT_EQ(idsOf(engine.nodeList(NodeCategory::InputStream)), (Ids{52, 50}));
    EXPECT_EQ(idsOf(engine.getFunctionNodes()), (Ids{53, 2}));
    EXPECT_EQ(idsOf(engine.nodeList(NodeCategory::VariableOutput)), (Ids{54, 3}));
    EXPECT_EQ(idsOf(*engine.getAddedNodes()), (Ids{50, 2, 3}));
    EXPECT_EQ(engine.getManualLines(), Lines{"new"});
    ASSERT_EQ(engine.getSubdiagrams().size(), 1U);
    EXPECT_EQ(engine.getSubdiagrams()[0].nodes.size(), 4U);
    EXPECT_EQ(engine.evaluate({1, {{"added", -3.0}}}).outputs, (LabelledValues{{"y", 3.0}}));
    EXPECT_TRUE(engine.read(DiagramDocument().text(), false));
    EXPECT_EQ(idsOf(engine.nodeList(NodeCategory::Constant)), Ids{1}) << "an empty document leaves room for id 0";
    added.data.info.nodes[0].id = INT64_MAX - 6;
    EXPECT_STOP(engine.read(added.text(), false), "leave no room for the present nodes");
}

TEST(DiagramBuildingTest, RecordsFindTheirNodesInAnyOrderAndWithAnyIds) {
    auto document = DiagramDocument::chain("Add");
    document.connect(document.constant("Float", "2"), 2, 1);
    document.property(2, "Color", "red");
    document.property(2, "Color", "blue");
    auto& info = document.data.info;
    info.positions = {{2, 1, 5}, {77, 7, 7}, {4, 8, 9}, {2, 3, 5}, {1, 6, 6}};
    std::rotate(info.properties.begin(), info.properties.begin() + 2, info.properties.end());
    const auto renumber = [](std::int64_t& id) { id = std::array<std::int64_t, 5>{0, 900, -5, 7, 31}.at(static_cast<std::size_t>(id % 77)); };
    for (auto& node : info.nodes) renumber(node.id);
    for (auto& property : info.properties) renumber(property.id);
    for (auto& position : info.positions) renumber(position.id);
    for (auto& connection : info.connections) renumber(connection.outputNodeId), renumber(connection.inputNodeId);
    Kelvane engine;
    ASSERT_TRUE(engine.read(document.text(), true));
    const Node& add = *engine.nodeList(NodeCategory::Function)[0];
    EXPECT_EQ(add.position, (Position{3, 5})) << "the last one counts";
    EXPECT_EQ(add.color, BodyColor::blue);
    EXPECT_EQ(engine.nodeList(NodeCategory::Constant)[0]->position, (Position{8, 9}));
    EXPECT_EQ(engine.nodeList(NodeCategory::VariableOutput)[0]->position, Position());
    EXPECT_EQ(engine.evaluate({1, {{"x", 1.0}}}).outputs, (LabelledValues{{"y", 3.0}}));
}

TEST(DiagramBuildingTest, LinksStreamsToTheFirstOutputOfTheirLabel) {
    DiagramDocument document;
    for (const auto* label : {"a", "b"}) document.stream("Float", label);
    for (const auto* label : {"a", "c", "a"}) document.output("Float", label);
    Kelvane engine;
    engine.read(document.text(), true);
    engine.read(DiagramDocument().text(), false);  // which counts anew
    std::string found;
    for (const auto& node : engine.nodeList(NodeCategory::InputStream)) {
        found += dynamic_cast<InputStreamNode&>(*node).linked ? "linked " : "free ";
    }
    for (const auto& node : engine.nodeList(NodeCategory::VariableOutput)) {
        const auto& output = dynamic_cast<VariableOutputNode&>(*node);
        found += std::to_string(output.numLinks) + (output.duplications ? " doubled " : " single ");
    }
    EXPECT_EQ(found, "linked free 1 doubled 0 single 0 doubled ");
}

TEST(DiagramBuildingTest, TheFirstNodeOfAnIdIsMeant) {
    auto document = DiagramDocument::chain("Absolute");
    document.constant("Float", "-4", "c");
    document.data.info.nodes[3].id = document.data.info.properties.back().id = 1;
    Kelvane engine;
    engine.read(document.text(), true);
    EXPECT_EQ(engine.evaluate({1, {}}).outputs, (LabelledValues{{"y", 4.0}})) << "constants come before streams";
}

TEST(DiagramBuildingTest, StopsAtAnInputThatTheNodeDoesNotHave) {
    for (const std::int64_t index : {1, -1}) {
        auto document = DiagramDocument::chain("Absolute");
        document.connect(1, 2, index);
        EXPECT_STOP(Kelvane().read(document.text(), true), "node 2 .*connection names input -?1; the node has 1 input");
    }
}

TEST(DiagramBuildingTest, LoadingChecksAndRefusesBySeverity) {
    const auto changed = [](auto change) {
        auto document = DiagramDocument::chain("Absolute");
        change(document);
        return document.text();
    };
    const struct {
        std::string text;
        Severity refuseFrom;
        std::vector<std::string> codes;
        bool isBuilt;
        std::vector<std::string> lines;
    } cases[]{
        {changed([](auto&) {}), Severity::warning, {}, true, {}},
        {changed([](auto& d) { d.property(2, "Color", "mauve"); }), Severity::error, {"unknown-color"}, true, {}},
        {changed([](auto& d) { d.property(2, "Color", "mauve"); }), Severity::warning, {"unknown-color"}, false, {}},
        {changed([](auto& d) { d.property(2, "Size", "3"); }), Severity::fatal, {"unknown-property"}, true, {"ERROR: unknown propertyName Size!"}},
        {changed([](auto& d) { d.property(2, "Size", "3"); }), Severity::error, {"unknown-property"}, false, {}},
        {changed([](auto& d) { d.connect(1, 77); }), Severity::fatal, {"connection-unknown-id"}, false, {}},
        {DiagramDocument::chain("Absolut").text(), Severity::fatal, {"unknown-type"}, false, {}},
        {"{}", Severity::fatal, {"undecodable"}, false, {}},
        {"[", Severity::fatal, {"undecodable"}, false, {}},
        {"x: Float [not forwarded]\ny: Float = Absolute(x)", Severity::warning, {}, true, {}},
        {"x: Float [not forwarded]\ny: Float = Absolute(x | #7)", Severity::fatal, {"undecodable"}, false, {}},
        {"x: Float [not forwarded]\ny: Float = Absolute(x)\nz = Absolute(x)", Severity::warning, {"output-unused"}, false, {}},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.text);
        CapturedDiagnostics captured;
        Kelvane engine;
        ASSERT_TRUE(engine.read(DiagramDocument::chain("Negate").text(), true));
        const auto loaded = engine.load(row.text, true, row.refuseFrom);
        std::vector<std::string> codes;
        for (const auto& finding : loaded.findings) {
            codes.push_back(finding.code);
            EXPECT_GT(finding.line, 0U);
        }
        EXPECT_EQ(codes, row.codes);
        EXPECT_EQ(loaded.isBuilt, row.isBuilt);
        EXPECT_EQ(captured.lines, row.lines);
        EXPECT_EQ(engine.evaluate({1, {{"x", 1.0}}}).outputs, (LabelledValues{{"y", row.isBuilt ? 1.0 : -1.0}}))
            << "a document that is refused leaves the diagram as it is";
    }
}

TEST(DiagramBuildingTest, AConnectionToAnUnknownIdIsRetriedWithoutEnd) {
    auto document = DiagramDocument::chain("Absolute");
    document.connect(2, 99);
    struct Enough {};
    const CapturedDiagnostics restoresTheSink;
    setDiagnosticSink([count = 0](std::string_view line) mutable {
        EXPECT_EQ(line, "ERROR: wrong id(s) for connection with outputNodeId 2 and inputNodeId 99!");
        if (++count == 10000) throw Enough();
    });
    EXPECT_THROW(Kelvane().read(document.text(), true), Enough);
}

}  // namespace KelvaneSDK::testing_support
