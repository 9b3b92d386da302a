#pragma once

#include <atomic>

// SIGINT, SIGTERM and SIGHUP, which end reading and evaluation, so that a run can end in order.

namespace kelvane {

/// Catches these signals from now on. A second one ends the process at once.
void catchInterruptions();

/// The signal that came, or 0.
int interruption();
/// Set once there was a signal, or interrupt() was called; ends the batch in progress.
const std::atomic<bool>& interrupted();
/// Ends reading and evaluation on every thread, as a signal does.
void interrupt();

/// Waits until `descriptor` can be read or all was interrupted; true in the first case.
bool waitForInput(int descriptor);

}  // namespace kelvane
