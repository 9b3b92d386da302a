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

}  // namespace KelvaneSDK::testing_support
