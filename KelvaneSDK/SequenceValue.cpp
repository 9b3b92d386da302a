#include "KelvaneSDK/SequenceValue.h"

#include "KelvaneSDK/FileProcessing/ValueText.h"

namespace KelvaneSDK {

namespace {

// `operation` answers the combined value, or absent to leave the sample out.
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

std::span<const Sample> samplesOf(const TimestampedVariable& slot) { return slot.items<Sample>(ValueType::Sequence); }

}  // namespace

std::optional<double> SequenceInterpolator::at(double t) {
    if (samples.size() < 2 || t < samples.front().t || t > samples.back().t) return std::nullopt;
    // The segment of a later time is never before that of an earlier one, so a rising t goes on where the last ended.
    if (!(t >= furthest)) segmentEnd = 1;
    while (segmentEnd < samples.size() && !(t <= samples[segmentEnd].t)) ++segmentEnd;
    furthest = t;
    if (segmentEnd == samples.size()) return std::nullopt;  // only where times are NaN
    const Sample& a = samples[segmentEnd - 1];
    const Sample& b = samples[segmentEnd];
    return a.f + (b.f - a.f) * ((t - a.t) / (b.t - a.t));
}

SequenceValue::SequenceValue(bool withDefault) {
    if (withDefault) setValue(Value(Sequence()));
}

std::string SequenceValue::stringValue() const { return joinedSamples(samplesOf(*this)); }

void SequenceValue::setValueFromString(std::string_view text) {
    const auto numbers = numbersBetweenCommas(withoutCharacters(text, "()[]{} "));
    if (!numbers || numbers->size() % 2 != 0) return reportConversionError(text);
    ListBuilder<Sample> samples(numbers->size() / 2);
    for (std::size_t i = 0; i < numbers->size(); i += 2) samples.append({(*numbers)[i], (*numbers)[i + 1]});
    setValue(Value(Sequence(samples.finish())));
}

std::optional<Value> SequenceValue::add(const TimestampedVariable& other) const {
    return combined(samplesOf(*this), samplesOf(other), [](double f, double v) { return std::optional(f + v); });
}
std::optional<Value> SequenceValue::subtract(const TimestampedVariable& other) const {
    return combined(samplesOf(*this), samplesOf(other), [](double f, double v) { return std::optional(f - v); });
}
std::optional<Value> SequenceValue::multiply(const TimestampedVariable& other) const {
    return combined(samplesOf(*this), samplesOf(other), [](double f, double v) { return std::optional(f * v); });
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
    if (hasValue() && other.hasValue() && payload()->type() != other.payload()->type()) return std::nullopt;
    const auto left = samplesOf(*this);
    const auto right = samplesOf(other);
    if (left.size() != right.size()) return std::nullopt;
    return std::equal(left.begin(), left.end(), right.begin());
}

}  // namespace KelvaneSDK
