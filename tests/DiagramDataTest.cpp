#include "KelvaneSDK/DiagramData.h"

#include <gtest/gtest.h>

namespace KelvaneSDK::testing_support {

namespace {

struct DecodeCase {
    std::string name;
    std::string text;
    /// The JSON pointer of the culprit; absent when the text is a document.
    std::optional<std::string> pointer;
};

// The smallest document with some of its members replaced.
std::string document(std::string_view nodes = "[]", std::string_view connections = "[]", std::string_view positions = "[]",
                     std::string_view others = "") {
    std::string text = R"({"properties": [], "nodes": )";
    return text.append(nodes)
        .append(R"(, "connections": )")
        .append(connections)
        .append(R"(, "positions": )")
        .append(positions)
        .append(others)
        .append("}");
}

class DecodeTest : public testing::TestWithParam<DecodeCase> {};

}  // namespace

TEST_P(DecodeTest, AcceptsOrNamesTheCulprit) {
    DecodeFailure failure;
    const auto data = DiagramData::decode(GetParam().text, &failure);
    EXPECT_EQ(data.has_value(), !GetParam().pointer);
    EXPECT_EQ(failure.pointer, GetParam().pointer.value_or("")) << failure.reason;
    EXPECT_EQ(failure.reason.empty(), data.has_value());
}

INSTANTIATE_TEST_SUITE_P(
    DiagramData, DecodeTest,
    testing::Values(
        DecodeCase{"Smallest", document(), std::nullopt}, DecodeCase{"UnknownKeys", document("[]", "[]", "[]", R"(, "version": 3)"), std::nullopt},
        DecodeCase{"NullOptionals",
                   document(R"([{"id": 1, "classString": "a", "typeString": "b", "outputType": null}])", "[]", "[]",
                            R"(, "containers": null, "manualLines": null, "subdiagrams": null)"),
                   std::nullopt},
        DecodeCase{"Empty", "", ""}, DecodeCase{"Array", "[]", ""},

        DecodeCase{"MissingPositions", R"({"nodes":[],"properties":[],"connections":[]})", "/positions"},

        DecodeCase{"ObjectForAList", document("{}"), "/nodes"},

        DecodeCase{"NumberForAText", document(R"([{"id": 1, "classString": 2, "typeString": "b"}])"), "/nodes/0/classString"},
        DecodeCase{"IdTooLarge", document(R"([{"id": 9223372036854775808, "classString": "", "typeString": ""}])"), "/nodes/0/id"},
        DecodeCase{"FractionForAnInteger", document("[]", R"([{"outputNodeId": 1, "inputNodeId": 2, "inputIndex": 1.5}])"),
                   "/connections/0/inputIndex"},
        DecodeCase{"TextForANumber", document("[]", "[]", R"([{"id": 1, "x": 0, "y": 0}, {"id": 1, "x": "3", "y": 0}])"), "/positions/1/x"},
        DecodeCase{"NumberAsManualLine", document("[]", "[]", "[]", R"(, "manualLines": ["a", 1])"), "/manualLines/1"},
        DecodeCase{"NestedContainerWithoutIds", document("[]", "[]", "[]", R"(, "containers": [{"x": 0, "y": 0, "description": "", "nodeIds": [],
                            "containers": [{"x": 0, "y": 0, "description": ""}]}])"),
                   "/containers/0/containers/0/nodeIds"}),
    [](const auto& test) { return test.param.name; });

TEST(DiagramDataTest, ReadsIntegersHoweverWritten) {
    const auto data = DiagramData::decode(document("[]", "[]", R"([{"id": 3.0, "x": 3, "y": -2.5e1}])"));
    ASSERT_TRUE(data);
    EXPECT_EQ(data->info.positions, (std::vector<PositionInfo>{{3, 3.0, -25.0}}));
    EXPECT_FALSE(data->info.containers || data->info.manualLines || data->info.subdiagrams);
}

TEST(DiagramDataTest, WhatIsWrittenReadsBackEqual) {
    const auto nested = [](std::string name, std::vector<ContainerInfo> inner) {
        return ContainerInfo{0.1, -2, std::move(name), {1, 2}, std::nullopt, std::move(inner)};
    };
    DiagramData data;
    EXPECT_EQ(DiagramData::decode(data.encode())->info, data.info);
    data.info.nodes = {{-1, "Function", "Add", "Float"}, {INT64_MAX, "Constant", "String", std::nullopt}};
    data.info.properties = {{-1, "Description", "\"quoted\" \n \\ \x01 é"}};
    data.info.connections = {{1, 2, 3}};
    data.info.positions = {{1, 1e-300, 123456789.123456789}};
    data.info.containers = {{nested("a", {nested("b", {nested("c", {}), nested("d", {})}), nested("e", {})}), {1, 2, "f", {}, "red", std::nullopt}}};
    data.info.manualLines = {{"", "line"}};
    data.info.subdiagrams = {{{"main", {1, 2}}, {"empty", {}}}};
    EXPECT_EQ(DiagramData::decode(data.encode())->info, data.info);
}

}  // namespace KelvaneSDK::testing_support
