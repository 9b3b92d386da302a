#include "Pictures/AxisTicks.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>

namespace kelvane {

namespace {

constexpr double day = 86400;

/// 1, 2 or 5 times a power of ten.
double roundStep(double least) {
    const double power = std::pow(10, std::floor(std::log10(least)));
    for (const double factor : {1.0, 2.0, 5.0}) {
        if (factor * power >= least * (1 - 1e-9)) return factor * power;
    }
    return 10 * power;
}

std::string fixedText(double number, double step) {
    std::array<char, 400> text{};
    const int digits = std::max(0, static_cast<int>(-std::floor(std::log10(step) + 1e-9)));
    std::snprintf(text.data(), text.size(), "%.*f", std::min(digits, 300), std::abs(number));
    const std::string digitsOnly = text.data();
    const bool isZero = digitsOnly.find_first_not_of("0.") == std::string::npos;
    return number < 0 && !isZero ? "−" + digitsOnly : digitsOnly;
}

std::string superscript(int number) {
    constexpr std::array<const char*, 10> digits = {"⁰", "¹", "²", "³", "⁴", "⁵", "⁶", "⁷", "⁸", "⁹"};
    std::string text = number < 0 ? "⁻" : "";
    for (const char c : std::to_string(std::abs(number))) text += digits[static_cast<std::size_t>(c - '0')];
    return text;
}

template <class Label>
std::vector<AxisTick> ticksBetween(double least, double most, double step, const Label& label) {
    std::vector<AxisTick> ticks;
    const double first = std::ceil(least / step - 1e-9), last = std::floor(most / step + 1e-9);
    // Counted in whole numbers, for large ones do not grow by 1.
    const int count = static_cast<int>(std::min(last - first, 1000.0));
    for (int i = 0; i <= count; ++i) ticks.push_back({(first + i) * step, label((first + i) * step)});
    return ticks;
}

std::string dateText(std::int64_t days) {
    const std::chrono::year_month_day date{std::chrono::sys_days{std::chrono::days{days}}};
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%04d-%02u-%02u", static_cast<int>(date.year()),
                  static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()));
    return text.data();
}

std::string dateText(double seconds) {
    return dateText(static_cast<std::int64_t>(std::floor(seconds / day)));
}

/// "12:30", or "12:30:05.25" where the step needs it.
std::string timeOfDay(double seconds, double step) {
    // A tick lies a little beside the time that it stands for.
    const double ofDay =
        std::fmod(std::round((seconds - std::floor(seconds / day) * day) / step) * step, day);
    const auto minutes = static_cast<int>(std::floor(ofDay / 60 + 1e-9));
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%02d:%02d", minutes / 60, minutes % 60);
    if (step >= 60) return text.data();
    const auto ofMinute = fixedText(std::abs(ofDay - minutes * 60), step);
    return text.data() + std::string(ofMinute.size() == 1 || ofMinute[1] == '.' ? ":0" : ":") + ofMinute;
}

AxisTicks dateTicks(double from, double to, double mostTicks) {
    constexpr std::array<double, 19> steps = {1,   2,    5,    10,   15,    30,    60,    120, 300,    600,
                                              900, 1800, 3600, 7200, 10800, 21600, 43200, day, 2 * day};
    const double least = (to - from) / mostTicks;
    double step = least < 1 ? roundStep(least) : day * roundStep(std::max(least / day, 1.0));
    for (const double candidate : steps) {
        if (least < 1 || candidate < least) continue;
        step = candidate;
        break;
    }
    const auto firstDay = dateText(from), lastDay = dateText(to);
    auto ticks = ticksBetween(from, to, step, [&](double time) {
        const bool isDay = std::fmod(time, day) == 0;
        return step >= day || isDay
                   ? dateText(time).substr(firstDay.substr(0, 4) == lastDay.substr(0, 4) ? 5 : 0)
                   : timeOfDay(time, step);
    });
    return {std::move(ticks), "UTC, " + firstDay + (firstDay == lastDay ? "" : " to " + lastDay)};
}

}  // namespace

AxisTicks numberTicks(double least, double most, double mostTicks) {
    const double step = roundStep((most / 2 - least / 2) / mostTicks * 2);
    const double size = std::max(std::abs(least), std::abs(most));
    constexpr double narrow = 1e-4, large = 1e6, small = 1e-3;
    if (step < size * narrow) {
        // What all have in common stands beside the axis.
        const double base = step * 100, common = std::floor((least / 2 + most / 2) / base) * base;
        auto ticks =
            ticksBetween(least, most, step, [&](double number) { return fixedText(number - common, step); });
        return {std::move(ticks), "+ " + fixedText(common, base)};
    }
    int exponent = 0;
    if (size >= large || size < small) exponent = static_cast<int>(std::floor(std::log10(size) / 3)) * 3;
    const double factor = std::pow(10, -exponent);
    auto ticks = ticksBetween(least, most, step, [&](double number) {
        return fixedText(exponent == 0 ? number : number * factor, exponent == 0 ? step : step * factor);
    });
    return {std::move(ticks), exponent == 0 ? "" : "×10" + superscript(exponent)};
}

bool areDates(double from, double to) {
    constexpr double year1990 = 631152000, year2100 = 4102444800;
    return from >= year1990 && to <= year2100;
}

AxisTicks timeTicks(double from, double to, double mostTicks) {
    if (areDates(from, to)) return dateTicks(from, to, mostTicks);
    struct Unit {
        double seconds, longest;
        const char* name;
    };
    constexpr std::array<Unit, 4> units = {
        {{1, 1200, "seconds"}, {60, 3 * 3600, "minutes"}, {3600, 3 * day, "hours"}, {day, HUGE_VAL, "days"}}};
    for (const auto& unit : units) {
        if (to - from > unit.longest) continue;
        auto axis = numberTicks(from / unit.seconds, to / unit.seconds, mostTicks);
        for (auto& tick : axis.ticks) tick.place *= unit.seconds;
        axis.caption = axis.caption.empty() ? unit.name : axis.caption + " " + unit.name;
        return axis;
    }
    return {};
}

}  // namespace kelvane
