#include "KelvaneSDK/Values/SequenceValue.h"

#include <algorithm>
#include <cmath>

#include "KelvaneSDK/FileProcessing/ValueText.h"

namespace KelvaneSDK {

namespace {

// `operation` returns the combined value, or absent to leave the sample out.
template <class Operation>
Value combined(std::span<const Sample> grid, std::span<const Sample> other, Operation operation) {
    ListBuilder<Sample> result(grid.size());
    SequenceInterpolator interpolator(other);
    for (const auto& [t, f] : grid) {
        const auto v = interpolator.at(t);
        if (!v) continue;
        if (const std::optional<double> value = operation(f, *v)) result.append({t, *value});
    }
    return Value(Sequence(result.finish()));
}

template <class Operation>
Value mapped(std::span<const Sample> samples, Operation operation) {
    ListBuilder<Sample> result(samples.size());
    for (const auto& [t, f] : samples) result.append({t, operation(f)});
    return Value(Sequence(result.finish()));
}

std::span<const Sample> samplesOf(const TimestampedVariable& slot) {
    return slot.items<Sample>(ValueType::Sequence);
}

}  // namespace

std::optional<double> SequenceInterpolator::at(double t) {
    if (samples.size() < 2 || std::isnan(t) || t < samples.front().t || t > samples.back().t)
        return std::nullopt;
    if (!latestTimes.empty() || t < furthest) {
        segmentEnd = segmentEndFor(t);
    } else {
        // The segment of a later time is never before that of an earlier one.
        while (segmentEnd < samples.size() && !(t <= samples[segmentEnd].t)) ++segmentEnd;
    }
    furthest = t;
    if (segmentEnd == samples.size()) return std::nullopt;  // only where the last time is NaN
    return valueOnLine(samples[segmentEnd - 1], samples[segmentEnd], t);
}

std::size_t SequenceInterpolator::segmentEndFor(double t) {
    // Times may come in any order, so the search goes over the latest time up to each sample, which only
    // rises.
    if (latestTimes.empty()) {
        latestTimes.reserve(samples.size() - 1);
        double latest = -std::numeric_limits<double>::infinity();
        for (const Sample& sample : samples.subspan(1)) {
            if (sample.t > latest) latest = sample.t;
            latestTimes.push_back(latest);
        }
    }
    const auto found = std::lower_bound(latestTimes.begin(), latestTimes.end(), t);
    return static_cast<std::size_t>(found - latestTimes.begin()) + 1;
}

std::string SequenceValue::stringValue() const { return joinedSamples(samplesOf(*this)); }

std::optional<Value> SequenceValue::add(const TimestampedVariable& other) const {
    return combined(samplesOf(*this), samplesOf(other),
                    [](double f, double v) { return std::optional(f + v); });
}
std::optional<Value> SequenceValue::subtract(const TimestampedVariable& other) const {
    return combined(samplesOf(*this), samplesOf(other),
                    [](double f, double v) { return std::optional(f - v); });
}
std::optional<Value> SequenceValue::multiply(const TimestampedVariable& other) const {
    return combined(samplesOf(*this), samplesOf(other),
                    [](double f, double v) { return std::optional(f * v); });
}
std::optional<Value> SequenceValue::divide(const TimestampedVariable& other) const {
    return combined(samplesOf(*this), samplesOf(other),
                    [](double f, double v) { return v == 0 ? std::nullopt : std::optional(f / v); });
}
std::optional<Value> SequenceValue::scale(double factor) const {
    return mapped(samplesOf(*this), [factor](double f) { return f * factor; });
}
std::optional<Value> SequenceValue::negate() const {
    return mapped(samplesOf(*this), [](double f) { return -f; });
}

std::optional<bool> SequenceValue::isEqual(const TimestampedVariable& other) const {
    if (!isComparable(*this, other)) return std::nullopt;
    const auto left = samplesOf(*this);
    const auto right = samplesOf(other);
    if (left.size() != right.size()) return std::nullopt;
    return std::equal(left.begin(), left.end(), right.begin());
}

}  // namespace KelvaneSDK
