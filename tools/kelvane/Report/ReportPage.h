#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "Diagram.h"
#include "Files.h"
#include "Report/ValueRecorder.h"

namespace kelvane {

/// A run of a diagram over a recording, after it.
struct RecordedRun {
    const Diagram& diagram;
    const ValueRecorder& recorder;
    /// The recording's file.
    std::string recording;
    /// What went wrong in the run, and what it would have warned of.
    std::string stopped;
    std::vector<std::string> warnings;
    /// The constants are others than the document's.
    bool isTuned = false;
};

/// Writes a page that shows the run: the viewer, the picture of the diagram and all values. `progress` gets
/// how many nodes' values have been written, and of how many.
void writeReportPage(const RecordedRun& run, PendingText& output,
                     const std::function<void(std::size_t, std::size_t)>& progress);

}  // namespace kelvane
