#include "KelvaneSDK/FileProcessing/JsonWriter.h"

#include <gtest/gtest.h>

namespace KelvaneSDK::testing_support {

template <class T>
static std::string written(const T& content) {
    std::string text;
    JsonWriter(text).value(content);
    return text;
}

TEST(JsonWriter, WritesValidTextWhateverTheBytes) {
    const std::pair<std::string, std::string_view> rows[]{
        {"caf\u00e9 \U0001f600 \x7f/", "\"caf\u00e9 \U0001f600 \x7f/\""},
        {"\"\\\b\f\n\r\t", R"("\"\\\b\f\n\r\t")"},
        {std::string("\0\x1f", 2), R"("\u0000\u001f")"},
        {"a\xff\u00e9\x80\n", "\"a\uFFFD\u00e9\uFFFD\\n\""},
        {"\xe2\x82", "\"\uFFFD\uFFFD\""},                      // cut short
        {"\xed\xa0\x80", "\"\uFFFD\uFFFD\uFFFD\""},            // a surrogate
        {"\xf4\x90\x80\x80", "\"\uFFFD\uFFFD\uFFFD\uFFFD\""},  // past U+10FFFF
    };
    for (const auto& [bytes, expected] : rows) EXPECT_EQ(written(std::string_view(bytes)), expected);
}

}  // namespace KelvaneSDK::testing_support
