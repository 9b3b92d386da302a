#include "KelvaneSDK/NodeClass.h"

#include <gtest/gtest.h>

#include "KelvaneSDK/FunctionRows.h"
#include "KelvaneSDK/Nodes/InputStreamNode.h"
#include "KelvaneSDK/Nodes/VariableOutputNode.h"
#include "support/DiagramDocument.h"
#include "support/Stops.h"

namespace KelvaneSDK::testing_support {

namespace {

class NamelessFunction final : public FunctionNode {};

// An application's own absolute value, which returns 42.
class OwnFunction final : public FunctionNode {
public:
    void createInputs() override { appendInput(ValueClass::FloatValue, "x"); }
    void createOutput() override { makeOutput(ValueClass::FloatValue); }
    void setTypeString() override { typeString = "Absolute"; }
    void process() override { finish(42.0); }
};

// A class that declares itself.
class DeclaredFunction final : public FunctionNode {
public:
    static Declaration declaration() {
        return {.name = "Absolute", .inputs = {{"x", ValueClass::FloatValue}}, .output = ValueClass::FloatValue, .description = "always 43"};
    }
    void process() override { finish(43.0); }
};

// Has more inputs than there may be.
class WideFunction final : public FunctionNode {
public:
    static Declaration declaration() { return {.name = "Wide", .inputs = std::vector<InputDeclaration>(9, {"x"})}; }
};

// Neither of these has the slots that its category needs.
class EmptyStream final : public InputStreamNode {};
class EmptyOutput final : public VariableOutputNode {};

}  // namespace

TEST(NodeRegistryTest, EveryFunctionIsNamedDescribedAndLabelled) {
    const auto& functions = NodeRegistry::library().classes(NodeCategory::Function);
    std::size_t listed = 0;
    for (const auto& family : functionFamilies()) {
        for (const auto& nodeClass : family.classes) {
            const auto node = nodeClass.make();
            SCOPED_TRACE(node->typeString);
            ++listed;
            EXPECT_EQ(functions.at(std::string(node->typeString)).family, family.title) << "another family has the name, too";
            EXPECT_FALSE(nodeClass.description().empty());
            EXPECT_EQ(node->label(), node->typeString);
            ASSERT_NE(node->outputValue(), nullptr);
            EXPECT_FALSE(node->inputValues().empty());
            for (const auto* slot : node->inputValues()) EXPECT_TRUE(slot->label != nullptr && *slot->label != '\0' && !slot->hasValue());
        }
    }
    EXPECT_EQ(functions.size(), listed) << "two classes bear one name";
}

TEST(NodeRegistryTest, AnApplicationMayBringClassesOfItsOwn) {
    auto document = DiagramDocument::chain("Absolute");
    Kelvane own, other;
    const auto resultIn = [&](Kelvane& engine) {
        engine.read(document.text(), true);
        return engine.evaluate({1, {{"x", -1.0}}}).outputs.at("y");
    };
    own.registerNodes(functionFamily("Own", {pure(
                                                "Absolute", {{"x"}}, [](double x) { return x * 4; }, "four times x")}));
    EXPECT_EQ(resultIn(own), Value(-4.0));
    own.registerNodes(functionFamily("Own", {entry<DeclaredFunction>()}));
    EXPECT_EQ(resultIn(own), Value(43.0));
    own.registerNodes(functionFamily("Own", {entry<OwnFunction>("always 42")}));
    EXPECT_EQ(resultIn(own), Value(42.0));
    EXPECT_EQ(resultIn(other), Value(1.0));
    EXPECT_EQ(own.nodeTypes().find(NodeCategory::Function, "Absolute")->family, "Own");
    EXPECT_STOP(own.registerNodes(functionFamily("Own", {entry<NamelessFunction>("")})), "class of the family \"Own\" has no type string");
    EXPECT_STOP(own.registerNodes(functionFamily("Own", {entry<WideFunction>()})), "class \"Wide\" declares more than 8 inputs");
    EXPECT_STOP(own.registerNodes({NodeCategory::InputStream, "Own", {entry<EmptyStream>("")}}), "no output slot");
    EXPECT_STOP(own.registerNodes({NodeCategory::VariableOutput, "Own", {entry<EmptyOutput>("")}}), "no input slot");
    own.registerNodes({NodeCategory::InputStream, "Own", {entry<OwnFunction>("")}});
    document.add("Input stream", "Absolute");
    EXPECT_STOP(own.read(document.text(), true), "must be an InputStreamNode");
}

}  // namespace KelvaneSDK::testing_support
