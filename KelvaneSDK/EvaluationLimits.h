#pragma once

#include <chrono>
#include <cstddef>
#include <limits>
#include <string_view>

namespace KelvaneSDK {

/// What the evaluation of a diagram may use up. Beyond a limit the program stops, with a reason that names
/// the node, so that a diagram from a stranger cannot exhaust memory or time. Without limits nothing is
/// checked.
struct EvaluationLimits {
    /// The elements of any list that a function makes or keeps: array elements, samples, bytes of a text.
    std::size_t maxElements = std::numeric_limits<std::size_t>::max();
    /// The wall-clock seconds that the evaluation of one batch may take.
    double maxBatchSeconds = std::numeric_limits<double>::infinity();
};

/// Part of the reason of every stop at a limit.
inline constexpr std::string_view beyondLimit = " the limit of ";

/// The limits of an engine together with the time used by the batch in progress. Nodes ask it while they
/// work.
class EvaluationBudget {
public:
    using Clock = std::chrono::steady_clock;

    void setLimits(const EvaluationLimits& newLimits) { limits = newLimits; }
    void beginBatch() {
        if (isTimed()) batchBegin = Clock::now();
    }
    std::size_t maxElements() const { return limits.maxElements; }
    double maxBatchSeconds() const { return limits.maxBatchSeconds; }
    bool isOutOfTime() const {
        return isTimed() &&
               std::chrono::duration<double>(Clock::now() - batchBegin).count() > limits.maxBatchSeconds;
    }

private:
    bool isTimed() const { return limits.maxBatchSeconds < std::numeric_limits<double>::infinity(); }

    EvaluationLimits limits;
    Clock::time_point batchBegin;
};

}  // namespace KelvaneSDK
