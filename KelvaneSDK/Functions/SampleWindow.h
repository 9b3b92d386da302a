#pragma once

#include <deque>
#include <optional>

#include "KelvaneSDK/FileProcessing/NumberText.h"
#include "KelvaneSDK/Node.h"
#include "KelvaneSDK/Values/SequenceValue.h"

namespace KelvaneSDK {

/// The latest samples of a live signal, as far back as a span of time asks for.
class SampleWindow {
public:
    /// Appends a sample and drops what lies more than `duration` seconds before it, except for the one sample
    /// that interpolation needs. Returns the interpolated sample exactly `duration` seconds before the
    /// newest, or absent while the window does not reach back that far. A window in which fewer than two
    /// samples would remain, as with a duration of 0 or less on the first sample, stops the program in the
    /// name of `owner`.
    std::optional<Sample> advance(const Sample& newest, double duration, const Node& owner) {
        samples.push_back(newest);
        owner.checkElements(samples.size());
        if (samples.back().t - samples.front().t < duration) return std::nullopt;
        const double target = newest.t - duration;
        while (samples.size() >= 2 && samples[1].t < target) samples.pop_front();
        if (samples.size() < 2)
            owner.stop("no earlier sample lies " + doubleText(duration) + " seconds back");
        return Sample{target, valueOnLine(samples[0], samples[1], target)};
    }
    /// Puts `start` in the place of the oldest sample.
    void replaceFirst(const Sample& start) { samples.front() = start; }

    /// The window's samples as a sequence.
    Sequence sequence() const {
        ListBuilder<Sample> list(samples.size());
        for (const auto& sample : samples) list.append(sample);
        return Sequence(list.finish());
    }

    /// Why a fixed duration in input 0 stops on the first sample, if it does.
    static std::optional<std::string> noDuration(std::span<const Value* const> values,
                                                 std::span<const ValueClass>) {
        const double duration = *values[0]->get<double>();
        if (!(duration <= 0)) return std::nullopt;
        return "no earlier sample lies " + doubleText(duration) + " seconds back";
    }

private:
    std::deque<Sample> samples;
};

}  // namespace KelvaneSDK
