#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <limits>
#include <optional>
#include <string>
#include <string_view>

namespace [[gnu::visibility("default")]] KelvaneSDK {

// What the library says, and how it stops.

/// Receives the library's diagnostics, one call per line, without a line break. Lines begin "ERROR: " or
/// "WARNING: ". Called on the thread that runs the library code; must not call back into the library.
///
///     engine.setDiagnosticSink([&](std::string_view line) { log.write(line); });
using DiagnosticSink = std::function<void(std::string_view line)>;

/// Replaces the common sink and returns the previous one. It takes the lines of free functions such as
/// readKelvaneInputs() and of engines that have no sink of their own. An empty function restores the default,
/// which writes whole lines to standard output. Any thread; calls to this sink never overlap.
DiagnosticSink setDiagnosticSink(DiagnosticSink sink);

/// Prints one diagnostic line: to the sink of the engine whose operation runs on this thread, or else to the
/// common one. For node classes of an application's own.
void printDiagnostic(std::string_view line);

/// The line about a value of another type than that of the input stream with this label, which dropped it:
/// for an application that counts them.
std::string wrongTypeLine(std::string_view streamLabel);

/// What a stop does: what happens when an invariant is broken, or a limit of evaluation is passed. An integer
/// overflows, a slot holds a value of the wrong type, a document names an input that does not exist.
enum class StopBehavior : std::uint8_t {
    /// Says why on standard error and aborts: for programs whose diagrams are their own.
    endProgram,
    /// The engine's operation fails, and the engine waits for a reset or another document: for diagrams from
    /// elsewhere, and for programs that go on without them.
    ///
    ///     engine.setStopBehavior(StopBehavior::failCall);
    ///     engine.evaluateInto(batch, results);
    ///     if (engine.failure()) show(engine.failure()->text);
    failCall,
};

/// Why an engine's operation failed.
struct StopReason {
    /// One sentence that begins with the node, where there is one: `node 7 ("Divide", "ratio"): ...`.
    std::string text;
    /// The id of the node concerned, where there is one.
    std::optional<std::int64_t> nodeId;
};

/// Ends the program because an invariant is broken: writes "FATAL: " and the reason to standard error, and
/// aborts. The one place where the library ends a process. Within an operation of an engine that fails calls
/// instead, it ends the operation, by an exception of the library's own that nobody else may catch. A node
/// calls Node::stop(), which names it.
[[noreturn]] void stopProgram(std::string_view reason, std::optional<std::int64_t> nodeId = {});

/// What the evaluation of a diagram may use up, for Kelvane::setLimits(). Beyond a limit the evaluation
/// stops, with a reason that names the node, so that a diagram of unknown origin cannot exhaust memory or
/// time. Without limits nothing is checked.
///
///     engine.setLimits({.maxElements = 10'000'000, .maxBatchSeconds = 1});
struct EvaluationLimits {
    /// The elements of any list that a function makes or keeps: array elements, samples, bytes of a text; in
    /// a list of texts or sequences theirs count as well.
    std::size_t maxElements = std::numeric_limits<std::size_t>::max();
    /// The wall-clock seconds that the evaluation of one batch may take. It is looked at every few thousand
    /// steps, so a batch ends a little later.
    double maxBatchSeconds = std::numeric_limits<double>::infinity();
    /// Where not null, stops the batch in progress soon after another thread, or a signal handler, has set
    /// it. Must outlive the engine.
    const std::atomic<bool>* interrupted = nullptr;
};

}  // namespace KelvaneSDK
