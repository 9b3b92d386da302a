#include <gtest/gtest.h>

#include "KelvaneSDK/DiagramCheck/NearestName.h"
#include "support/DiagramDocument.h"

namespace KelvaneSDK::testing_support {

TEST(DiagramCheck, PlacesFollowTheTextAndNotTheRecord) {
    // Connections before nodes, a member that comes twice, an escaped name.
    const std::string text =
        "{\"connections\": [{\"outputNodeId\":1,\"inputNodeId\":5,\"inputIndex\":0}],\n"
        " \"nodes\": [{\"id\":3,\"classString\":\"Nobody\",\"typeString\":\"\"}],\n"
        " \"properties\": [], \"positions\": [],\n"
        " \"n\\u006fdes\": [{\"id\":1, \"classString\":\"Input stream\", \"typeString\":\"Float\"},\n"
        "   {\"id\":1, \"classString\":\"Input stream\", \"typeString\":\"Flaot\"}]}";
    const auto findings = checkDiagram(text);
    ASSERT_EQ(findings.size(), 3U);
    EXPECT_EQ(findings[0].code, "connection-unknown-id");
    EXPECT_EQ(findings[0].line, 1U);
    EXPECT_EQ(findings[0].column, 18U);
    EXPECT_EQ(findings[1].code, "duplicate-id");
    EXPECT_EQ(findings[1].line, 5U);
    EXPECT_EQ(findings[1].column, 4U);
    EXPECT_EQ(findings[2].hint, "did you mean \"Float\"?");
}

TEST(DiagramCheck, SuggestsOnlyCloseNames) {
    constexpr std::string_view names[] = {"Add", "Adder", "Moving averager", "Sine"};
    EXPECT_EQ(nearestName("add", names), "Add");
    EXPECT_EQ(nearestName("Addre", names), "Adder");
    EXPECT_EQ(nearestName("moving averger", names), "Moving averager");
    EXPECT_EQ(nearestName("Subtract", names), "");
    EXPECT_EQ(nearestName("", names), "");
    EXPECT_EQ(nearestName(std::string(100000, 'a'), names), "");
}

}  // namespace KelvaneSDK::testing_support
