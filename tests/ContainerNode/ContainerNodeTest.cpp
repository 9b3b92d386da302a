#include "KelvaneSDK/ContainerNode/ContainerNode.h"
#include "KelvaneSDK/Values/ScalarVariables.h"

#include <gtest/gtest.h>

#include "support/DiagramDocument.h"
#include "support/Stops.h"

namespace KelvaneSDK::testing_support {

namespace {

std::unique_ptr<Node> make(NodeCategory category, std::string_view typeString, std::int64_t id, double y = 0) {
    auto node = NodeRegistry::library().find(category, typeString)->make();
    node->id = id;
    node->position.y = y;
    return node;
}

using Slots = std::vector<const TimestampedVariable*>;
Slots ports(const Node& node) { return {node.inputValues().begin(), node.inputValues().end()}; }

class ContainerTest : public testing::Test {
protected:
    // Two additions below one another, the lower one first in the document.
    std::unique_ptr<Node> low = make(NodeCategory::Function, "Add", 4, 300);
    std::unique_ptr<Node> high = make(NodeCategory::Function, "Add", 7, 100);
    std::unique_ptr<Node> output = make(NodeCategory::VariableOutput, "Float", 9);
    Container container;

    ContainerTest() {
        for (auto* node : {low.get(), high.get()}) {
            node->setOutputType("Float");
            node->resolveOutputType();
        }
        container.setDescriptionString("Sensors");
        container.nodes = {low.get(), high.get()};
    }
};

}  // namespace

TEST_F(ContainerTest, PresentsFreeInputsFromTopToBottom) {
    container.updatePorts();
    const auto upper = high->inputValues(), lower = low->inputValues();
    EXPECT_EQ(ports(container), (Slots{upper[0], upper[1], lower[0], lower[1]}));
    EXPECT_EQ(container.outputValue(), low->outputValue()) << "the first node that feeds nothing";

    low->connectOutput(*upper[1]);
    container.containers.push_back(std::make_unique<Container>());
    container.containers[0]->nodes = {high.get()};
    container.updatePorts();
    EXPECT_EQ(ports(*container.containers[0]), ports(*high)) << "a nested one has ports of its own";
    EXPECT_EQ(ports(container), (Slots{upper[0], lower[0], lower[1]}));
    EXPECT_EQ(container.outputValue(), high->outputValue()) << "the other feeds inside only";
}

TEST_F(ContainerTest, ConnectsByTheNodeWhoseOutputItPresents) {
    container.updatePorts();
    auto& slot = *output->inputValues()[0];
    // The inside changes without the container being notified: what it presents decides.
    low->connectOutput(*high->inputValues()[1]);
    container.connectOutput(slot);
    EXPECT_EQ(low->connectedInputValues().back(), &slot);
    EXPECT_TRUE(high->connectedInputValues().empty());
    EXPECT_EQ(container.outputValue(), low->outputValue()) << "it feeds outside";
    EXPECT_EQ(container.connectedInputValues().back(), &slot);
    EXPECT_EQ(container.inputValues().size(), 3U);
    container.disconnect(slot);
    EXPECT_TRUE(slot.connectable && container.connectedInputValues().empty());
    EXPECT_EQ(container.outputValue(), high->outputValue()) << "the other feeds inside only";
}

// The presented slots are numbered within their own nodes.
TEST_F(ContainerTest, KeepsToItsPortsWhenASlotIsReplaced) {
    const auto generic = make(NodeCategory::Function, "Scale", 8, 200);
    container.nodes = {high.get(), generic.get()};
    container.updatePorts();
    container.specializeGenericTypes(ValueClass::FloatValue);
    EXPECT_EQ(container.inputValues()[3]->typeCode(), "f");
    EXPECT_EQ(container.inputValues()[1], high->inputValues()[1]);
    EXPECT_EQ(generic->inputValues()[1]->typeCode(), "*");
}

TEST_F(ContainerTest, StopsWithoutContents) {
    EXPECT_STOP(container.initialize(), "init\\(\\) has not been implemented for Container class");
    EXPECT_STOP(Container().updatePorts(), "holds no node that could provide its output");
    low->connectOutput(*high->inputValues()[0]);
    high->connectOutput(*low->inputValues()[0]);
    EXPECT_STOP(container.updatePorts(), "\"Sensors\" holds no node");
    low->id.reset();
    EXPECT_STOP(container.getContainerInfo(), "a node without id .* needs an id");
}

}  // namespace KelvaneSDK::testing_support
