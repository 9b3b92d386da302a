#include "Pictures/PlotLines.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <utility>
#include <vector>

#include "Pictures/Markup.h"

namespace kelvane {

namespace {

/// What a line shows in one column of pixels.
struct PixelColumn {
    std::int64_t place = 0;
    std::size_t count = 0;
    double firstX = 0, lastX = 0;
    double first = 0, last = 0, least = 0, most = 0;
    /// Nothing joins it to what was before.
    bool beginsAnew = true;

    void add(double x, double value) {
        if (count++ == 0) {
            firstX = x;
            first = least = most = value;
        }
        lastX = x;
        last = value;
        least = std::min(least, value);
        most = std::max(most, value);
    }
};

std::string point(double x, double y) { return pictureNumber(x) + " " + pictureNumber(y); }

/// Writes columns as the data of a path.
class LinePath {
public:
    LinePath(const PlotFrame& chosen, PlotJoin chosenJoin, bool showsPoints)
        : frame(chosen), join(chosenJoin), hasAllPoints(showsPoints) {}

    void take(const PixelColumn& column) {
        if (column.count == 0) return;
        if (column.beginsAnew) endPiece();
        const double x = column.count > 2 ? (column.firstX + column.lastX) / 2 : column.firstX;
        moveTo(x, column.first, column.beginsAnew);
        lastX = x, lastValue = column.first;
        isAlone = column.beginsAnew && column.count == 1;
        if (column.count == 1) {
            if (hasAllPoints && !column.beginsAnew) addPoint();
            return;
        }
        if (column.count == 2) {
            if (hasAllPoints && !column.beginsAnew) addPoint();
            moveTo(column.lastX, column.last, false);
            lastX = column.lastX, lastValue = column.last;
            if (hasAllPoints) addPoint();
            return;
        }
        // The nearer end first.
        const bool isLow = column.first - column.least < column.most - column.first;
        for (const double value :
             {isLow ? column.least : column.most, isLow ? column.most : column.least, column.last}) {
            if (value == lastValue) continue;
            drawn.line += "V" + pictureNumber(frame.y(value));
            lastValue = value;
        }
    }

    PlotLine finish() {
        endPiece();
        return std::move(drawn);
    }

private:
    void moveTo(double x, double value, bool isStart) {
        if (isStart) {
            drawn.line += "M" + point(x, frame.y(value));
            if (hasAllPoints) drawn.points += "M" + point(x, frame.y(value)) + "h0";
        } else if (join == PlotJoin::steps) {
            drawn.line += "H" + pictureNumber(x);
            if (value != lastValue) drawn.line += "V" + pictureNumber(frame.y(value));
        } else {
            drawn.line += "L" + point(x, frame.y(value));
        }
    }
    void addPoint() { drawn.points += "M" + point(lastX, frame.y(lastValue)) + "h0"; }
    void endPiece() {
        if (isAlone && !hasAllPoints) addPoint();
        isAlone = false;
    }

    const PlotFrame& frame;
    const PlotJoin join;
    const bool hasAllPoints;
    PlotLine drawn;
    double lastX = 0, lastValue = 0;
    bool isAlone = false;
};

/// Windows over a signal that lie across each other: from the least to the most of each column, without the
/// way from one window to the next.
PlotLine envelope(const PlotFrame& frame, std::span<const double> times, std::span<const double> values,
                  double pause) {
    std::vector<PixelColumn> columns(static_cast<std::size_t>(frame.width) + 1);
    for (std::size_t i = 0; i < times.size(); ++i) {
        const double x = frame.x(times[i]);
        if (!std::isfinite(values[i]) || x < frame.left || x > frame.left + frame.width) continue;
        columns[static_cast<std::size_t>(x - frame.left)].add(x, values[i]);
    }
    LinePath path(frame, PlotJoin::straight, false);
    const double widestGap = std::max(1.0, frame.width * (pause / (frame.to - frame.from)));
    double before = -widestGap;
    for (auto& column : columns) {
        if (column.count == 0) continue;
        column.beginsAnew = column.firstX - before > widestGap;
        column.first = column.least;
        column.last = column.most;
        before = column.firstX;
        path.take(column);
    }
    return path.finish();
}

}  // namespace

// By halves, for the difference of two doubles may be none.
double PlotFrame::x(double time) const {
    return left + width * ((time / 2 - from / 2) / (to / 2 - from / 2));
}
double PlotFrame::y(double value) const {
    return top + height * ((most / 2 - value / 2) / (most / 2 - least / 2));
}

double longestPause(std::span<const double> times) {
    constexpr std::size_t fewest = 8;
    std::vector<double> intervals;
    intervals.reserve(times.size());
    for (std::size_t i = 1; i < times.size(); ++i) {
        if (times[i] > times[i - 1]) intervals.push_back(times[i] - times[i - 1]);
    }
    if (intervals.size() < fewest) return std::numeric_limits<double>::infinity();
    const auto at = [&](double share) {
        const auto place = intervals.begin() +
                           static_cast<std::ptrdiff_t>(static_cast<double>(intervals.size() - 1) * share);
        std::nth_element(intervals.begin(), place, intervals.end());
        return *place;
    };
    return std::max(5 * at(0.5), 3 * at(0.95));
}

PlotLine plotLine(const PlotFrame& frame, std::span<const double> times, std::span<const double> values,
                  double pause, PlotJoin join) {
    constexpr double pixelsPerPoint = 8;
    constexpr double mostPerPixel = 6;
    std::size_t returns = 0;
    for (std::size_t i = 1; i < times.size(); ++i) returns += times[i] < times[i - 1] ? 1 : 0;
    const bool isLong = static_cast<double>(times.size()) > frame.width * mostPerPixel;
    if (isLong && static_cast<double>(returns) > mostPerPixel) return envelope(frame, times, values, pause);
    LinePath path(frame, join, static_cast<double>(times.size()) * pixelsPerPoint < frame.width);
    PixelColumn column;
    bool isBroken = true;
    double before = 0;
    for (std::size_t i = 0; i < times.size(); ++i) {
        if (!std::isfinite(values[i])) {
            isBroken = true;
            continue;
        }
        isBroken |= times[i] < before || times[i] - before > pause;
        const double x = frame.x(times[i]);
        const auto place = static_cast<std::int64_t>(std::floor(x));
        // What is missing within a column is not seen.
        if (place != column.place || times[i] < before || column.count == 0) {
            path.take(column);
            column = {place};
            column.beginsAnew = isBroken;
        }
        column.add(x, values[i]);
        isBroken = false;
        before = times[i];
    }
    path.take(column);
    return path.finish();
}

PlotBand plotBand(const PlotFrame& frame, std::span<const double> times, std::span<const double> values,
                  double pause) {
    constexpr unsigned isTrue = 1, isFalse = 2;
    std::vector<unsigned char> columns(static_cast<std::size_t>(frame.width) + 1);
    forEachSpan(times, values, pause, [&](const PlotSpan& span) {
        const double last = static_cast<double>(columns.size() - 1);
        const double begin = std::clamp(std::floor(frame.x(span.from) - frame.left), 0.0, last);
        const double end = std::clamp(std::ceil(frame.x(span.to) - frame.left), begin + 1, last + 1);
        for (auto i = static_cast<std::size_t>(begin); i < static_cast<std::size_t>(end); ++i)
            columns[i] |= span.value != 0 ? isTrue : isFalse;
    });
    PlotBand band;
    for (std::size_t i = 0, end = 0; i < columns.size(); i = end) {
        end = i + 1;
        while (end < columns.size() && columns[end] == columns[i]) ++end;
        if (columns[i] == 0) continue;
        const auto width = pictureNumber(static_cast<double>(end - i));
        const auto left = pictureNumber(frame.left + static_cast<double>(i));
        const auto bar = [&](double top, double height) {
            return "M" + left + " " + pictureNumber(top) + "h" + width + "v" + pictureNumber(height) + "h-" +
                   width + "z";
        };
        if (columns[i] == isTrue) band.trues += bar(frame.top, frame.height);
        if (columns[i] == (isTrue | isFalse)) band.mixed += bar(frame.top, frame.height);
        band.known += bar(frame.top + frame.height - 1, 1);
    }
    return band;
}

}  // namespace kelvane
