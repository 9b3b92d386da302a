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
}

}  // namespace KelvaneSDK::testing_support
