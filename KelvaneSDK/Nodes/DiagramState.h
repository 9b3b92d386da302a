#pragma once

// Internal: what the nodes of one diagram share with their engine.

#include <chrono>
#include <cstdint>

#include "KelvaneSDK/Diagnostics.h"

namespace KelvaneSDK {

class EvaluationObserver;

/// The limits of an engine together with the time used by the batch in progress.
class EvaluationBudget {
public:
    using Clock = std::chrono::steady_clock;

    void setLimits(const EvaluationLimits& newLimits) {
        limits = newLimits;
        isTimed = limits.maxBatchSeconds < std::numeric_limits<double>::infinity();
        hasLimit = isTimed || limits.interrupted != nullptr;
    }
    void beginBatch() {
        if (isTimed) batchBegin = Clock::now();
    }
    std::size_t maxElements() const { return limits.maxElements; }
    bool limitsElements() const { return maxElements() < std::numeric_limits<std::size_t>::max(); }
    double maxBatchSeconds() const { return limits.maxBatchSeconds; }
    bool isLimited() const { return hasLimit; }
    bool isInterrupted() const {
        return limits.interrupted != nullptr && limits.interrupted->load(std::memory_order_relaxed);
    }
    bool isOutOfTime() const {
        return isTimed &&
               std::chrono::duration<double>(Clock::now() - batchBegin).count() > limits.maxBatchSeconds;
    }

private:
    EvaluationLimits limits;
    bool isTimed = false, hasLimit = false;
    Clock::time_point batchBegin;
};

/// What the nodes of one diagram share with their engine.
struct DiagramState {
    EvaluationBudget budget;
    /// Counts the changes to nodes, slots and connections after which a plan of the evaluation is out of
    /// date.
    std::uint64_t changes = 0;
    /// Counts the changes of what is hidden and forwarded.
    std::uint64_t visibility = 0;
    /// Counts the values that were written to output slots by hand.
    std::uint64_t handWritten = 0;
    /// Counts evaluated batches; the clock of every constant.
    std::uint64_t batches = 0;
    /// Who watches the evaluation, or null.
    EvaluationObserver* observer = nullptr;
    /// Why the function that ran last gave nothing, where it said so.
    const char* silence = "";
};

}  // namespace KelvaneSDK
