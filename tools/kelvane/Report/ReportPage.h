#pragma once

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

/// Writes a page that shows the run: the viewer, the picture of the diagram and all values.
void writeReportPage(const RecordedRun& run, PendingText& output);

}  // namespace kelvane
