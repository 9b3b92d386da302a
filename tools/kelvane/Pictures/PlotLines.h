#pragma once

#include <span>
#include <string>

// Values over time as lines and bands that stay small however many there are: of each column of pixels, the
// first, least, largest and last value are drawn, so that nothing is smoothed away and no spike is lost.

namespace kelvane {

/// Where a panel is, in the picture's units, and what it shows.
struct PlotFrame {
    double left = 0, top = 0, width = 0, height = 0;
    /// Times at the left and the right end, values at the lower and the upper.
    double from = 0, to = 0, least = 0, most = 0;

    double x(double time) const;
    double y(double value) const;
};

/// The longest time between two values that is no gap: a few times what is usual in the series.
double longestPause(std::span<const double> times);

/// What is drawn of a line, as data of SVG paths.
struct PlotLine {
    std::string line;
    /// Values by themselves, as lines without a length; all of them where there is space.
    std::string points;
};

/// How a line runs from one value to the next.
enum class PlotJoin {
    straight,
    /// It keeps the value, and jumps at the next.
    steps,
};

/// The line ends and begins anew where values are missing: at NaN and infinities, at pauses that are longer,
/// and where time goes back.
PlotLine plotLine(const PlotFrame& frame, std::span<const double> times, std::span<const double> values,
                  double pause, PlotJoin join);

/// A stretch of time in which a value stays the same.
struct PlotSpan {
    double from = 0, to = 0, value = 0;
};

/// Calls `take(PlotSpan)` for every stretch, which ends at the next other value, or, before a gap, as much
/// later than its last value as values usually are apart.
template <class Take>
void forEachSpan(std::span<const double> times, std::span<const double> values, double pause,
                 const Take& take) {
    // longestPause() is at least five times what is usual.
    const double usual = pause < 1e300 ? pause / 5 : 0;
    PlotSpan span;
    bool isOpen = false;
    for (std::size_t i = 0; i < times.size(); ++i) {
        const bool isMissing = values[i] != values[i];
        const bool isContinued = isOpen && times[i] >= span.to && times[i] - span.to <= pause;
        if (isContinued) span.to = times[i];
        if (isOpen && isContinued && values[i] == span.value) continue;
        if (isOpen) {
            if (!isContinued) span.to += usual;
            take(span);
        }
        isOpen = !isMissing;
        span = {times[i], times[i], values[i]};
    }
    if (!isOpen) return;
    span.to += usual;
    take(span);
}

/// What a band shows: where booleans are true, where they are true and false within one column of pixels, and
/// where there are any, as data of SVG paths that are filled.
struct PlotBand {
    std::string trues, mixed, known;
};

PlotBand plotBand(const PlotFrame& frame, std::span<const double> times, std::span<const double> values,
                  double pause);

}  // namespace kelvane
