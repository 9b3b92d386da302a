#include <gtest/gtest.h>

#include <map>
#include <random>
#include <string>

#include "KelvaneSDK/Kelvane/KelvaneRecords.h"

namespace KelvaneSDK::testing_support {

TEST(LabelledValues, BehavesAsAMapDoes) {
    using Map = std::map<std::string, Value, std::less<>>;
    struct Pair {
        LabelledValues values;
        Map expected;
    };
    std::vector<Pair> pairs(4);
    std::mt19937 random(1);
    const auto one = [&]() -> Pair& { return pairs[random() % pairs.size()]; };
    for (int step = 0; step < 20000; ++step) {
        auto& [values, expected] = one();
        const std::string label(random() % 40, static_cast<char>('a' + random() % 5));
        const Value value = step % 2 == 0 ? Value(step) : Value("text " + std::to_string(step));
        switch (random() % 9) {
            case 0:
            case 1:
                ASSERT_EQ(values.emplace(label, value).second, expected.emplace(label, value).second);
                break;
            case 2:
            case 3:
                ASSERT_EQ(values.insert_or_assign(label, value).second, expected.insert_or_assign(label, value).second);
                break;
            case 4:
            case 5:
                ASSERT_EQ(values.erase(label), expected.erase(label));
                break;
            case 6:
                ASSERT_EQ(values.contains(label), expected.contains(label));
                if (values.contains(label)) values.at(label) = expected.at(label) = value;
                break;
            case 7: {
                const auto& [others, otherExpected] = one();
                values = others;
                expected = otherExpected;
                break;
            }
            default:
                if (step % 8 == 0) {
                    values.clear();
                    expected.clear();
                } else if (step % 8 == 1) {
                    const auto shared = std::make_shared<Map>(expected);
                    values.refill(shared);
                    for (const auto& [each, content] : *shared) values.append(each, content);
                } else {
                    const LabelledValues moved = std::move(values);
                    values = moved;
                }
        }
        for (const auto& pair : pairs) {
            ASSERT_TRUE(std::equal(pair.values.begin(), pair.values.end(), pair.expected.begin(), pair.expected.end(),
                                   [](const auto& a, const auto& b) { return a.first == b.first && a.second == b.second; }));
            ASSERT_EQ(pair.values == values, pair.expected == expected);
        }
    }
}

TEST(LabelledValues, StopsAtAnUnknownLabel) {
    LabelledValues values{{"b", 1.0}, {"a", 2}, {"b", "later"}};
    EXPECT_EQ(values, (LabelledValues{{"a", 2}, {"b", 1.0}}));
    values["c"] = true;
    EXPECT_EQ(values.at("c"), Value(true));
    EXPECT_DEATH(values.at("d"), "FATAL: no value is labelled \"d\"");
}

}  // namespace KelvaneSDK::testing_support
