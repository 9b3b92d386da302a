#include "TimeText.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <utility>
#include <vector>

#include "ValueText.h"

namespace kelvane {

namespace {

constexpr std::int64_t perSecond = 1'000'000'000;

int powerOf(TimeUnit unit) { return unit == TimeUnit::date ? 0 : 3 * static_cast<int>(unit); }

bool isDigit(char c) { return c >= '0' && c <= '9'; }

/// The nanoseconds that decimal digits with a point say; absent when they are no whole number of 64 bits.
std::optional<std::int64_t> exactNanoseconds(std::string_view text, int power) {
    const bool isNegative = text.starts_with('-');
    if (isNegative) text.remove_prefix(1);
    std::int64_t number = 0;
    int scale = power;
    bool isBehindPoint = false;
    const auto append = [&](int digit) {
        if (number > (std::numeric_limits<std::int64_t>::max() - digit) / 10) return false;
        number = number * 10 + digit;
        return true;
    };
    for (const char c : text) {
        if (c == '.') {
            isBehindPoint = true;
        } else if (!isDigit(c) || !append(c - '0')) {
            return std::nullopt;
        } else {
            scale += isBehindPoint;
        }
    }
    for (; scale < 9; ++scale) {
        if (!append(0)) return std::nullopt;
    }
    if (scale > 9) return std::nullopt;
    return isNegative ? -number : number;
}

/// Days since 1970-01-01 in the Gregorian calendar.
std::int64_t daysSince1970(int year, int month, int day) {
    // A year that begins in March ends with the day that is not always there.
    const int y = month <= 2 ? year - 1 : year;
    const int era = (y >= 0 ? y : y - 399) / 400;
    const int yearOfEra = y - era * 400;
    const int dayOfYear = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
    const int dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
    return std::int64_t{era} * 146097 + dayOfEra - 719468;
}

/// Reads a text from its beginning.
class Scanner {
public:
    explicit Scanner(std::string_view text) : rest(text) {}

    bool take(std::string_view anyOf) {
        if (rest.empty() || anyOf.find(rest.front()) == std::string_view::npos) return false;
        last = rest.front();
        rest.remove_prefix(1);
        return true;
    }
    /// Exactly so many digits, of a number up to `most`.
    std::optional<int> number(std::size_t digits, int least, int most) {
        int value = 0;
        const auto text = rest.substr(0, digits);
        if (text.size() < digits || !std::all_of(text.begin(), text.end(), isDigit)) return std::nullopt;
        std::from_chars(text.data(), text.data() + digits, value);
        rest.remove_prefix(digits);
        return value >= least && value <= most ? std::optional(value) : std::nullopt;
    }
    /// The nanoseconds of a fraction's digits; those behind the ninth are rounded away.
    std::int64_t fraction() {
        std::int64_t value = 0, digit = perSecond / 10;
        for (; !rest.empty() && isDigit(rest.front()); rest.remove_prefix(1), digit /= 10)
            value += digit * (rest.front() - '0');
        return value;
    }
    bool isAtEnd() const { return rest.empty(); }
    char taken() const { return last; }

private:
    std::string_view rest;
    char last = '\0';
};

std::optional<Instant> readDate(std::string_view text) {
    Scanner scanner(text);
    const auto year = scanner.number(4, 1, 9999);
    if (!year || !scanner.take("-")) return std::nullopt;
    const auto month = scanner.number(2, 1, 12);
    if (!month || !scanner.take("-")) return std::nullopt;
    const auto day = scanner.number(2, 1, 31);
    if (!day) return std::nullopt;
    std::int64_t seconds = daysSince1970(*year, *month, *day) * 86400, nanoseconds = 0;
    if (!scanner.isAtEnd()) {
        if (!scanner.take("Tt ")) return std::nullopt;
        const auto hour = scanner.number(2, 0, 24);
        if (!hour || !scanner.take(":")) return std::nullopt;
        const auto minute = scanner.number(2, 0, 59);
        if (!minute) return std::nullopt;
        seconds += *hour * 3600 + *minute * 60;
        if (scanner.take(":")) {
            const auto second = scanner.number(2, 0, 60);
            if (!second) return std::nullopt;
            seconds += *second;
            if (scanner.take(".,")) nanoseconds = scanner.fraction();
        }
        if (scanner.take("+-")) {
            const int sign = scanner.taken() == '-' ? -1 : 1;
            const auto hours = scanner.number(2, 0, 23);
            if (!hours) return std::nullopt;
            scanner.take(":");
            const auto minutes = scanner.isAtEnd() ? std::optional(0) : scanner.number(2, 0, 59);
            if (!minutes) return std::nullopt;
            seconds -= sign * (*hours * 3600 + *minutes * 60);
        } else {
            scanner.take("Zz");
        }
    }
    if (!scanner.isAtEnd()) return std::nullopt;
    constexpr std::int64_t most = std::numeric_limits<std::int64_t>::max() / perSecond - 1;
    if (seconds < -most || seconds > most) return Instant{static_cast<double>(seconds)};
    const auto exact = seconds * perSecond + nanoseconds;
    return Instant{secondsOf(exact), exact};
}

/// "Time [ms]" as its words in small letters, "time" and "ms".
std::vector<std::string> wordsOf(std::string_view title) {
    std::vector<std::string> words;
    bool isNew = true;
    for (const char c : inSmallLetters(title)) {
        const bool separates = std::string_view(" _-.()[]/:").find(c) != std::string_view::npos;
        if (!separates && isNew) words.emplace_back();
        if (!separates) words.back() += c;
        isNew = separates;
    }
    return words;
}

}  // namespace

std::optional<TimeUnit> timeUnitNamed(std::string_view name) {
    constexpr std::pair<std::string_view, TimeUnit> names[]{
        {"s", TimeUnit::seconds},
        {"sec", TimeUnit::seconds},
        {"secs", TimeUnit::seconds},
        {"second", TimeUnit::seconds},
        {"seconds", TimeUnit::seconds},
        {"ms", TimeUnit::milliseconds},
        {"msec", TimeUnit::milliseconds},
        {"milliseconds", TimeUnit::milliseconds},
        {"millis", TimeUnit::milliseconds},
        {"us", TimeUnit::microseconds},
        {"\u00b5s", TimeUnit::microseconds},
        {"\u03bcs", TimeUnit::microseconds},
        {"usec", TimeUnit::microseconds},
        {"microseconds", TimeUnit::microseconds},
        {"micros", TimeUnit::microseconds},
        {"ns", TimeUnit::nanoseconds},
        {"nsec", TimeUnit::nanoseconds},
        {"nanoseconds", TimeUnit::nanoseconds},
        {"nanos", TimeUnit::nanoseconds},
        {"iso", TimeUnit::date},
        {"iso8601", TimeUnit::date},
        {"utc", TimeUnit::date},
    };
    for (const auto& [known, unit] : names) {
        if (known == name) return unit;
    }
    return std::nullopt;
}

double secondsOf(std::int64_t nanoseconds) {
    // By the reader of decimals, which rounds once.
    const auto text = std::to_string(nanoseconds) + "e-9";
    double seconds = 0;
    std::from_chars(text.data(), text.data() + text.size(), seconds);
    return seconds;
}

std::optional<Instant> readTime(std::string_view text, TimeUnit unit) {
    text = withoutBlanks(text);
    if (unit == TimeUnit::date) return readDate(text);
    const auto number = numberOf(text);
    if (!number) return std::nullopt;
    if (text.starts_with('+')) text.remove_prefix(1);
    const int power = powerOf(unit);
    Instant instant{*number, exactNanoseconds(text, power)};
    if (power > 0) {
        const bool hasExponent = text.find_first_of("eE") != std::string_view::npos;
        const auto shifted = numberOf(std::string(text) + "e-" + std::to_string(power));
        instant.seconds = hasExponent || !shifted ? *number / std::pow(10, power) : *shifted;
    }
    return instant;
}

std::optional<TimeUnit> likelyUnit(std::string_view text) {
    text = withoutBlanks(text);
    if (readDate(text)) return TimeUnit::date;
    const auto number = numberOf(text);
    if (!number) return std::nullopt;
    const bool isWhole = std::all_of(text.begin(), text.end(), isDigit);
    if (!isWhole || *number < 1e11) return TimeUnit::seconds;
    return *number < 1e14   ? TimeUnit::milliseconds
           : *number < 1e17 ? TimeUnit::microseconds
                            : TimeUnit::nanoseconds;
}

std::string timeText(double seconds) {
    auto text = numberText(seconds);
    return likelyUnit(text) == TimeUnit::seconds ? text : text + ".0";
}

TimeTitle readTimeTitle(std::string_view title) {
    constexpr std::array<std::string_view, 13> names{
        "time",         "timestamp",    "t",    "date",  "datetime",  "date time",     "elapsed",
        "elapsed time", "time elapsed", "unix", "epoch", "unix time", "unix timestamp"};
    auto words = wordsOf(title);
    const auto isUnit = [](const std::string& word) { return timeUnitNamed(word).has_value(); };
    const auto word = std::find_if(words.begin(), words.end(), isUnit);
    TimeTitle found;
    if (word != words.end()) {
        found.unit = timeUnitNamed(*word);
        // "UTC" says the zone of a date, and of a number nothing.
        if (*word == "utc") found.unit.reset();
        found.isTime = words.size() == 1 && word->size() > 3;
        words.erase(word);
    }
    std::string name;
    for (const auto& part : words) name += (name.empty() ? "" : " ") + part;
    found.isTime |= std::find(names.begin(), names.end(), name) != names.end();
    return found;
}

}  // namespace kelvane
