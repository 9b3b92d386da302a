#pragma once

#include <functional>
#include <string_view>

namespace KelvaneSDK {

/// Receives the library's diagnostics, one call per line, without a line break. Lines begin "ERROR: " or
/// "WARNING: ". May be called from any thread that runs library code; calls never overlap.
using DiagnosticSink = std::function<void(std::string_view line)>;

/// Replaces the process-wide diagnostic sink and returns the previous one. An empty function restores the
/// default, which writes whole lines to standard output. Any thread; takes effect for lines printed
/// afterwards. A sink must not call back into the library.
DiagnosticSink setDiagnosticSink(DiagnosticSink sink);

/// Prints one diagnostic line through the sink.
void printDiagnostic(std::string_view line);

/// Sees the reason before the program stops, on the thread that stopped; typically flushes files or ends the
/// process its own way. When it returns, the program aborts.
using StopHandler = std::function<void(std::string_view reason)>;

/// Installs the process-wide stop handler and returns the previous one; an empty function removes it.
StopHandler setStopHandler(StopHandler handler);

/// Ends the program because an invariant is broken: tells the stop handler, writes "FATAL: " and the reason
/// to standard error, and aborts. The one place where the library ends a process.
[[noreturn]] void stopProgram(std::string_view reason);

}  // namespace KelvaneSDK
