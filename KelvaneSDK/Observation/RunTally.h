#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

#include "KelvaneSDK/Kelvane/Kelvane.h"

namespace [[gnu::visibility("default")]] KelvaneSDK {

/// What became of one node in all batches so far. Times are those of batches, in seconds.
///
///     const auto& tally = tallies.of(node);
///     std::cout << node.label() << ": ran " << tally.runs << " times, gave " << tally.emissions
///               << " values, the last at " << tally.lastEmission.value_or(0) << " s\n";
struct NodeTally {
    /// How often a function ran, and how often the node gave a value: for a stream, the updates that it took,
    /// for an output, those that it wrote.
    std::uint64_t runs = 0, emissions = 0;
    /// When it gave the first and the latest of them; absent without any.
    std::optional<double> firstEmission, lastEmission;
    /// Of a Boolean's emissions, those that were true.
    std::uint64_t trues = 0;
    /// The emissions that held "not a number" anywhere in them, and since when; `beganNotNumber` says that no
    /// input held one when it came first.
    std::uint64_t notNumbers = 0;
    std::optional<double> firstNotNumber;
    bool beganNotNumber = false;
    /// What a stream or an output dropped because it was of another type, and since when.
    std::uint64_t refused = 0;
    std::optional<double> firstRefused;
    ValueType refusedType = ValueType::Float;
    /// Of a stream's emissions, those that variable outputs of its label fed.
    std::uint64_t fedBack = 0;
    /// The runs that gave nothing, by what the function said of them, in order of appearance.
    struct Silence {
        /// In the function's own words: "the gate is closed". Static text; empty where it did not say.
        std::string_view reason;
        /// How many runs, and when the first and the latest of them were.
        std::uint64_t count = 0;
        double first = 0, last = 0;
    };
    std::vector<Silence> silences;
    /// Since when it ran in vain, without having given a value after that.
    std::optional<double> silentSince;
    /// The time that its runs took, where the tally measures it.
    EvaluationObserver::Clock::duration time{};

    /// The runs that gave nothing. Of a function; other nodes do not run.
    std::uint64_t silentRuns() const { return runs - emissions; }
};

/// Whether a value is, or holds, "not a number".
bool holdsNaN(const Value& value);

/// Counts what becomes of each node. An application that wonders why an output stays silent lets an engine be
/// observed by one, and asks whySilent() afterwards.
///
///     RunTally tally;
///     engine.observe(&tally);
///     for (const auto& batch : batches) engine.evaluate(batch);
///     engine.observe(nullptr);
///     for (const auto& cause : whySilent(engine, tally, node)) std::cout << cause.text << "\n";
///
/// Good until the diagram is replaced. A class of an application's own may derive from it and see what
/// happens, too; it passes each call on. The counts themselves take memory in proportion to the nodes, not to
/// the batches. On one thread with its engine.
class RunTally : public EvaluationObserver {
public:
    /// With `measuresTime`, the clock is read at every run.
    explicit RunTally(bool measuresTime = false) : isTiming(measuresTime) {}

    /// The node's counts, all zero before anything happened to it; good as long as this object.
    const NodeTally& of(const Node& node) const;
    /// How many batches have begun.
    std::uint64_t batches() const { return batchCount; }
    /// The timestamps of the first and the latest batch.
    double firstTime() const { return begin; }
    double latestTime() const { return now; }

    void batchBegan(double timestamp) override;
    void streamUpdated(const StreamUpdate& update) override;
    void nodeRan(const NodeRun& run) override;
    void outputWritten(const Node& output, const Value* value) override;
    bool takesTimes() const override { return isTiming; }

private:
    void noteEmission(NodeTally& tally, const Node& node, const Value& value) const;

    const bool isTiming;
    std::unordered_map<const Node*, NodeTally> tallies;
    std::uint64_t batchCount = 0;
    double begin = 0, now = 0;
};

/// Who feeds which input, read off a diagram's connections; good until they change.
///
///     const Feeders feeders(engine);
///     for (const Node* feeder : feeders.of(*node.inputValues()[0])) std::cout << shortName(*feeder) << "\n";
class Feeders {
public:
    explicit Feeders(const Kelvane& engine);

    /// The nodes that feed an input, category by category in document order; empty where it is connected to
    /// nothing.
    std::span<const Node* const> of(const TimestampedVariable& input) const;

private:
    std::unordered_map<const TimestampedVariable*, std::vector<const Node*>> nodes;
};

/// A link in the chain from a node that stays silent to the root of it.
struct SilenceCause {
    /// Whom it is about; a node of the diagram.
    const Node* node;
    /// What kind it is, for programs. Those before the last of a chain say "waits"; the last is one of
    ///
    ///     never-updated     no update named the stream
    ///     refused-type      the stream's updates were of another type than its own
    ///     dropped-type      and so was what the output was given
    ///     unconnected       nothing feeds an input
    ///     rates-differ      the inputs have new values at different rates
    ///     no-first-value    a loop waits for itself
    ///     never-true        the trigger of a "Trigger" was never true
    ///     silent            the function ran and gave nothing, for the reason that it says
    ///     own-rule          a class with a readiness of its own did not run
    ///     speaks            it is not silent at all
    std::string_view code;
    /// What happened, without the name of the node, and what to do; the latter may be empty.
    std::string text, remedy;
};

/// Why a node gave nothing, or less than its inputs would let it: from the node to the root of it, one link
/// at least. `node` is one of the engine's, and the tally has seen its batches.
std::vector<SilenceCause> whySilent(const Kelvane& engine, const RunTally& tally, const Node& node);

/// The variable outputs and functions that gave nothing, or less often than their inputs would let them, in
/// document order, outputs first.
std::vector<const Node*> quietNodes(const Kelvane& engine, const RunTally& tally);

/// How a message names a node that it is not about: its label, or its class and id where it has no label of
/// its own.
std::string shortName(const Node& node);

}  // namespace KelvaneSDK
