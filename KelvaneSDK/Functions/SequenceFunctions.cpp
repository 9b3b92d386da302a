#include <cmath>

#include "KelvaneSDK/Functions/FastRows.h"
#include "KelvaneSDK/Functions/FunctionFamilies.h"
#include "KelvaneSDK/Functions/SampleWindow.h"
#include "KelvaneSDK/Functions/TrapezoidRule.h"
#include "KelvaneSDK/Values/SequenceValue.h"

namespace KelvaneSDK {

namespace {

using Type = ValueClass;
using Samples = std::span<const Sample>;
using Floats = std::span<const double>;

// The list of what `operation` makes of each sample.
template <class Operation>
auto mapped(Samples samples, Operation operation) {
    ListBuilder<std::invoke_result_t<Operation, const Sample&>> result(samples.size());
    for (const Sample& sample : samples) result.append(operation(sample));
    return result.finish();
}

template <std::size_t input, std::size_t least>
std::optional<std::string> fewerSamples(std::span<const Value* const> values, std::span<const ValueClass>) {
    if (values[input]->items<Sample>().size() >= least) return std::nullopt;
    return least == 1 ? "the sequence is empty" : "the sequence has fewer than two samples";
}
template <std::size_t input>
constexpr Demand oneSample{"the sequence has a sample", {input}, fewerSamples<input, 1>};
constexpr Demand twoSamples{"the sequence has two samples or more", {0}, fewerSamples<0, 2>};

double slope(const Sample& a, const Sample& b) { return (b.f - a.f) / (b.t - a.t); }

class CreateSequenceFunction final : public FunctionNode {
public:
    static Declaration declaration() {
        return {.name = "Create sequence",
                .inputs = {{"start", Type::BooleanValue}, {"x", Type::FloatValue}},
                .output = Type::SequenceValue,
                .description =
                    "the samples of x from start becoming true to its becoming false, as one sequence "
                    "at the end",
                .silentWhen = "until start becomes false, and after fewer than two samples",
                .keywords = "record collect",
                .readiness = Readiness::recording,
                .keepsState = true};
    }
    bool allInputsUpdated() const override {
        return isUpdated(0) || (isUpdated(1) && input(0).hasValue() && boolean(0));
    }
    void process() override {
        const bool start = boolean(0);
        const double x = real(1);
        if (isUpdated(0)) {
            consume(0);
            if (start) {
                buffer = ListBuilder<Sample>();
            } else if (buffer.size() >= 2) {
                // Nothing reads a recording after its end, so its list is handed over, and a further end
                // finds nothing.
                emit(Value(Sequence(buffer.finish())));
            }
        }
        if (isUpdated(1)) {
            consume(1);
            if (!start) return;
            buffer.append({timestamp(1), x});
            checkElements(buffer.size());
        }
    }
    void reset() override {
        buffer = ListBuilder<Sample>();
        FunctionNode::reset();
    }

private:
    ListBuilder<Sample> buffer;
};

List<double> intersections(double level, Samples s) {
    ListBuilder<double> crossings;
    for (std::size_t i = 1; i < s.size(); ++i) {
        const auto [t0, f0] = s[i - 1];
        const auto [t1, f1] = s[i];
        if ((f0 <= level && level <= f1) || (f1 <= level && level <= f0)) {
            crossings.append(t0 + (t1 - t0) * ((level - f0) / (f1 - f0)));
        }
    }
    return crossings.finish();
}

Sequence timeDerivative(Samples s) {
    ListBuilder<Sample> result(s.size() - 2);
    for (std::size_t i = 1; i + 1 < s.size(); ++i) {
        result.append({s[i].t, 0.5 * (slope(s[i - 1], s[i]) + slope(s[i], s[i + 1]))});
    }
    return Sequence(result.finish());
}

Sequence timeIntegral(Samples s) {
    ListBuilder<Sample> result(s.size() - 1);
    double total = 0;
    for (std::size_t i = 1; i < s.size(); ++i) {
        total += areaBetween(s[i - 1], s[i]);
        result.append({s[i].t, total});
    }
    return Sequence(result.finish());
}

Sequence selectedInterval(double from, double to, Samples s) {
    if (to < from) std::swap(from, to);
    ListBuilder<Sample> result(s.size());
    for (const Sample& sample : s) {
        if (!(sample.t < from || sample.t > to)) result.append(sample);
    }
    return Sequence(result.finish());
}

Sequence rectified(Samples s) {
    ListBuilder<Sample> result(s.size());
    Sample previous = s.front();
    for (const Sample& sample : s) {
        if (signOf(sample.f) != signOf(previous.f)) {
            // As existing diagrams expect it: the ratio divides by the step from the previous value to this
            // one.
            const double ratio = previous.f / (sample.f - previous.f);
            result.append({previous.t + ratio * (sample.t - previous.t), 0});
        }
        result.append({sample.t, std::fabs(sample.f)});
        previous = sample;
    }
    return Sequence(result.finish());
}

Sequence centeredAverage(std::int64_t width, Samples s, const Node& node) {
    const auto length = static_cast<std::size_t>(width);
    // The last run of `width` samples is not averaged, as existing diagrams expect it.
    const std::size_t runs = s.size() - length;
    ListBuilder<Sample> result(runs);
    std::size_t unchecked = 0;
    for (std::size_t i = 0; i < runs; ++i) {
        if ((unchecked += length) > 4096) node.checkTime(), unchecked = 0;
        Sample sum;
        for (const auto& [t, f] : s.subspan(i, length)) {
            sum.t += t;
            sum.f += f;
        }
        result.append({sum.t / static_cast<double>(length), sum.f / static_cast<double>(length)});
    }
    return Sequence(result.finish());
}

std::optional<std::string> negativeWidth(std::span<const Value* const> values, std::span<const ValueClass>) {
    const auto width = belowLeast<0, 0>(values);
    if (!width) return std::nullopt;
    return "a width of " + *width + " is negative";
}

std::optional<std::string> widthBeyondSamples(std::span<const Value* const> values,
                                              std::span<const ValueClass>) {
    const auto width = *values[0]->get<std::int64_t>();
    const auto count = values[1]->items<Sample>().size();
    if (width <= static_cast<std::int64_t>(count)) return std::nullopt;
    return "a width of " + std::to_string(width) + " is more than the sequence's " + std::to_string(count) +
           " samples";
}

Sequence normalized(Samples s) {
    const double first = s.front().t, last = s.back().t;
    return Sequence(mapped(s, [first, last](const Sample& sample) {
        return Sample{1.0 - (last - sample.t) / (last - first), sample.f};
    }));
}

Sequence capped(double lower, double upper, Samples s) {
    return Sequence(mapped(s, [lower, upper](const Sample& sample) {
        return Sample{sample.t, sample.f > upper ? upper : sample.f < lower ? lower : sample.f};
    }));
}

Sequence scaledTime(double start, double end, Samples s) {
    const double first = s.front().t;
    const double factor = (end - start) / (s.back().t - first);
    return Sequence(mapped(s, [start, first, factor](const Sample& sample) {
        return Sample{start + factor * (sample.t - first), sample.f};
    }));
}

List<double> interpolatedValues(Floats times, Samples s) {
    SequenceInterpolator interpolator(s);
    ListBuilder<double> values(times.size());
    for (const double t : times) {
        if (const auto value = interpolator.at(t)) values.append(*value);
    }
    return values.finish();
}

Sequence resampled(double step, Samples s, const Node& node) {
    SequenceInterpolator interpolator(s);
    ListBuilder<Sample> result;
    std::size_t steps = 0;
    for (double t = s.front().t; t < s.back().t; t += step) {
        if (const auto value = interpolator.at(t)) result.append({t, *value});
        // A step of 0 or less never ends the grid; only limits do.
        node.checkElements(result.size());
        if (++steps % 4096 == 0) node.checkTime();
    }
    return Sequence(result.finish());
}

std::optional<std::string> stepThatNeverEnds(std::span<const Value* const> values,
                                             std::span<const ValueClass>) {
    const double step = *values[0]->get<double>();
    if (!(step <= 0)) return std::nullopt;
    return "a step of " + doubleText(step) + " never reaches the end of a sequence";
}

std::optional<std::string> stepLostInTime(std::span<const Value* const> values, std::span<const ValueClass>) {
    const double step = *values[0]->get<double>();
    const auto s = values[1]->items<Sample>();
    if (s.empty() || !(s.front().t < s.back().t) || !(s.front().t + step == s.front().t)) return std::nullopt;
    return "a step of " + doubleText(step) + " never leaves the sequence's start at " +
           doubleText(s.front().t) + " seconds";
}

Maybe<Sequence> sequenceOf(Floats times, Floats values) {
    if (times.size() != values.size()) return Silent{"the arrays differ in length"};
    ListBuilder<Sample> result(times.size());
    for (std::size_t i = 0; i < times.size(); ++i) result.append({times[i], values[i]});
    return Sequence(result.finish());
}

struct Sequencer {
    Maybe<Sequence> operator()(double length, Timed<double> x, const Node& node) {
        const auto start = window.advance({x.timestamp, x.value}, length, node);
        if (!start) return Silent{"x does not reach back by the length", Silent::consumesInput1};
        window.replaceFirst(*start);
        return window.sequence();
    }
    SampleWindow window;
};

}  // namespace

NodeFamily sequenceFunctions() {
    const RowSlot sequence{"sequence"};
    return functionFamily(
        "Sequence",
        {
            entry<CreateSequenceFunction>(),
            pure(
                "Intersections", {{"level"}, sequence},
                [](double level, Samples s) { return intersections(level, s); },
                "the times, in seconds, at which the sequence meets the level")
                .keywords("crossing threshold"),
            pure(
                "Time derivative", {sequence}, [](Samples s) { return timeDerivative(s); },
                "the slope per second at each sample but the first and last, the mean of both sides")
                .demands(twoSamples),
            pure(
                "Time integral", {sequence}, [](Samples s) { return timeIntegral(s); },
                "the integral over time, value times seconds, up to each sample after the first")
                .demands(twoSamples),
            pure(
                "Select interval", {{"from", "in seconds"}, {"to", "in seconds"}, sequence},
                [](double from, double to, Samples s) { return selectedInterval(from, to, s); },
                "the samples with times, in seconds, between from and to, both included")
                .keywords("cut slice"),
            pure(
                "Sequence rectifier", {sequence}, [](Samples s) { return rectified(s); },
                "absolute values, with a sample of zero added at each sign change")
                .keywords("absolute")
                .demands(oneSample<0>),
            pure(
                "Sequence timestamps", {sequence},
                [](Samples s) { return mapped(s, [](const Sample& sample) { return sample.t; }); },
                "the times of all samples, in seconds"),
            pure(
                "Sequence values", {sequence},
                [](Samples s) { return mapped(s, [](const Sample& sample) { return sample.f; }); },
                "the values of all samples"),
            pure(
                "Centered moving average", {{"width", "samples, 0 or more"}, sequence},
                [](std::int64_t width, Samples s, const Node& node) {
                    return centeredAverage(width, s, node);
                },
                "the sequence smoothed by the mean of `width` neighbouring samples, at the mean of their "
                "times")
                .keywords("filter")
                .demands({"the width is 0 or more", {0}, negativeWidth})
                .demands({"the sequence has `width` samples or more", {0, 1}, widthBeyondSamples}),
            pure(
                "Normalize", {sequence}, [](Samples s) { return normalized(s); },
                "the sequence with its times mapped onto 0 to 1")
                .demands(oneSample<0>),
            pure(
                "Start time", {sequence}, [](Samples s) { return s.front().t; },
                "the time of the first sample, in seconds")
                .demands(oneSample<0>),
            pure(
                "End time", {sequence}, [](Samples s) { return s.back().t; },
                "the time of the last sample, in seconds")
                .demands(oneSample<0>),
            pure(
                "Shift time", {{"shift", "in seconds"}, sequence},
                [](double shift, Samples s) {
                    return Sequence(mapped(s, [shift](const Sample& sample) {
                        return Sample{sample.t + shift, sample.f};
                    }));
                },
                "the sequence moved by the shift, in seconds"),
            pure(
                "Cap values", {{"lower"}, {"upper"}, sequence},
                [](double lower, double upper, Samples s) { return capped(lower, upper, s); },
                "the sequence with every value kept between lower and upper")
                .keywords("clamp limit"),
            pure(
                "Scale time", {{"first time", "in seconds"}, {"second time", "in seconds"}, sequence},
                [](double first, double second, Samples s) { return scaledTime(first, second, s); },
                "the sequence stretched to run from the first to the second time, in seconds")
                .demands(oneSample<2>),
            pure(
                "Duration", {sequence}, [](Samples s) { return s.back().t - s.front().t; },
                "the time from the first sample to the last, in seconds")
                .demands(oneSample<0>),
            pure(
                "Get interpolated values", {{"times", "in seconds"}, sequence},
                [](Floats times, Samples s) { return interpolatedValues(times, s); },
                "the sequence's value at each of the times, in seconds, that lies within it")
                .demands(oneSample<1>),
            stateful<Sequencer>("Sequencer", {{"length", "in seconds"}, {"x"}},
                                "the last `length` seconds of x as a sequence, at each update")
                .silent("until x reaches back that far")
                .keywords("window history")
                .demands({"the length is above 0", {0}, SampleWindow::noDuration, false}),
            pure(
                "Resample", {{"step", "in seconds"}, sequence},
                [](double step, Samples s, const Node& node) { return resampled(step, s, node); },
                "the sequence at regular steps, in seconds, from its start to before its end")
                .keywords("interpolate rate")
                .demands(oneSample<1>)
                .demands({"the step is above 0", {0}, stepThatNeverEnds, false})
                .demands(
                    {"the step is long enough to leave the sequence's start", {0, 1}, stepLostInTime, false}),
            pure(
                "Convert to sequence", {{"times", "in seconds"}, {"values"}},
                [](Floats times, Floats values) { return sequenceOf(times, values); },
                "the sequence of two arrays of equal length, the times, in seconds, and the values")
                .silent("when the arrays differ in length"),
        });
}

}  // namespace KelvaneSDK
