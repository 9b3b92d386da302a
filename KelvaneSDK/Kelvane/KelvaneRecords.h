#pragma once

#include <vector>

#include "KelvaneSDK/Kelvane/LabelledValues.h"

namespace [[gnu::visibility("default")]] KelvaneSDK {

/// One batch of input updates: at `timestamp` (seconds, on the application's own time axis) each labelled
/// input stream takes a new value.
struct KelvaneInput {
    double timestamp = 0;
    LabelledValues updates;

    friend bool operator==(const KelvaneInput&, const KelvaneInput&) = default;
};

/// The results of one batch: variable-output labels, and the labels of forwarding input streams, with their
/// new values. `timestamp` is the batch's.
struct KelvaneOutput {
    double timestamp = 0;
    LabelledValues outputs;

    friend bool operator==(const KelvaneOutput&, const KelvaneOutput&) = default;
};

/// Takes an engine's results. The engine holds it weakly.
class VariableOutputUpdatesReceiver {
public:
    virtual ~VariableOutputUpdatesReceiver() = default;
    /// One batch's results, on the thread that called Kelvane::updateInputStreams(). A skipped batch gives an
    /// empty output.
    virtual void newVariableOutputUpdates(const KelvaneOutput& output) = 0;
    /// Every non-empty result of one Kelvane::processAllUpdates(), in order, on the main queue's thread.
    virtual void allUpdatesProcessed(const std::vector<KelvaneOutput>& outputs) = 0;
};

}  // namespace KelvaneSDK
