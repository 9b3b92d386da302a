#include "KelvaneSDK/FileProcessing/NumberText.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>

#include "support/Slots.h"

namespace KelvaneSDK::testing_support {

static const double infinity = std::numeric_limits<double>::infinity();

static std::uint64_t bits(double x) { return std::bit_cast<std::uint64_t>(x); }

TEST(DoubleText, IsShortestAndKeepsThePoint) {
    for (const auto text : {"-3.0", "2.5", "-0.0", "0.0001", "9.99e-05", "1e-05", "1000000000000000.0", "1e+16", "9007199254740992.0", "5e-324",
                            "0.30000000000000004", "-inf", "nan"}) {
        EXPECT_EQ(doubleText(std::strtod(text, nullptr)), text);
    }
}

TEST(ParseDouble, TakesNumbersOnly) {
    const std::string zeros(400, '0');
    for (const auto& text : {"INF", "+Infinity", "1e400", "1e99999999999999999999", "0.0000000001e319"})
        EXPECT_EQ(parseDouble(text), infinity) << text;
    EXPECT_EQ(parseDouble("1" + zeros), infinity);
    EXPECT_EQ(parseDouble("0." + zeros + "1e402"), 10);
    for (const auto& text : {"1e-400", "1e-99999999999999999999", "0e99999999999999999999"}) EXPECT_EQ(parseDouble(text), 0) << text;
    EXPECT_TRUE(std::isnan(parseDouble("NaN").value()));
    EXPECT_FALSE(parseDouble(std::string("1\0", 2)));
    for (const auto text : {"", "1 ", " 1", "\t1", "1\n", "0x10", "1,5", "1_000", "1f", "infi", "nan(1)", "-+inf"})
        EXPECT_FALSE(parseDouble(text)) << text;
}

TEST(ParseInteger, TakesIntegersOf64Bits) {
    EXPECT_EQ(parseInteger("-9223372036854775808"), INT64_MIN);
    EXPECT_EQ(parseInteger("+9223372036854775807"), INT64_MAX);
    EXPECT_EQ(parseInteger("-007"), -7);
    for (const auto text : {"9223372036854775808", "-9223372036854775809", "", "+", "-", "+-1", "1.0", "1e3", " 1", "0x1"})
        EXPECT_FALSE(parseInteger(text)) << text;
}

TEST(DoubleText, ReadsBackToTheSameBits) {
    RandomNumbers numbers(2);
    for (int i = 0; i < 50000; ++i) {
        const double x = numbers.number();
        const auto text = doubleText(x);
        ASSERT_EQ(bits(parseDouble(text).value()), bits(x)) << text;
        ASSERT_EQ(bits(std::strtod(text.c_str(), nullptr)), bits(x)) << text;
        char printed[40];
        std::snprintf(printed, sizeof printed, "%g", x);
        ASSERT_EQ(sixDigitText(x), printed);
    }
}

}  // namespace KelvaneSDK::testing_support
