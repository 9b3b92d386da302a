#include <gtest/gtest.h>

#include "KelvaneSDK/KelvaneSDK.h"
#include "support/AllocationCount.h"
#include "support/DiagramDocument.h"
#include "support/Slots.h"

namespace KelvaneSDK::testing_support {

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

}  // namespace KelvaneSDK::testing_support
