#include "KelvaneSDK/FileProcessing/RecordingLine.h"

#include <gtest/gtest.h>

#include <bit>
#include <cstdlib>
#include <random>

#include "KelvaneSDK/FileProcessing/JsonNumber.h"
#include "KelvaneSDK/FileProcessing/NumberText.h"
#include "support/Slots.h"

namespace KelvaneSDK::testing_support {

TEST(QuickLineReader, ReadsWhatTheExactReaderReads) {
    const std::string lines[]{
        R"({"timestamp":1712345678.25,"name":"speed","floatValue":-0.30000000000000004})",
        R"( { "timestamp" : 1e3 , "name" : "né€" , "integerValue" : -9223372036854775808.0 } )",
        "{\"name\":\"\",\"vectorValue\":{\"z\":3,\"y\":-0,\"x\":1.5E-7},\"timestamp\":0}\r",
        R"({"booleanValue":false,"timestamp":-2.5,"name":"a longer name than eight"})",
        R"({"timestamp":7,"name":"q","orientationValue":{"x":0,"y":0.5,"z":1,"w":2}})",
        R"({"timestamp":7,"name":"s","stringValue":"tab	 é \u00e9 \" text"})",
        R"({"timestamp":7,"name":"s","sequenceValue":[{"t":0,"f":1},{"f":2,"t":0.5}]})",
        R"({"timestamp":7,"name":"l","floatArrayValue":[ 1, 2.25 ,3e-20],"x":null})",
        R"({"timestamp":7,"name":"l","integerArrayValue":[1,9007199254740993.0,-0,1e18]})",
        R"({"timestamp":7,"name":"l","booleanArrayValue":[true,false],"stringValue":null})",
        R"({"timestamp":7,"name":"l","vectorArrayValue":[],"floatValue":1})",
        R"({"timestamp":7,"name":"l","orientationArrayValue":[{"w":1,"x":0,"y":0,"z":0}]})",
        R"({"timestamp":7,"name":"l","stringArrayValue":["","a",""]})",
    };
    constexpr std::string_view changes = "{}[]\":,.-+eE0123456789 \\\n\tatxn\x80\xc3\xa9\xff";
    std::mt19937 random(1);
    QuickLineReader quick;
    LineReader exact;
    int accepted = 0;
    for (int round = 0; round < 100000; ++round) {
        std::string line = lines[random() % std::size(lines)];
        for (auto count = random() % 4; count > 0; --count) {
            const auto at = random() % line.size();
            const char c = changes[random() % changes.size()];
            if (random() % 3 == 0)
                line.erase(at, 1);
            else if (random() % 2 == 0)
                line.insert(at, 1, c);
            else
                line[at] = c;
        }
        InputUpdate update, expected;
        Value value = 0.0, expectedValue = 0.0;
        const auto length = quick.read(line, update, value);
        if (length != line.size()) continue;
        ++accepted;
        ASSERT_TRUE(exact.read(line, false, expected, expectedValue)) << line << exact.failure().reason;
        ASSERT_EQ(std::bit_cast<std::uint64_t>(update.timestamp), std::bit_cast<std::uint64_t>(expected.timestamp)) << line;
        ASSERT_EQ(update.name, expected.name) << line;
        ASSERT_EQ(describe(value), describe(expectedValue)) << line;
    }
    EXPECT_GT(accepted, 20000);
}

TEST(JsonNumber, IntegersAreExactHoweverTheyAreSpelled) {
    const std::string zeros(400, '0');
    const std::pair<std::string, std::optional<std::int64_t>> rows[]{
        {"9007199254740993.0", 9007199254740993},
        {"3.0000000000000000001", std::nullopt},
        {"1e3", 1000},
        {"12.5e1", 125},
        {"1200E-2", 12},
        {"1250e-2", std::nullopt},
        {"-9223372036854775808.0", INT64_MIN},
        {"9223372036854775807.000", INT64_MAX},
        {"9223372036854775808", std::nullopt},
        {"922337203685477580.8e1", std::nullopt},
        {"-9223372036854775809e0", std::nullopt},
        {"-0.0e5", 0},
        {"0e99999999999999999999", 0},
        {"1e99999999999999999999", std::nullopt},
        {"1e-99999999999999999999", std::nullopt},
        {"5" + zeros + "e-400", 5},
        {"0." + zeros + "7e401", 7},
        {"01", std::nullopt},
        {"1.", std::nullopt},
        {"1e", std::nullopt},
    };
    for (const auto& [text, expected] : rows) {
        std::int64_t integer = 0;
        const char* const end = text.data() + text.size();
        const bool isRead = readJsonInteger(text.data(), end, integer) == end;
        EXPECT_EQ(isRead ? std::optional(integer) : std::nullopt, expected) << text;
    }
}

TEST(JsonNumber, DoublesAreTheNearestOnes) {
    std::mt19937_64 random(6);
    const auto digits = [&](std::uint64_t count) {
        std::string text;
        while (text.size() < count) text += static_cast<char>('0' + random() % 10);
        return text;
    };
    for (int round = 0; round < 200000; ++round) {
        std::string text = round % 3 == 0 ? "0" : std::to_string(1 + random() % 9) + digits(random() % 18);
        if (round % 2 == 0) text += "." + digits(1 + random() % 22);
        if (round % 5 == 0) text += "e" + std::to_string(static_cast<int>(random() % 60) - 30);
        // Next to the middle between two doubles, where rounding is decided far behind the point.
        if (round % 7 == 0) text = std::to_string((std::uint64_t{1} << 53) + random() % 4096) + ".5" + (round % 2 == 0 ? "" : "00001");
        const auto expected = std::bit_cast<std::uint64_t>(std::strtod(text.c_str(), nullptr));
        ASSERT_EQ(std::bit_cast<std::uint64_t>(parseDouble(text).value()), expected) << text;
        double number = 0;
        const char* const end = text.data() + text.size();
        ASSERT_EQ(readJsonDouble(text.data(), end, number), end) << text;
        ASSERT_EQ(std::bit_cast<std::uint64_t>(number), expected) << text;
    }
}

}  // namespace KelvaneSDK::testing_support
