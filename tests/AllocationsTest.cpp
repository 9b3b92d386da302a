#include <gtest/gtest.h>

#include "KelvaneSDK/KelvaneSDK.h"
#include "support/AllocationCount.h"
#include "support/DiagramDocument.h"
#include "support/Slots.h"

namespace KelvaneSDK::testing_support {

using Floats = List<double>;
using Texts = List<String>;

TEST(Allocations, ScalarsAreCopiedAndForwardedWithoutAny) {
    for (const Value& value : {Value(1.5), Value(2), Value(true), Value(Vector{1, 2, 3}), Value(Orientation{})}) {
        const auto from = slotHolding(value), to = slotHolding(value);
        const long before = allocations();
        const Value copy = value;
        from->setValue(copy);
        to->copyValue(*from);
        const bool same = to->isEqual(*from).value();
        to->setValue(to->negate());
        EXPECT_EQ(allocations(), before) << valueTypeName(value.type());
        EXPECT_TRUE(same);
    }
}

TEST(Allocations, AForwardedListKeepsItsBlock) {
    const long atFirst = allocations();
    const Value list(Sequence(List<Sample>(std::vector<Sample>(100000))));
    EXPECT_EQ(allocations() - atFirst, 2) << "the vector and the list";
    const Sample* const block = list.items<Sample>().data();
    const auto from = slotHolding(list), to = slotHolding(Sequence());
    const long before = allocations();
    const Value copy = list;
    to->copyValue(*from);
    const Value records(copy.as<Sequence>().samples());
    EXPECT_EQ(allocations(), before);
    EXPECT_EQ(to->payload()->items<Sample>().data(), block);
    EXPECT_EQ(records.items<Sample>().data(), block);

    DiagramDocument document;
    document.connect(document.stream("Sequence", "in"), document.output("Sequence", "out"));
    Kelvane engine;
    ASSERT_TRUE(engine.read(document.text(), true));
    EXPECT_EQ(engine.evaluate({1, {{"in", list}}}).outputs.at("out").items<Sample>().data(), block);
}

TEST(Allocations, LabelledValuesAreRefilledWithoutAny) {
    const auto labels = std::make_shared<std::string>("ab");
    LabelledValues values;
    for (int round = 0; round < 3; ++round) {
        const long before = allocations();
        values.refill(labels);
        values.append(std::string_view(*labels).substr(0, 1), round);
        values.append(std::string_view(*labels).substr(1), 1.0);
        EXPECT_EQ(allocations() == before, round > 0);
    }
    const long before = allocations();
    const LabelledValues copy = values;
    EXPECT_EQ(allocations() - before, 1) << "the entries, and no label";
    EXPECT_EQ(copy.begin()->first.data(), labels->data());
}

TEST(ArrayFunctions, AllocateANewListOnceAndNothingElse) {
    const struct {
        std::string_view function;
        std::vector<Value> inputs;
        long expected;
    } cases[]{{"Add to array", {1., Floats{1, 2}}, 1},
              {"Add to array", {"c", Texts{"a", "b"}}, 1},
              {"Insert into array", {1, 1., Floats{1, 2}}, 1},
              {"Remove from array", {1, Floats{1, 2}}, 1},
              {"Combine arrays", {1, Floats{1, 2}, Floats{1, 2}}, 1},
              {"Trim", {1, 2, Floats{1, 2, 3}}, 1},
              {"Trim", {0, 9, Floats{1, 2, 3}}, 0},
              {"Clip", {1., 2., Floats{1, 2, 3}}, 1},
              {"Shift elements", {1., Floats{1, 2, 3}}, 1},
              {"Array absolute", {Floats{1, 2, 3}}, 1},
              {"Get element", {1, Texts{"a", "b"}}, 0},
              {"Maximum", {Floats{1, 2, 3}}, 0}};
    for (const auto& [function, inputs, expected] : cases) {
        const auto node = NodeRegistry::library().find(NodeCategory::Function, function)->make();
        for (std::size_t i = 0; i < inputs.size(); ++i) node->inputValues()[i]->setValue(inputs[i]);
        const long before = allocations();
        node->process();
        EXPECT_EQ(allocations() - before, expected) << function;
    }
}

}  // namespace KelvaneSDK::testing_support
