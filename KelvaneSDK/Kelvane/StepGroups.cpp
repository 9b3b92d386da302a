#include "KelvaneSDK/Kelvane/StepGroups.h"

#include <algorithm>
#include <map>

namespace KelvaneSDK {

/// When outputs are given anew, by number.
class Clocks {
public:
    using Clock = std::uint32_t;
    /// The constants', which ticks once at the beginning of every batch.
    static constexpr Clock constant = 0;

    /// A clock of its own. `isOnce`: it ticks at most once in a batch.
    Clock own(bool isOnce) {
        all.push_back({{}, isOnce});
        return static_cast<Clock>(all.size() - 1);
    }
    /// The clock of what waits for all of `parts`, which comes to be sorted and without those that others
    /// imply.
    Clock joined(std::vector<Clock>& parts) {
        std::sort(parts.begin(), parts.end());
        parts.erase(std::unique(parts.begin(), parts.end()), parts.end());
        if (parts.size() > 1) dropImplied(parts);
        if (parts.size() == 1) return parts.front();
        const auto [known, isNew] = joins.try_emplace(parts, static_cast<Clock>(all.size()));
        if (isNew) {
            const bool isOnce =
                std::find(parts.begin(), parts.end(), constant) != parts.end() ||
                std::all_of(parts.begin(), parts.end(), [&](auto part) { return all[part].isOnce; });
            all.push_back({parts, isOnce});
        }
        return known->second;
    }
    bool isOnce(Clock clock) const { return all[clock].isOnce; }

private:
    // What waits for a clock and for one that itself waits for it runs whenever the latter ticks.
    void dropImplied(std::vector<Clock>& parts) const {
        const std::vector<Clock> before = parts;
        std::erase_if(parts, [&](Clock part) {
            return std::any_of(before.begin(), before.end(), [&](Clock other) {
                const auto& implied = all[other].parts;
                return std::binary_search(implied.begin(), implied.end(), part);
            });
        });
    }

    struct Entry {
        std::vector<Clock> parts;
        bool isOnce;
    };
    std::vector<Entry> all{{{}, true}};
    std::map<std::vector<Clock>, Clock> joins;
};

class StepGroups::Forming {
public:
    Forming(StepGroups& owner, std::vector<Step>& allSteps, std::vector<StepInput>& allInputs,
            bool isForRestOfBatch)
        : formed(owner),
          steps(allSteps),
          inputs(allInputs),
          isWithinBatch(isForRestOfBatch),
          feeders(allInputs.size(), unknown) {}

    void form(const DiagramNodes& nodes, const std::uint64_t& batches) {
        findFeeders(nodes, batches);
        for (std::size_t i = 0; i < steps.size(); ++i) place(i);
        close(steps.size());
        finish(isWithinBatch ? batches : 0);
    }

private:
    using Clock = Clocks::Clock;
    // Who feeds an input: a step by its place, a stream from `firstStream` on, or one of these.
    using Feeder = std::uint32_t;
    static constexpr Feeder unknown = ~Feeder{0}, constant = unknown - 1;

    struct Draft {
        std::size_t firstStep, firstTrigger;
    };

    void findFeeders(const DiagramNodes& nodes, const std::uint64_t& batches) {
        const auto feeds = [&](Node& node, Feeder feeder) {
            for (const auto* slot : node.connectedInputValues()) {
                const StepInput* input = slot->boundInput();
                const bool isStepInput = std::less_equal<>()(inputs.data(), input) &&
                                         std::less<>()(input, inputs.data() + inputs.size());
                // A slot that something else writes to, too, has a value of its own.
                if (isStepInput && input->source == &NodeState::of(node).given)
                    feeders[static_cast<std::size_t>(input - inputs.data())] = feeder;
            }
        };
        for (auto* node : nodes.constants) {
            const GivenValue& given = NodeState::of(*node).given;
            const bool isPlain = given.clock == &batches && given.hasValue() && !(given.timestamp > 0);
            if (isPlain) feeds(*node, constant);
        }
        clocks.resize(steps.size());
        for (std::size_t i = 0; i < steps.size(); ++i) feeds(*steps[i].node, static_cast<Feeder>(i));
        for (auto* node : nodes.streams) {
            clocks.push_back(known.own(true));
            feeds(*node, static_cast<Feeder>(clocks.size() - 1));
        }
    }

    // Gives the step its clock, and a place in the group before it where that has the same.
    void place(std::size_t index) {
        const Step& step = steps[index];
        bool isPlain = step.compute != nullptr, hasConstants = false;
        const Feeder* const feeder = isPlain ? feeders.data() + (step.inputs - inputs.data()) : nullptr;
        parts.clear();
        for (std::size_t i = 0; isPlain && i < step.inputCount; ++i) {
            hasConstants |= feeder[i] == constant;
            // What has been left half fed runs at a time of its own.
            if (feeder[i] == constant) {
                isPlain = !isWithinBatch || !step.inputs[i].hasNews();
            } else if ((isPlain = feeder[i] != unknown && !step.inputs[i].hasNews())) {
                parts.push_back(clocks[feeder[i]]);
            }
        }
        if (!isPlain) {
            clocks[index] = known.own(false);
            return open(index, unknown);
        }
        if (parts.empty()) parts.push_back(Clocks::constant);
        Clock clock = known.joined(parts);
        if (hasConstants && !known.isOnce(clock)) {
            parts.push_back(Clocks::constant);
            clock = known.joined(parts);
        }
        clocks[index] = clock;
        if (clock == openClock) return;
        open(index, clock);
        for (const Clock part : parts) formed.triggers.push_back(triggerFor(step, feeder, part));
    }
    StepInput triggerFor(const Step& step, const Feeder* feeder, Clock part) const {
        for (std::size_t i = 0;; ++i) {
            if ((feeder[i] == constant ? Clocks::constant : clocks[feeder[i]]) != part) continue;
            const StepInput& input = step.inputs[i];
            return {input.source, input.clock, input.consumed, nullptr};
        }
    }

    void open(std::size_t step, Clock clock) {
        close(step);
        drafts.push_back({step, formed.triggers.size()});
        openClock = clock;
    }
    // A step that remained alone decides for itself.
    void close(std::size_t end) {
        if (!drafts.empty() && drafts.back().firstStep + 1 == end)
            formed.triggers.resize(drafts.back().firstTrigger);
    }

    void finish(std::uint64_t ranIn) {
        formed.groups.reserve(drafts.size());
        for (std::size_t i = 0; i < drafts.size(); ++i) {
            const bool isLast = i + 1 == drafts.size();
            const auto end = isLast ? steps.size() : drafts[i + 1].firstStep;
            const auto lastTrigger = isLast ? formed.triggers.size() : drafts[i + 1].firstTrigger;
            StepGroup& group = formed.groups.emplace_back();
            group.steps = &steps[drafts[i].firstStep];
            group.stepCount = static_cast<std::uint32_t>(end - drafts[i].firstStep);
            group.triggerCount = static_cast<std::uint32_t>(lastTrigger - drafts[i].firstTrigger);
            if (group.triggerCount == 0) continue;
            group.triggers = &formed.triggers[drafts[i].firstTrigger];
            group.ranIn = ranIn;
            const auto firstFollower = formed.followers.size();
            for (Step* step = group.steps; step != group.steps + group.stepCount; ++step)
                joinGroup(*step, group);
            group.followerCount = static_cast<std::uint32_t>(formed.followers.size() - firstFollower);
        }
        StepInput* const* next = formed.followers.data();
        for (auto& group : formed.groups) {
            group.followers = next;
            next += group.followerCount;
        }
    }
    void joinGroup(Step& step, StepGroup& group) {
        const auto firstStep = static_cast<Feeder>(group.steps - steps.data());
        const auto* feeder = feeders.data() + (step.inputs - inputs.data());
        for (std::size_t i = 0; i < step.inputCount; ++i) {
            StepInput& input = step.inputs[i];
            if (feeder[i] == constant) {
                input.clock = &group.ranIn;
            } else if (clocks[feeder[i]] != clocks[firstStep] || feeder[i] >= steps.size()) {
                auto* const end = group.triggers + group.triggerCount;
                auto* const trigger = std::find_if(
                    group.triggers, end, [&](const auto& each) { return each.source == input.source; });
                if (trigger == end) {
                    formed.followers.push_back(&input);
                    continue;
                }
                input.clock = &trigger->consumed;
            }
            input.consumed = StepInput::together;
        }
    }

    StepGroups& formed;
    std::vector<Step>& steps;
    std::vector<StepInput>& inputs;
    bool isWithinBatch;
    std::vector<Feeder> feeders;
    Clocks known;
    // Of the steps, then of the streams.
    std::vector<Clock> clocks;
    std::vector<Clock> parts;
    std::vector<Draft> drafts;
    Clock openClock = unknown;
};

void StepGroups::form(const DiagramNodes& nodes, std::vector<Step>& steps, std::vector<StepInput>& inputs,
                      const std::uint64_t& batches, bool isWithinBatch) {
    groups.clear();
    triggers.clear();
    followers.clear();
    Forming(*this, steps, inputs, isWithinBatch).form(nodes, batches);
}

void StepGroups::keepApart(std::vector<Step>& steps) {
    groups.clear();
    groups.reserve(steps.size());
    for (auto& step : steps) groups.push_back({&step, 1});
}

std::size_t StepGroups::groupOf(const Step& step) const {
    const auto after =
        std::upper_bound(groups.begin(), groups.end(), &step,
                         [](const Step* wanted, const auto& group) { return wanted < group.steps; });
    return static_cast<std::size_t>(after - groups.begin()) - 1;
}

}  // namespace KelvaneSDK
