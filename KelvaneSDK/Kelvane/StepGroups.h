#pragma once

// Internal: which steps of a compiled diagram always run together.

#include <cstdint>
#include <vector>

#include "KelvaneSDK/Kelvane/DiagramNodes.h"
#include "KelvaneSDK/Nodes/Step.h"

namespace KelvaneSDK {

/// Neighbours in the settled order of which either all run or none, so that one look at what triggers them
/// decides for all; or one step that decides for itself.
struct StepGroup {
    Step* steps;
    std::uint32_t stepCount;
    /// The inputs whose news let the steps run; none where the one step decides.
    std::uint32_t triggerCount = 0;
    StepInput* triggers = nullptr;
    /// Inputs of the steps that are consumed with the triggers, and count for themselves.
    StepInput* const* followers = nullptr;
    std::uint32_t followerCount = 0;
    /// The batch in which the steps ran last.
    std::uint64_t ranIn = 0;
};

/// The groups of a diagram's steps, in settled order.
///
/// Two outputs have the same clock when they are always given anew in the same passes: what computes from
/// nothing but values of one clock has that clock too, and what waits for values of several clocks has a
/// clock of its own that all nodes share which wait for the same ones. Constants do not count where a clock
/// ticks at most once in a batch, for they are new in every batch.
class StepGroups {
public:
    /// Groups the steps; inputs that are consumed with their group count there from now on. `batches` is the
    /// clock of the constants, which some nodes may have consumed within a batch.
    void form(const DiagramNodes& nodes, std::vector<Step>& steps, std::vector<StepInput>& inputs,
              const std::uint64_t& batches, bool isWithinBatch);
    /// Leaves each step on its own.
    void keepApart(std::vector<Step>& steps);

    std::size_t size() const { return groups.size(); }
    StepGroup* data() { return groups.data(); }
    StepGroup* end() { return groups.data() + groups.size(); }
    /// The place of the group that a step belongs to.
    std::size_t groupOf(const Step& step) const;

private:
    class Forming;

    std::vector<StepGroup> groups;
    std::vector<StepInput> triggers;
    std::vector<StepInput*> followers;
};

}  // namespace KelvaneSDK
