#pragma once

#include "Commands.h"

namespace kelvane {

/// The options name several recordings, or ask for what only several can have.
bool isForManyRecordings(const RunOptions& options);

/// Evaluates one diagram over many recordings, each from a fresh start, on several threads. The results, on
/// one stream, and the messages come in the order of the recordings, whatever the number of threads.
int runMany(const RunOptions& options);

}  // namespace kelvane
