#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

// Times as files spell them.

namespace kelvane {

enum class TimeUnit { seconds, milliseconds, microseconds, nanoseconds, date };

/// "s", "ms", "us", "ns", "iso", and the words for these; absent for others.
std::optional<TimeUnit> timeUnitNamed(std::string_view name);

struct Instant {
    double seconds = 0;
    /// Exactly, where it is a whole number of nanoseconds that 64 bits hold.
    std::optional<std::int64_t> nanoseconds = {};
};

/// The nearest double.
double secondsOf(std::int64_t nanoseconds);

/// A number in a unit, or a date and time of ISO 8601 (`2024-05-01T12:00:00.5+02:00`, with a blank for the T;
/// without a zone it is UTC) as seconds since 1970. Absent for what is neither.
std::optional<Instant> readTime(std::string_view text, TimeUnit unit);

/// The unit of a time that has none: dates by their form, and whole numbers that are seconds since 1970 only
/// in a smaller unit by their size. Absent for what is no time.
std::optional<TimeUnit> likelyUnit(std::string_view text);
/// A time in seconds, written so that likelyUnit() takes it for seconds.
std::string timeText(double seconds);

/// Whether a column's title says that it has times, in which unit it may say, too: "time", "Time (s)",
/// "timestamp_ms", "seconds_elapsed".
struct TimeTitle {
    bool isTime = false;
    std::optional<TimeUnit> unit = {};
};
TimeTitle readTimeTitle(std::string_view title);

}  // namespace kelvane
