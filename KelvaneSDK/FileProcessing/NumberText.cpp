#include "KelvaneSDK/FileProcessing/NumberText.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>

namespace KelvaneSDK {

namespace {

constexpr std::size_t longestDouble = 32;

bool isDigit(char c) { return c >= '0' && c <= '9'; }

bool equalsIgnoringCase(std::string_view text, std::string_view lowerCase) {
    return std::equal(text.begin(), text.end(), lowerCase.begin(), lowerCase.end(),
                      [](char a, char b) { return (a >= 'A' && a <= 'Z' ? a - 'A' + 'a' : a) == b; });
}

// Distinguishes a number too large for a double from one too small, by its decimal magnitude. `digits` is a
// well-formed number without sign that is out of range, so its magnitude is far from 1.
bool isTooLarge(std::string_view digits) {
    const auto exponentAt = digits.find_first_of("eE");
    const auto mantissa = digits.substr(0, exponentAt);
    const auto point = std::min(mantissa.find('.'), mantissa.size());
    const auto first = mantissa.find_first_not_of("0.");
    const auto magnitude = first < point ? static_cast<std::int64_t>(point - first)
                                         : -static_cast<std::int64_t>(first - point - 1);
    if (exponentAt == std::string_view::npos) return magnitude > 0;
    auto exponentText = digits.substr(exponentAt + 1);
    const bool negative = exponentText.front() == '-';
    if (exponentText.front() == '+' || negative) exponentText.remove_prefix(1);
    std::int64_t exponent = 0;
    const auto result =
        std::from_chars(exponentText.data(), exponentText.data() + exponentText.size(), exponent);
    if (result.ec != std::errc()) return !negative;
    return magnitude > (negative ? exponent : -exponent);
}

}  // namespace

void appendDoubleText(std::string& text, double x) {
    if (std::isnan(x)) {
        text += "nan";
        return;
    }
    char buffer[longestDouble];
    const double magnitude = std::fabs(x);
    const bool plain = magnitude == 0 || (magnitude >= 1e-4 && magnitude < 1e16);
    const auto format = plain ? std::chars_format::fixed : std::chars_format::scientific;
    const auto end = std::to_chars(buffer, buffer + sizeof buffer, x, format).ptr;
    text.append(buffer, end);
    if (plain && std::find(buffer, end, '.') == end) text += ".0";
}

std::string doubleText(double x) {
    std::string text;
    appendDoubleText(text, x);
    return text;
}

std::string sixDigitText(double x) {
    if (std::isnan(x)) return "nan";
    char buffer[longestDouble];
    return {buffer, std::to_chars(buffer, buffer + sizeof buffer, x, std::chars_format::general, 6).ptr};
}

std::optional<double> parseDouble(std::string_view text) {
    const bool negative = !text.empty() && text.front() == '-';
    if (negative || (!text.empty() && text.front() == '+')) text.remove_prefix(1);
    if (text.empty()) return std::nullopt;
    double magnitude = 0;
    if (isDigit(text.front()) || text.front() == '.') {
        const auto result = std::from_chars(text.data(), text.data() + text.size(), magnitude);
        if (result.ptr != text.data() + text.size()) return std::nullopt;
        if (result.ec == std::errc::result_out_of_range) {
            magnitude = isTooLarge(text) ? std::numeric_limits<double>::infinity() : 0.0;
        } else if (result.ec != std::errc()) {
            return std::nullopt;
        }
    } else if (equalsIgnoringCase(text, "inf") || equalsIgnoringCase(text, "infinity")) {
        magnitude = std::numeric_limits<double>::infinity();
    } else if (equalsIgnoringCase(text, "nan")) {
        magnitude = std::numeric_limits<double>::quiet_NaN();
    } else {
        return std::nullopt;
    }
    return negative ? -magnitude : magnitude;
}

std::optional<std::int64_t> parseInteger(std::string_view text) {
    // from_chars takes a minus sign but no plus sign.
    if (text.size() > 1 && text.front() == '+' && isDigit(text[1])) text.remove_prefix(1);
    std::int64_t value = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    if (text.empty() || result.ec != std::errc() || result.ptr != text.data() + text.size())
        return std::nullopt;
    return value;
}

std::optional<bool> parseBoolean(std::string_view text) {
    if (text == "true") return true;
    if (text == "false") return false;
    return std::nullopt;
}

}  // namespace KelvaneSDK
