#pragma once

#include <limits>
#include <vector>

#include "KelvaneSDK/Values/SlotClasses.h"

namespace KelvaneSDK {

/// A whole time series. In arithmetic this slot's sequence gives the times and the other one is interpolated
/// at them: the result covers the times that lie within the other sequence, both ends included; a sample
/// whose divisor is zero is left out, and another sequence of fewer than two samples gives an empty result.
/// Sequences of different lengths cannot be compared (absent).
class SequenceValue final : public ValueVariable {
public:
    static constexpr ValueClass slotClass = ValueClass::SequenceValue;
    SequenceValue() = default;
    explicit SequenceValue(bool withDefault) { fill(withDefault); }
    ValueClass valueClass() const override { return slotClass; }
    /// "(0.0, 1.0),(0.5, 2.0)".
    std::string stringValue() const override;
    std::optional<Value> add(const TimestampedVariable& other) const override;
    std::optional<Value> subtract(const TimestampedVariable& other) const override;
    std::optional<Value> multiply(const TimestampedVariable& other) const override;
    std::optional<Value> divide(const TimestampedVariable& other) const override;
    std::optional<Value> scale(double factor) const override;
    std::optional<bool> isEqual(const TimestampedVariable& other) const override;
    std::optional<Value> negate() const override;
};

/// The value at time `t` on the line through two samples.
inline double valueOnLine(const Sample& a, const Sample& b, double t) {
    return a.f + ((t - a.t) / (b.t - a.t)) * (b.f - a.f);
}

/// Finds values of a sequence by linear interpolation. Reading times in rising order costs one pass over the
/// samples in all; a time before the previous one costs a binary search.
class SequenceInterpolator {
public:
    explicit SequenceInterpolator(std::span<const Sample> sequence) : samples(sequence) {}

    /// The value at time t: on the line through the first sample from the second on that is not before t, and
    /// the one before it. Absent outside the first and last time and for fewer than two samples.
    std::optional<double> at(double t);

private:
    std::size_t segmentEndFor(double t);

    std::span<const Sample> samples;
    std::size_t segmentEnd = 1;
    double furthest = -std::numeric_limits<double>::infinity();
    // For times that fall: the latest time among the second to the k-th sample.
    std::vector<double> latestTimes;
};

}  // namespace KelvaneSDK
