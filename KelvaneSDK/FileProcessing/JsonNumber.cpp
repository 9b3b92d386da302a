#include "KelvaneSDK/FileProcessing/JsonNumber.h"

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cstring>
#include <system_error>

namespace KelvaneSDK {

namespace {

__extension__ using Wide = unsigned __int128;

bool isDigit(char c) { return c >= '0' && c <= '9'; }

/// A number as it is spelled: its digits without the point, times ten to the power of the exponent.
struct Spelling {
    std::uint64_t digits = 0;
    int exponent = 0;
    bool isNegative = false;
    bool isPlain = true;  ///< neither a point nor an exponent
    bool isShort = true;  ///< the digits fit, and the exponent is known
};

constexpr std::array<std::uint64_t, 9> powersOfTen{1,      10,      100,      1000,     10000,
                                                   100000, 1000000, 10000000, 100000000};

// Eight characters are taken at a time: the digits among them are counted, moved to the end, and added up as
// pairs, fours and eights.
inline const char* scanDigits(const char* at, const char* end, std::uint64_t& digits) {
    if constexpr (std::endian::native == std::endian::little) {
        while (end - at >= 8) {
            constexpr std::uint64_t highHalves = 0xF0F0F0F0F0F0F0F0, zeros = 0x3030303030303030;
            std::uint64_t eight = 0;
            std::memcpy(&eight, at, 8);
            const auto others =
                ((eight & highHalves) ^ zeros) | (((eight + 0x0606060606060606) & highHalves) ^ zeros);
            const int bits = std::countr_zero(others) & ~7;
            if (bits == 0) return at;
            eight = ((eight ^ zeros) << (64 - bits) & 0x0F0F0F0F0F0F0F0F) * 2561 >> 8;
            eight = (eight & 0x00FF00FF00FF00FF) * 6553601 >> 16;
            eight = (eight & 0x0000FFFF0000FFFF) * 42949672960001 >> 32;
            digits = digits * powersOfTen[static_cast<std::size_t>(bits / 8)] + eight;
            at += bits / 8;
            if (bits < 64) return at;
        }
    }
    for (; at < end && isDigit(*at); ++at) digits = digits * 10 + static_cast<std::uint64_t>(*at - '0');
    return at;
}

// The end of the number, or null.
inline const char* scan(const char* at, const char* end, Spelling& number) {
    constexpr std::ptrdiff_t mostDigits = 19, mostExponentDigits = 4;
    number.isNegative = at < end && *at == '-';
    if (number.isNegative) ++at;
    const char* const first = at;
    at = scanDigits(at, end, number.digits);
    auto count = at - first;
    if (count == 0 || (*first == '0' && count > 1)) return nullptr;
    if (at < end && *at == '.') {
        const char* const point = at++;
        at = scanDigits(at, end, number.digits);
        const auto fraction = at - point - 1;
        if (fraction == 0) return nullptr;
        count += fraction;
        number.exponent = -static_cast<int>(std::min<std::ptrdiff_t>(fraction, mostDigits));
        number.isPlain = false;
    }
    number.isShort = count <= mostDigits;
    if (at < end && (*at == 'e' || *at == 'E')) {
        ++at;
        const bool isBelow = at < end && *at == '-';
        if (isBelow || (at < end && *at == '+')) ++at;
        const char* const power = at;
        std::uint64_t exponent = 0;
        at = scanDigits(at, end, exponent);
        if (at == power) return nullptr;
        number.isPlain = false;
        number.isShort = number.isShort && at - power <= mostExponentDigits;
        if (number.isShort)
            number.exponent += isBelow ? -static_cast<int>(exponent) : static_cast<int>(exponent);
    }
    return at;
}

/// The reciprocal of a power of five: 2^(63 + width) / 5^n, rounded down, which has its highest bit set.
/// `width` is the number of bits of 5^n.
struct Reciprocal {
    std::uint64_t digits = 0;
    int width = 0;
};

constexpr int mostDecimals = 27;  // 5^27 is the highest power of five in 64 bits

constexpr auto reciprocals = [] {
    std::array<Reciprocal, mostDecimals + 1> table;
    std::uint64_t power = 1;
    for (std::size_t n = 1; n < table.size(); ++n) {
        power *= 5;
        const int width = 64 - std::countl_zero(power);
        table[n] = {static_cast<std::uint64_t>((Wide{1} << (63 + width)) / power), width};
    }
    return table;
}();

// The double that is nearest to digits / 10^decimals; false when 64 bits do not decide which of two it is.
inline bool divide(std::uint64_t digits, int decimals, double& target) {
    const auto& reciprocal = reciprocals[static_cast<std::size_t>(decimals)];
    const int leading = std::countl_zero(digits);
    // The exact quotient lies in [high, high + 2).
    const auto high = static_cast<std::uint64_t>((Wide{digits << leading} * reciprocal.digits) >> 64);
    const int surplus = high >> 63 != 0 ? 11 : 10;  // bits beyond the 53 of a double
    const std::uint64_t half = std::uint64_t{1} << (surplus - 1), rest = high & (2 * half - 1);
    if (rest == half || rest == half - 1) return false;
    const std::uint64_t mantissa = (high >> surplus) + (rest > half ? 1 : 0);
    const auto exponent =
        static_cast<std::uint64_t>(surplus + 1 - leading - reciprocal.width - decimals + 52 + 1023);
    // A mantissa that was rounded up to 2^53 carries into the exponent.
    target = std::bit_cast<double>((exponent << 52) + (mantissa - (std::uint64_t{1} << 52)));
    return true;
}

}  // namespace

const char* readJsonDouble(const char* begin, const char* end, double& target) {
    Spelling number;
    const char* const rest = scan(begin, end, number);
    if (rest == nullptr) return nullptr;
    bool isKnown = number.isShort && (number.digits == 0 || number.exponent == 0);
    if (isKnown) {
        target = static_cast<double>(number.digits);
    } else if (number.isShort && number.exponent < 0 && number.exponent >= -mostDecimals) {
        isKnown = divide(number.digits, -number.exponent, target);
    }
    if (isKnown) {
        if (number.isNegative) target = -target;
        return rest;
    }
    const auto result = std::from_chars(begin, rest, target);
    return result.ec == std::errc() && result.ptr == rest ? rest : nullptr;
}

const char* readJsonInteger(const char* begin, const char* end, std::int64_t& target) {
    Spelling number;
    const char* const rest = scan(begin, end, number);
    if (rest == nullptr) return nullptr;
    const std::uint64_t limit = (std::uint64_t{1} << 63) - (number.isNegative ? 0 : 1);
    if (number.isPlain && number.isShort && number.digits <= limit) {
        target = static_cast<std::int64_t>(number.isNegative ? 0 - number.digits : number.digits);
        return rest;
    }
    const auto integer = exactInteger({begin, static_cast<std::size_t>(rest - begin)});
    if (!integer) return nullptr;
    target = *integer;
    return rest;
}

std::optional<std::int64_t> exactInteger(std::string_view number) {
    const bool isNegative = number.starts_with('-');
    const std::uint64_t limit = (std::uint64_t{1} << 63) - (isNegative ? 0 : 1);
    const auto power = std::min(number.find_first_of("eE"), number.size());
    const auto point = std::min(number.find('.'), power);
    const auto lastDigit = number.find_last_of("123456789", power - 1);
    if (power == 0 || lastDigit == std::string_view::npos) return 0;

    // The value of the digits up to the last one that is not 0, and what follows as a power of ten.
    std::uint64_t magnitude = 0;
    const auto shift = [&](std::uint64_t digit) {
        if (magnitude > (limit - digit) / 10) return false;
        magnitude = magnitude * 10 + digit;
        return true;
    };
    for (const char c : number.substr(0, lastDigit + 1)) {
        if (isDigit(c) && !shift(static_cast<std::uint64_t>(c - '0'))) return std::nullopt;
    }
    auto exponent = static_cast<std::int64_t>(point) - static_cast<std::int64_t>(lastDigit);
    exponent -= exponent > 0 ? 1 : 0;
    auto written = number.substr(std::min(power + 1, number.size()));
    if (written.starts_with('+')) written.remove_prefix(1);
    std::int64_t added = 0;
    const auto result = std::from_chars(written.data(), written.data() + written.size(), added);
    constexpr std::int64_t farthest = std::int64_t{1} << 62;
    if (result.ec == std::errc::result_out_of_range || added > farthest || added < -farthest)
        return std::nullopt;
    for (exponent += added; exponent > 0; --exponent) {
        if (!shift(0)) return std::nullopt;
    }
    return exponent < 0 ? std::nullopt
                        : std::optional(static_cast<std::int64_t>(isNegative ? 0 - magnitude : magnitude));
}

}  // namespace KelvaneSDK
