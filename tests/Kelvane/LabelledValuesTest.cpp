#include <gtest/gtest.h>

#include <map>
#include <random>
#include <string>
#include <tuple>

#include "KelvaneSDK/Kelvane/LabelledValues.h"

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
        switch (random() % 7) {
            case 0:
                ASSERT_EQ(values.emplace(label, value).second, expected.emplace(label, value).second);
                break;
            case 1:
                ASSERT_EQ(values.insert_or_assign(label, value).second, expected.insert_or_assign(label, value).second);
                break;
            case 2:
                ASSERT_EQ(values.erase(label), expected.erase(label));
                break;
            case 3:
                if (values.contains(label)) values.at(label) = expected.at(label) = value;
                break;
            case 4:
                std::tie(values, expected) = [](const Pair& other) { return std::pair(other.values, other.expected); }(one());
                break;
            case 5:
                if (step % 8 == 0) values.clear(), expected.clear();
                break;
            default:
                const auto shared = std::make_shared<Map>(expected);
                values.refill(shared);
                for (const auto& [each, content] : *shared) values.append(each, content);
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
