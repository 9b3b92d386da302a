#include "KelvaneSDK/Value.h"

#include <gtest/gtest.h>

#include <cmath>

#include "support/DiagramDocument.h"
#include "support/Slots.h"

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

}  // namespace KelvaneSDK::testing_support
