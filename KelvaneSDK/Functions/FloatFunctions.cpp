#include <array>
#include <cmath>
#include <deque>
#include <limits>

#include "KelvaneSDK/FileProcessing/NumberText.h"
#include "KelvaneSDK/Functions/ElementArithmetic.h"
#include "KelvaneSDK/Functions/FastRows.h"
#include "KelvaneSDK/Functions/FunctionFamilies.h"
#include "KelvaneSDK/Functions/SampleWindow.h"
#include "KelvaneSDK/Functions/TrapezoidRule.h"

namespace KelvaneSDK {

namespace {

constexpr double noPreviousValue = std::numeric_limits<double>::quiet_NaN();

// Correctly rounded for up to 22 digits of either sign, which not every platform's pow() gives: those powers
// are exact doubles, and one division rounds once.
double powerOfTen(std::int64_t digits) {
    static constexpr std::array<double, 23> exact{1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                                  1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15,
                                                  1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
    if (digits >= 0 && digits <= 22) return exact[static_cast<std::size_t>(digits)];
    if (digits < 0 && digits >= -22) return 1 / exact[static_cast<std::size_t>(-digits)];
    return std::pow(10.0, static_cast<double>(digits));
}

double interpolated(double t, Timed<double> a, Timed<double> b) {
    if (a.timestamp == b.timestamp || b.timestamp <= t) return b.value;
    if (t <= a.timestamp) return a.value;
    return valueOnLine({a.timestamp, a.value}, {b.timestamp, b.value}, t);
}

double rounded(double x, std::int64_t digits) {
    const double power = powerOfTen(digits);
    return std::round(x * power) / power;
}

struct Averager {
    Maybe<double> operator()(bool enable, double x) {
        if (!enable) {
            *this = {};
            return Silent{"enable is false"};
        }
        ++count;
        sum += x;
        return sum / static_cast<double>(count);
    }
    double sum = 0;
    std::int64_t count = 0;
};

struct MovingAverager {
    Maybe<double> operator()(std::int64_t length, double x, const Node& node) {
        if (length < 1) return Silent{"the length is below 1"};
        values.push_back(x);
        node.checkElements(values.size());
        sum += x;
        const auto wanted = static_cast<std::uint64_t>(length);
        if (values.size() < wanted) return Silent{"there are fewer than `length` values"};
        while (values.size() > wanted) {
            sum -= values.front();
            values.pop_front();
        }
        return sum / static_cast<double>(length);
    }
    std::deque<double> values;
    // Kept step by step, never summed up anew: the cost of an update does not grow with the length.
    double sum = 0;
};

struct Delay {
    Maybe<double> operator()(double delay, Timed<double> x, const Node& node) {
        const auto delayed = window.advance({x.timestamp, x.value}, delay, node);
        // The delay keeps its flag, so that the next x alone is enough.
        if (!delayed) return Silent{"x does not reach back by the delay", Silent::consumesInput1};
        return delayed->f;
    }
    SampleWindow window;
};

struct Derivative {
    Maybe<double> operator()(Timed<double> x) {
        const double slope = (x.value - previous.value) / (x.timestamp - previous.timestamp);
        const bool isFirst = std::isnan(previous.value);
        previous = x;
        if (isFirst) return Silent{"there is no previous value"};
        return slope;
    }
    Timed<double> previous{noPreviousValue, 0};
};

struct Integral {
    Maybe<double> operator()(Timed<double> x) {
        const double area = areaBetween({previous.timestamp, previous.value}, {x.timestamp, x.value});
        const bool isFirst = std::isnan(previous.value);
        previous = x;
        if (isFirst) return Silent{"there is no previous value"};
        return integral += area;
    }
    Timed<double> previous{noPreviousValue, 0};
    double integral = 0;
};

struct PeakDetector {
    Maybe<double> operator()(double level, double x) {
        if (peak < level) peak = 0;
        if (x < level || x < peak) return Silent{"x is below the level or the latest peak"};
        return peak = x;
    }
    double peak = 0;
};

std::optional<std::string> noInteger(std::span<const Value* const> values, std::span<const ValueClass>) {
    const double x = *values[0]->get<double>();
    if (truncatedInteger(x)) return std::nullopt;
    return doubleText(x) + " does not fit in a 64-bit integer";
}

}  // namespace

NodeFamily floatFunctions() {
    return functionFamily(
        "Float signal",
        {
            pure(
                "Absolute", {{"x"}}, [](double x) { return std::fabs(x); }, "the absolute value of x")
                .keywords("abs magnitude"),
            pure(
                "Float interpolation", {{"time", "in seconds"}, {"a"}, {"b"}},
                [](double time, Timed<double> a, Timed<double> b) { return interpolated(time, a, b); },
                "the value at `time`, in seconds, on the line from a to b, which stand at their own "
                "timestamps")
                .keywords("linear"),
            pure(
                "Round", {{"x"}, {"digits", "decimal places"}},
                [](double x, std::int64_t digits) { return rounded(x, digits); },
                "x rounded to a number of decimal places, halves away from zero; negative digits round to "
                "tens, hundreds and so on"),
            pure(
                "Power", {{"base"}, {"exponent"}},
                [](double base, double exponent) { return std::pow(base, exponent); },
                "the base raised to the exponent")
                .keywords("pow square root exponential"),
            pure(
                "Integer", {{"x"}}, [](double x) { return static_cast<std::int64_t>(x); },
                "x without its fraction, as an integer")
                .keywords("truncate convert")
                .demands({"x fits in a 64-bit integer", {0}, noInteger}),
            pure(
                "Float", {{"n"}}, [](std::int64_t n) { return static_cast<double>(n); },
                "the integer n as a float")
                .keywords("convert double"),
            stateful<Averager>("Averager", {{"enable"}, {"x"}}, "the mean of all x since enable became true")
                .silent("while enable is false")
                .keywords("average"),
            stateful<MovingAverager>("Moving averager", {{"length", "updates, 1 or more"}, {"x"}},
                                     "the mean of the last `length` values of x")
                .silent("until there are `length` values, and while length is below 1")
                .keywords("average smooth window"),
            stateful<Delay>("Delay", {{"delay", "in seconds"}, {"x"}},
                            "x as it was `delay` seconds ago, interpolated between samples")
                .silent("until x reaches back that far")
                .demands({"the delay is above 0", {0}, SampleWindow::noDuration, false}),
            stateful<Derivative>("Derivative", {{"x"}}, "the change of x per second since its previous value")
                .silent("for the first value")
                .keywords("rate slope velocity differentiate"),
            stateful<Integral>(
                "Integral", {{"x"}},
                "the integral of x over time in seconds since the last reset; between values of "
                "different sign the rule counts the time of the crossing from 0")
                .silent("for the first value")
                .keywords("area accumulate integrate"),
            stateful<PeakDetector>(
                "Peak detector", {{"level"}, {"x"}},
                "each new highest x that reaches the level; starts anew when the level rises above the peak")
                .silent("when x is below the level or the latest peak")
                .keywords("maximum threshold"),
            pure(
                "Modulo", {{"x"}, {"y"}},
                [](double x, double y) -> Maybe<double> {
                    if (y == 0) return Silent{"y is 0"};
                    return std::fmod(x, y);
                },
                "the remainder of x / y, with the sign of x")
                .silent("when y is 0")
                .keywords("remainder mod %"),
            pure(
                "Limiter", {{"x"}, {"limit"}}, [](double x, double limit) { return x < limit ? x : limit; },
                "x, but never more than the limit")
                .keywords("clamp cap minimum"),
        });
}

}  // namespace KelvaneSDK
