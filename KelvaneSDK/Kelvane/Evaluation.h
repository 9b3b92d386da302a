#pragma once

// Internal: a diagram compiled for evaluation.

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "KelvaneSDK/Kelvane/DiagramNodes.h"
#include "KelvaneSDK/Kelvane/LabelledValues.h"
#include "KelvaneSDK/Kelvane/SettledOrder.h"
#include "KelvaneSDK/Kelvane/StepGroups.h"
#include "KelvaneSDK/Nodes/DiagramState.h"

namespace KelvaneSDK {

/// Evaluates the batches of one diagram. Made when the first batch arrives and again after every change of
/// the wiring (EvaluationPlan.cpp): the function nodes in settled order, those together that always run
/// together, what each stream can reach, and every label with the streams and outputs that bear it.
/// Evaluation.cpp then follows a batch from its updates to its results.
class Evaluation {
public:
    /// `nodes.functions` takes on the settled order.
    Evaluation(DiagramNodes& nodes, DiagramState& state);
    ~Evaluation();
    Evaluation(const Evaluation&) = delete;
    Evaluation& operator=(const Evaluation&) = delete;

    /// The diagram has changed since, or the order was that of one sweep.
    bool isOutOfDate() const { return changes != state.changes || isForOneSweep; }

    using Label = std::uint32_t;
    /// The label of an input stream or variable output, by its place in label order; noLabel() when there is
    /// no such stream or output.
    Label labelOf(std::string_view text) const;
    Label noLabel() const { return static_cast<Label>(labels.size() - 1); }

    /// Evaluates a batch of updates and fills `results` with what it gave, by label; hidden outputs and
    /// streams that do not forward are left out.
    void evaluate(double timestamp, const LabelledValues& updates, LabelledValues& results);
    /// Evaluates a batch of the values of some handles, whose indices are `set`.
    void evaluate(double timestamp, std::span<const HandleEntry> handles, std::span<const std::uint32_t> set);
    /// What the latest batch gave for a label, hidden or not, or null.
    const Value* result(Label label) const { return wasWritten(label) ? labels[label].written : nullptr; }

private:
    struct alignas(64) LabelEntry {
        std::string_view text;
        /// What the only stream that bears it gives; null where there are several, or where something sees in
        /// which order they are fed.
        GivenValue* onlyGiven = nullptr;
        /// What the latest batch to write the label gave for it; null for nothing.
        const Value* written = nullptr;
        /// The streams that bear it, as a range of `streamsByLabel`.
        std::uint32_t firstStream = 0, lastStream = 0;
        /// The batch in which the streams got a value last.
        std::uint64_t enteredIn = 0;
        /// Outputs of the label may feed streams of it, or their passes may change the order.
        bool isFedBack = false;
    };
    struct Stream {
        InputStreamNode* node;
        GivenValue* given;
        Label label;
        /// The blocks of groups and outputs that it can reach, or all of them.
        std::vector<std::uint32_t> blocks;
        bool reachesAll = false;
    };
    struct Output {
        VariableOutputNode* node;
        /// The node's input; never news where nothing feeds it.
        StepInput input;
        Label label;
        /// A value of this type only replaces the one before; notPlain while more is to be done.
        std::uint8_t plainKind;
        static constexpr std::uint8_t notPlain = GivenValue::absent - 1;
        /// A class with a rule of its own, asked every time.
        bool isAsked : 1;
        /// Nothing else bears the label, and nothing is fed back.
        bool isOnlyOne : 1 = false;
        /// What feeds the input keeps the value that it gave last until it gives another.
        bool isLasting : 1 = false;
        /// The node shows what stands in its input, and gets no copy of it.
        bool showsInput : 1 = false;
    };
    struct Feed {
        std::uint32_t stream;
        const Value* value;
    };
    class Reach;
    struct Empty {
        DiagramNodes& nodes;
        DiagramState& state;
    };

    explicit Evaluation(Empty empty) : nodes(empty.nodes), state(empty.state) {}
    void compileLabels();
    void compileSteps(SweepPass pass);
    void compileReach();
    bool findReach();
    void settle(SweepPass pass);
    void markLastingSlots();
    void findShownLabels();
    std::size_t blockOf(std::uint32_t place) const;
    void unbind();

    bool begin(double timestamp);
    [[gnu::noinline]] void beginSpecially();
    void refreshConstants();
    void feed(const LabelledValues& updates);
    [[gnu::noinline]] void findLabels(const LabelledValues& updates);
    void feed(Label label, const Value& value);
    [[gnu::noinline]] void holdBack(Label label, const Value& value);
    void touch(const Stream& stream);
    void run(bool isPlainBatch);
    [[gnu::noinline]] void runFurtherPasses();
    [[gnu::noinline]] void runSpecially();
    void pass();
    bool feedBack();
    void feedHeldBack();
    void endHeldBack();
    void sweep();
    bool runGroups();
    bool run(StepGroup* group, const StepGroup* end);
    bool runObserved(const StepGroup* group, const StepGroup* end);
    bool runObserved(Step& step);
    static bool run(StepGroup& group, std::uint64_t batch);
    [[gnu::noinline]] static void computeEach(const StepGroup& group);
    static double latestOf(const Step& step);
    [[noreturn]] void sweepForEver();
    void collectOutputs();
    void collect(Output* output, const Output* end);
    [[gnu::noinline]] void collectSpecially(Output& output);
    void collect(LabelledValues& results);
    [[gnu::noinline]] void collectAnew(LabelledValues& results, bool isSameSet);
    void setWritten(LabelEntry& entry, Label label, const Value* value);
    void noteFedBack(Label label);
    bool wasWritten(Label label) const { return (writtenLabels[label / 64] >> label % 64 & 1) != 0; }
    void countWork(const Node& node);

    DiagramNodes& nodes;
    DiagramState& state;
    std::uint64_t changes = 0;
    std::uint64_t seenHandWritten = 0;
    std::uint64_t seenVisibility = 0;

    std::vector<Step> steps;
    std::vector<StepInput> stepInputs;
    StepGroups groups;
    std::vector<Node*> waiting;
    std::vector<Stream> streams;
    std::vector<Output> outputs;
    /// Constants into whose readers something else writes, too.
    std::vector<Node*> copiedConstants;
    /// Slots that classes of unknown ways have seen as dealt with in this pass.
    std::vector<TimestampedVariable*> passingSlots;
    /// One sweep may not end a pass: some feeder stands after its reader, a node waits, or nothing is known.
    bool mayRunAgain = false;
    /// Every batch walks all groups and outputs.
    bool walksAll = true;
    /// Nothing else is to be done, unless limits, changes or updates ask for it.
    bool walksOnce = false;
    bool hasUnknownNodes = false;
    bool furtherPassesSettleAnew = false;
    bool isForOneSweep = false;

    /// The last one stands for those that nothing bears.
    std::vector<LabelEntry> labels;
    /// Owns the labels' texts.
    std::shared_ptr<const void> labelOwner;
    std::unordered_map<std::string_view, Label> labelsByText;
    std::vector<std::uint32_t> streamsByLabel;
    /// The labels of the latest batch's updates, by place: mostly the next one's; and the number of their
    /// set.
    std::vector<Label> latestLabels;
    std::uint64_t latestLabelSet = noSet;
    static constexpr std::uint64_t noSet = ~std::uint64_t{0};

    // Blocks of 64 groups, then, from a whole word on, blocks of 64 outputs, one bit each.
    static constexpr std::size_t blockSize = 64;
    std::size_t groupWords = 0, firstOutputBlock = 0;
    using Bits = std::vector<std::uint64_t>;
    static void setBit(Bits& bits, std::size_t index) { bits[index / 64] |= std::uint64_t{1} << index % 64; }
    Bits everywhere, always, touched, carried;
    /// Labels that neither a hidden output nor a stream that does not forward bears.
    Bits shownLabels;
    /// What collect() found last: the labels shown and the values for them, and a number for the results of
    /// just these labels.
    Bits collectedLabels;
    std::vector<const Value*> collectedValues;
    std::uint64_t collectedSet = 0;

    // The batch in progress.
    double timestamp = 0;
    std::size_t work = 0;
    bool isLimited = false;
    /// What is fed comes from variable outputs.
    bool isFurtherPass = false;
    /// What was fed that takes more than setting a value.
    std::vector<Feed> heldBack;
    Bits writtenLabels;
    std::vector<Label> fedBackLabels, nextLabels;
};

}  // namespace KelvaneSDK
