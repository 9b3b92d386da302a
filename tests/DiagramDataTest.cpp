#include "KelvaneSDK/DiagramData.h"

#include <gtest/gtest.h>

namespace KelvaneSDK::testing_support {

TEST(DiagramDataTest, ReadsNumbersHoweverWrittenAndNullForWhatMayBeMissing) {
    const auto data = DiagramData::decode(R"({"version": 3, "properties": [], "connections": [],
        "nodes": [{"id": 1, "classString": "a", "typeString": "b", "outputType": null}], "positions": [{"id": 3.0, "x": 3, "y": -2.5e1}],
        "containers": null, "manualLines": null, "subdiagrams": null})");
    ASSERT_TRUE(data);
    DiagramInfo expected;
    expected.nodes = {{1, "a", "b", std::nullopt}};
    expected.positions = {{3, 3.0, -25.0}};
    EXPECT_EQ(data->info, expected);

    const auto idOf = [](const std::string& number) {
        const auto document = DiagramData::decode(R"({"properties": [], "connections": [], "positions": [],
            "nodes": [{"id": )" + number + R"(, "classString": "a", "typeString": "b"}]})");
        return document ? std::optional(document->info.nodes.at(0).id) : std::nullopt;
    };
    EXPECT_EQ(idOf("9007199254740993.0"), 9007199254740993);
    EXPECT_EQ(idOf("-9223372036854775808.0"), INT64_MIN);
    EXPECT_EQ(idOf("-0.0"), 0);
    for (const auto number : {"3.0000000000000000001", "9223372036854775808", "1e-400"}) EXPECT_EQ(idOf(number), std::nullopt) << number;
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
