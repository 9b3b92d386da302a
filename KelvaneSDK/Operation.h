#pragma once

// Internal: what an operation of an engine makes of diagnostics and stops while it runs.

#include <optional>
#include <string>
#include <string_view>

#include "KelvaneSDK/Diagnostics.h"

namespace KelvaneSDK {

/// How the operation in progress on a thread prints and stops. Operations nest: the innermost counts.
class Operation {
public:
    /// `sinkOfLines` takes the diagnostics; where it is null or empty, they go to those of the operation
    /// around this one, and at last to the common sink. A stop in a trial ends the trial, whatever the
    /// operations within it make of stops.
    Operation(StopBehavior stopBehavior, const DiagnosticSink* sinkOfLines, bool isTried = false)
        : behavior(stopBehavior), lines(sinkOfLines), isTrial(isTried), outer(current) {
        current = this;
    }
    ~Operation() { current = outer; }
    Operation(const Operation&) = delete;
    Operation& operator=(const Operation&) = delete;

    /// Thrown by a stop where calls fail; never leaves the library.
    struct Stopped {
        StopReason reason;
    };

    /// Where this thread's diagnostics go, or null for the common sink.
    static const DiagnosticSink* sink();
    /// A stop on this thread ends an operation, not the program.
    static bool catchesStops();

private:
    // That of this thread.
    static constinit thread_local const Operation* current;

    const StopBehavior behavior;
    const DiagnosticSink* const lines;
    const bool isTrial;
    const Operation* const outer;
};

/// Runs library code in which a stop ends only this work: the reason, or absent when it came to its end.
/// Diagnostics go to `lines`. What was worked on may only be destroyed after a stop.
template <class Work>
std::optional<StopReason> reasonOfStop(const Work& work, const DiagnosticSink& lines = {}) {
    const Operation operation(StopBehavior::failCall, &lines, true);
    try {
        work();
    } catch (Operation::Stopped& stopped) {
        return std::move(stopped.reason);
    }
    return std::nullopt;
}

}  // namespace KelvaneSDK
