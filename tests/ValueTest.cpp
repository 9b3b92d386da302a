#include "KelvaneSDK/Value.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <cstdlib>
#include <new>

#include "support/DiagramDocument.h"
#include "support/Slots.h"

// Counts the allocations of the whole test program.
static std::atomic<long> allocations = 0;

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    ++allocations;
    return std::malloc(size == 0 ? 1 : size);
}
void* operator new(std::size_t size) {
    if (void* block = operator new(size, std::nothrow)) return block;
    throw std::bad_alloc();
}
void operator delete(void* block) noexcept { std::free(block); }
void operator delete(void* block, std::size_t) noexcept { std::free(block); }

namespace KelvaneSDK::testing_support {

static std::vector<Value> oneOfEach() {
    RandomPayloads payloads(6);
    payloads.onlyFinite = true;
    auto values = payloads.values();
    values.insert(values.end(), {List<Sequence>{Sequence{{0, 1}}, Sequence()}, List<Sample>{{0, 1}}});
    return values;
}

TEST(Value, EqualsOnlyValuesOfItsOwnTypeAndContent) {
    const auto values = oneOfEach();
    for (std::size_t i = 0; i < values.size(); ++i) {
        EXPECT_EQ(values[i].type(), static_cast<ValueType>(i));
        for (std::size_t j = 0; j < values.size(); ++j) EXPECT_EQ(values[i] == values[j], i == j);
    }
    EXPECT_FALSE(Value(1) == Value(1.0));
    EXPECT_FALSE(Value(std::nan("")) == Value(std::nan("")));
    EXPECT_FALSE(Value("caf\u00e9") == Value("cafe\u0301")) << "bytes count, unlike in a slot's isEqual()";
    EXPECT_FALSE(Value(List<double>{1, 2}) == Value(List<double>{1, 2, 3}));
    EXPECT_EQ(Value(std::string("a\0b", 3)).as<String>().view().size(), 3u);
}

TEST(ValueDeathTest, GivesItsPayloadOnlyAsItsOwnType) {
    EXPECT_EQ(Value(std::uint8_t{7}).get<std::int64_t>(), 7);
    EXPECT_EQ(Value(7).get<double>(), std::nullopt);
    EXPECT_TRUE(Value(7).items<double>().empty());
    EXPECT_DEATH(Value(7).as<double>(), "^FATAL: a value of type Integer was read as Float\n$");
}

TEST(Value, SurvivesEveryAssignment) {
    for (const Value& from : oneOfEach()) {
        for (const Value& to : oneOfEach()) {
            Value copied = to, moved = to, source = from;
            copied = from;
            moved = std::move(source);
            EXPECT_TRUE(copied == from && moved == from);
            source = to;
            const Value& alias = copied;
            copied = alias;
            EXPECT_TRUE(source == to && copied == from);
        }
    }
}

TEST(Allocations, ScalarsAreCopiedAndForwardedWithoutAny) {
    for (const Value& value : oneOfEach()) {
        if (value.type() >= ValueType::String) break;
        const auto from = slotHolding(value), to = slotHolding(value);
        const long before = allocations;
        const Value copy = value;
        from->setValue(copy);
        to->copyValue(*from);
        const bool same = to->isEqual(*from).value();
        to->setValue(to->negate());
        EXPECT_EQ(allocations, before) << valueTypeName(value.type());
        EXPECT_TRUE(same);
    }
}

TEST(Allocations, AForwardedListKeepsItsBlock) {
    const long atFirst = allocations;
    const Value list(Sequence(List<Sample>(std::vector<Sample>(100000))));
    EXPECT_EQ(allocations - atFirst, 2) << "the vector and the list";
    const Sample* const block = list.items<Sample>().data();
    const auto from = slotHolding(list), to = slotHolding(Sequence());
    const long before = allocations;
    const Value copy = list;
    to->copyValue(*from);
    const Value records(copy.as<Sequence>().samples());
    EXPECT_EQ(allocations, before);
    EXPECT_EQ(to->payload()->items<Sample>().data(), block);
    EXPECT_EQ(records.items<Sample>().data(), block);

    DiagramDocument document;
    document.connect(document.stream("Sequence", "in"), document.output("Sequence", "out"));
    Kelvane engine;
    ASSERT_TRUE(engine.read(document.text(), true));
    EXPECT_EQ(engine.evaluate({1, {{"in", list}}}).outputs.at("out").items<Sample>().data(), block);
}

}  // namespace KelvaneSDK::testing_support
