#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace [[gnu::visibility("default")]] KelvaneSDK {

/// Receives the library's diagnostics, one call per line, without a line break. Lines begin "ERROR: " or
/// "WARNING: ". Called on the thread that runs the library code; must not call back into the library.
using DiagnosticSink = std::function<void(std::string_view line)>;

/// Replaces the common sink and returns the previous one. It takes the lines of free functions such as
/// readKelvaneInputs() and of engines that have no sink of their own. An empty function restores the default,
/// which writes whole lines to standard output. Any thread; calls to this sink never overlap.
DiagnosticSink setDiagnosticSink(DiagnosticSink sink);

/// Prints one diagnostic line: to the sink of the engine whose operation runs on this thread, or else to the
/// common one.
void printDiagnostic(std::string_view line);

/// What a stop does: what happens when an invariant is broken, or a limit of evaluation is passed. An integer
/// overflows, a slot holds a value of the wrong type, a document names an input that does not exist.
enum class StopBehavior : std::uint8_t {
    endProgram,  ///< says why on standard error and aborts
    failCall,    ///< the engine's operation fails, and the engine waits for a reset or another document
};

/// Why an engine's operation failed.
struct StopReason {
    /// One sentence that begins with the node, where there is one.
    std::string text;
    /// The id of the node concerned, where there is one.
    std::optional<std::int64_t> nodeId;
};

/// Ends the program because an invariant is broken: writes "FATAL: " and the reason to standard error, and
/// aborts. The one place where the library ends a process. Within an operation of an engine that fails calls
/// instead, it ends the operation. A node calls Node::stop(), which names it.
[[noreturn]] void stopProgram(std::string_view reason, std::optional<std::int64_t> nodeId = {});

}  // namespace KelvaneSDK
