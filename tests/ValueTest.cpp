#include "KelvaneSDK/Value.h"

#include <gtest/gtest.h>

#include <cmath>

#include "KelvaneSDK/Values/SlotClasses.h"

namespace KelvaneSDK::testing_support {

TEST(Value, EqualsOnlyValuesOfItsOwnTypeAndContent) {
    std::vector<Value> values;
    for (int type = 0; type <= static_cast<int>(ValueType::SampleArray); ++type) values.push_back(defaultValue(static_cast<ValueType>(type)));
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

}  // namespace KelvaneSDK::testing_support
