#include <cmath>

#include "KelvaneSDK/FunctionFamilies.h"
#include "KelvaneSDK/FunctionNode.h"
#include "KelvaneSDK/SampleWindow.h"
#include "KelvaneSDK/TrapezoidRule.h"

namespace KelvaneSDK {

namespace {

// The list of what `operation` makes of each sample.
template <class Operation>
auto mapped(std::span<const Sample> samples, Operation operation) {
    ListBuilder<std::invoke_result_t<Operation, const Sample&>> result(samples.size());
    for (const Sample& sample : samples) result.append(operation(sample));
    return result.finish();
}

// The samples, of which the step reads the first and the last.
std::span<const Sample> notEmpty(std::span<const Sample> samples, const Node& node) {
    if (samples.empty()) node.stop("the sequence is empty");
    return samples;
}

std::span<const Sample> atLeastTwo(std::span<const Sample> samples, const Node& node) {
    if (samples.size() < 2) node.stop("the sequence has fewer than two samples");
    return samples;
}

double slope(const Sample& a, const Sample& b) { return (b.f - a.f) / (b.t - a.t); }

class CreateSequenceFunction final : public FunctionNode {
public:
    void createInputs() override { addInputs<BooleanValue, FloatValue>("start", "x"); }
    void createOutput() override { setOutput<SequenceValue>(); }
    void setTypeString() override { typeString = "Create sequence"; }
    bool allInputsUpdated() const override {
        return isUpdated(0) || (isUpdated(1) && input(0).hasValue() && boolean(0));
    }
    void process() override {
        const bool start = boolean(0);
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
            buffer.append({timestamp(1), real(1)});
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

class IntersectionsFunction final : public FunctionNode {
public:
    void createInputs() override { addInputs<FloatValue, SequenceValue>("level", "sequence"); }
    void createOutput() override { setOutput<FloatArrayVariable>(); }
    void setTypeString() override { typeString = "Intersections"; }
    void process() override {
        const double level = real(0);
        const auto s = samples(1);
        ListBuilder<double> crossings;
        for (std::size_t i = 1; i < s.size(); ++i) {
            const auto [t0, f0] = s[i - 1];
            const auto [t1, f1] = s[i];
            if ((f0 <= level && level <= f1) || (f1 <= level && level <= f0)) {
                crossings.append(t0 + (t1 - t0) * ((level - f0) / (f1 - f0)));
            }
        }
        finish(crossings.finish());
    }
};

class TimeDerivativeFunction final : public FunctionNode {
public:
    void createInputs() override { addInputs<SequenceValue>("sequence"); }
    void createOutput() override { setOutput<SequenceValue>(); }
    void setTypeString() override { typeString = "Time derivative"; }
    void process() override {
        const auto s = atLeastTwo(samples(0), *this);
        ListBuilder<Sample> result(s.size() - 2);
        for (std::size_t i = 1; i + 1 < s.size(); ++i) {
            result.append({s[i].t, 0.5 * (slope(s[i - 1], s[i]) + slope(s[i], s[i + 1]))});
        }
        finish(Sequence(result.finish()));
    }
};

class TimeIntegralFunction final : public FunctionNode {
public:
    void createInputs() override { addInputs<SequenceValue>("sequence"); }
    void createOutput() override { setOutput<SequenceValue>(); }
    void setTypeString() override { typeString = "Time integral"; }
    void process() override {
        const auto s = atLeastTwo(samples(0), *this);
        ListBuilder<Sample> result(s.size() - 1);
        double total = 0;
        for (std::size_t i = 1; i < s.size(); ++i) {
            total += areaBetween(s[i - 1], s[i]);
            result.append({s[i].t, total});
        }
        finish(Sequence(result.finish()));
    }
};

class SelectIntervalFunction final : public FunctionNode {
public:
    void createInputs() override {
        addInputs<FloatValue, FloatValue, SequenceValue>("from", "to", "sequence");
    }
    void createOutput() override { setOutput<SequenceValue>(); }
    void setTypeString() override { typeString = "Select interval"; }
    void process() override {
        double from = real(0), to = real(1);
        if (to < from) std::swap(from, to);
        const auto s = samples(2);
        ListBuilder<Sample> result(s.size());
        for (const Sample& sample : s) {
            if (!(sample.t < from || sample.t > to)) result.append(sample);
        }
        finish(Sequence(result.finish()));
    }
};

class SequenceRectifierFunction final : public FunctionNode {
public:
    void createInputs() override { addInputs<SequenceValue>("sequence"); }
    void createOutput() override { setOutput<SequenceValue>(); }
    void setTypeString() override { typeString = "Sequence rectifier"; }
    void process() override {
        const auto s = notEmpty(samples(0), *this);
        ListBuilder<Sample> result(s.size());
        Sample previous = s.front();
        for (const Sample& sample : s) {
            if (signOf(sample.f) != signOf(previous.f)) {
                // As existing diagrams expect it: the ratio divides by the step from the previous value to
                // this one.
                const double ratio = previous.f / (sample.f - previous.f);
                result.append({previous.t + ratio * (sample.t - previous.t), 0});
            }
            result.append({sample.t, std::fabs(sample.f)});
            previous = sample;
        }
        finish(Sequence(result.finish()));
    }
};

class SequenceTimestampsFunction final : public FunctionNode {
public:
    void createInputs() override { addInputs<SequenceValue>("sequence"); }
    void createOutput() override { setOutput<FloatArrayVariable>(); }
    void setTypeString() override { typeString = "Sequence timestamps"; }
    void process() override {
        finish(mapped(samples(0), [](const Sample& s) { return s.t; }));
    }
};

class SequenceValuesFunction final : public FunctionNode {
public:
    void createInputs() override { addInputs<SequenceValue>("sequence"); }
    void createOutput() override { setOutput<FloatArrayVariable>(); }
    void setTypeString() override { typeString = "Sequence values"; }
    void process() override {
        finish(mapped(samples(0), [](const Sample& s) { return s.f; }));
    }
};

class CenteredMovingAverageFunction final : public FunctionNode {
public:
    void createInputs() override { addInputs<IntegerValue, SequenceValue>("width", "sequence"); }
    void createOutput() override { setOutput<SequenceValue>(); }
    void setTypeString() override { typeString = "Centered moving average"; }
    void process() override {
        const auto s = samples(1);
        const std::size_t width = checkedWidth(integer(0), s.size());
        // The last run of `width` samples is not averaged, as existing diagrams expect it.
        const std::size_t runs = s.size() - width;
        ListBuilder<Sample> result(runs);
        for (std::size_t i = 0; i < runs; ++i) {
            checkTime();
            Sample sum;
            for (const auto& [t, f] : s.subspan(i, width)) {
                sum.t += t;
                sum.f += f;
            }
            const auto count = static_cast<double>(width);
            result.append({sum.t / count, sum.f / count});
        }
        finish(Sequence(result.finish()));
    }

private:
    std::size_t checkedWidth(std::int64_t width, std::size_t sampleCount) const {
        if (width < 0) stop("a width of " + std::to_string(width) + " is negative");
        if (static_cast<std::uint64_t>(width) > sampleCount) {
            stop("a width of " + std::to_string(width) + " is more than the sequence's " +
                 std::to_string(sampleCount) + " samples");
        }
        return static_cast<std::size_t>(width);
    }
};

class NormalizeFunction final : public FunctionNode {
public:
    void createInputs() override { addInputs<SequenceValue>("sequence"); }
    void createOutput() override { setOutput<SequenceValue>(); }
    void setTypeString() override { typeString = "Normalize"; }
    void process() override {
        const auto s = notEmpty(samples(0), *this);
        const double first = s.front().t, last = s.back().t;
        finish(Sequence(mapped(s, [first, last](const Sample& sample) {
            return Sample{1.0 - (last - sample.t) / (last - first), sample.f};
        })));
    }
};

class StartTimeFunction final : public FunctionNode {
public:
    void createInputs() override { addInputs<SequenceValue>("sequence"); }
    void createOutput() override { setOutput<FloatValue>(); }
    void setTypeString() override { typeString = "Start time"; }
    void process() override { finish(notEmpty(samples(0), *this).front().t); }
};

class EndTimeFunction final : public FunctionNode {
public:
    void createInputs() override { addInputs<SequenceValue>("sequence"); }
    void createOutput() override { setOutput<FloatValue>(); }
    void setTypeString() override { typeString = "End time"; }
    void process() override { finish(notEmpty(samples(0), *this).back().t); }
};

class ShiftTimeFunction final : public FunctionNode {
public:
    void createInputs() override { addInputs<FloatValue, SequenceValue>("shift", "sequence"); }
    void createOutput() override { setOutput<SequenceValue>(); }
    void setTypeString() override { typeString = "Shift time"; }
    void process() override {
        finish(Sequence(mapped(samples(1), [shift = real(0)](const Sample& s) {
            return Sample{s.t + shift, s.f};
        })));
    }
};

class CapValuesFunction final : public FunctionNode {
public:
    void createInputs() override {
        addInputs<FloatValue, FloatValue, SequenceValue>("lower", "upper", "sequence");
    }
    void createOutput() override { setOutput<SequenceValue>(); }
    void setTypeString() override { typeString = "Cap values"; }
    void process() override {
        const double lower = real(0), upper = real(1);
        finish(Sequence(mapped(samples(2), [lower, upper](const Sample& s) {
            return Sample{s.t, s.f > upper ? upper : s.f < lower ? lower : s.f};
        })));
    }
};

class ScaleTimeFunction final : public FunctionNode {
public:
    void createInputs() override {
        addInputs<FloatValue, FloatValue, SequenceValue>("first time", "second time", "sequence");
    }
    void createOutput() override { setOutput<SequenceValue>(); }
    void setTypeString() override { typeString = "Scale time"; }
    void process() override {
        const auto s = notEmpty(samples(2), *this);
        const double start = real(0), first = s.front().t;
        const double factor = (real(1) - start) / (s.back().t - first);
        finish(Sequence(mapped(s, [start, first, factor](const Sample& sample) {
            return Sample{start + factor * (sample.t - first), sample.f};
        })));
    }
};

class DurationFunction final : public FunctionNode {
public:
    void createInputs() override { addInputs<SequenceValue>("sequence"); }
    void createOutput() override { setOutput<FloatValue>(); }
    void setTypeString() override { typeString = "Duration"; }
    void process() override {
        const auto s = notEmpty(samples(0), *this);
        finish(s.back().t - s.front().t);
    }
};

class GetInterpolatedValuesFunction final : public FunctionNode {
public:
    void createInputs() override { addInputs<FloatArrayVariable, SequenceValue>("times", "sequence"); }
    void createOutput() override { setOutput<FloatArrayVariable>(); }
    void setTypeString() override { typeString = "Get interpolated values"; }
    void process() override {
        const auto times = items<double>(0);
        SequenceInterpolator interpolator(notEmpty(samples(1), *this));
        ListBuilder<double> values(times.size());
        for (const double t : times) {
            if (const auto value = interpolator.at(t)) values.append(*value);
        }
        finish(values.finish());
    }
};

class SequencerFunction final : public FunctionNode {
public:
    void createInputs() override { addInputs<FloatValue, FloatValue>("length", "x"); }
    void createOutput() override { setOutput<SequenceValue>(); }
    void setTypeString() override { typeString = "Sequencer"; }
    void process() override {
        const auto start = buffer.advance({timestamp(1), real(1)}, real(0), *this);
        if (!start) return consume(1);
        buffer.replaceFirst(*start);
        finish(buffer.sequence());
    }
    void reset() override {
        buffer.clear();
        FunctionNode::reset();
    }

private:
    SampleWindow buffer;
};

class ResampleFunction final : public FunctionNode {
public:
    void createInputs() override { addInputs<FloatValue, SequenceValue>("step", "sequence"); }
    void createOutput() override { setOutput<SequenceValue>(); }
    void setTypeString() override { typeString = "Resample"; }
    void process() override {
        const double step = real(0);
        const auto s = notEmpty(samples(1), *this);
        SequenceInterpolator interpolator(s);
        ListBuilder<Sample> result;
        std::size_t steps = 0;
        for (double t = s.front().t; t < s.back().t; t += step) {
            if (const auto value = interpolator.at(t)) result.append({t, *value});
            // A step of 0 or less never ends the grid; only limits do.
            checkElements(result.size());
            if (++steps % 4096 == 0) checkTime();
        }
        finish(Sequence(result.finish()));
    }
};

class ConvertToSequenceFunction final : public FunctionNode {
public:
    void createInputs() override { addInputs<FloatArrayVariable, FloatArrayVariable>("times", "values"); }
    void createOutput() override { setOutput<SequenceValue>(); }
    void setTypeString() override { typeString = "Convert to sequence"; }
    void process() override {
        const auto times = items<double>(0);
        const auto values = items<double>(1);
        if (times.size() != values.size()) return endWithoutOutput();
        ListBuilder<Sample> result(times.size());
        for (std::size_t i = 0; i < times.size(); ++i) result.append({times[i], values[i]});
        finish(Sequence(result.finish()));
    }
};

}  // namespace

NodeFamily sequenceFunctions() {
    return functionFamily(
        "Sequence",
        {
            entry<CreateSequenceFunction>("the samples of x from start becoming true to its becoming false, "
                                          "as one sequence at the end"),
            entry<IntersectionsFunction>("the times, in seconds, at which the sequence meets the level"),
            entry<TimeDerivativeFunction>(
                "the slope per second at each sample but the first and last, the mean of both sides"),
            entry<TimeIntegralFunction>(
                "the integral over time, value times seconds, up to each sample after the first"),
            entry<SelectIntervalFunction>(
                "the samples with times, in seconds, between from and to, both included"),
            entry<SequenceRectifierFunction>(
                "absolute values, with a sample of zero added at each sign change"),
            entry<SequenceTimestampsFunction>("the times of all samples, in seconds"),
            entry<SequenceValuesFunction>("the values of all samples"),
            entry<CenteredMovingAverageFunction>("the sequence smoothed by the mean of `width` neighbouring "
                                                 "samples, at the mean of their times"),
            entry<NormalizeFunction>("the sequence with its times mapped onto 0 to 1"),
            entry<StartTimeFunction>("the time of the first sample, in seconds"),
            entry<EndTimeFunction>("the time of the last sample, in seconds"),
            entry<ShiftTimeFunction>("the sequence moved by the shift, in seconds"),
            entry<CapValuesFunction>("the sequence with every value kept between lower and upper"),
            entry<ScaleTimeFunction>(
                "the sequence stretched to run from the first to the second time, in seconds"),
            entry<DurationFunction>("the time from the first sample to the last, in seconds"),
            entry<GetInterpolatedValuesFunction>(
                "the sequence's value at each of the times, in seconds, that lies within it"),
            entry<SequencerFunction>("the last `length` seconds of x as a sequence, at each update"),
            entry<ResampleFunction>(
                "the sequence at regular steps, in seconds, from its start to before its end"),
            entry<ConvertToSequenceFunction>(
                "the sequence of two arrays of equal length, the times, in seconds, and the values"),
        });
}

}  // namespace KelvaneSDK
