#pragma once

// Internal: a diagram compiled for evaluation.

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "KelvaneSDK/FunctionNode.h"
#include "KelvaneSDK/Kelvane/Kelvane.h"
#include "KelvaneSDK/Kelvane/SettledOrder.h"

namespace KelvaneSDK {

/// Evaluates the batches of one diagram. Made when the first batch arrives and again after every change of
/// the wiring: the function nodes in settled order, what each stream can reach, and every label with the
/// streams and outputs that bear it.
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
    /// The label of an input stream or variable output, by its place in label order.
    std::optional<Label> labelOf(std::string_view text) const;

    /// Begins a batch: then feed(), any number of times, and run().
    void begin(double timestamp);
    void feed(const LabelledValues& updates);
    /// `value` must live until run() ends. Of several values for one label the last counts.
    void feed(Label label, const Value& value);
    void run();

    /// Fills `results` with what the batch gave, by label; hidden outputs and streams that do not forward are
    /// left out.
    void collect(LabelledValues& results);
    /// What the batch gave for a label, hidden or not, or null.
    const Value* result(Label label) const { return wasWritten(label) ? written[label] : nullptr; }

private:
    struct LabelEntry {
        std::string_view text;
        /// The streams that bear it, as a range of `streamsByLabel`.
        std::uint32_t firstStream = 0, lastStream = 0;
        /// The batch in which the label got a value last.
        std::uint64_t enteredIn = 0;
    };
    enum LabelFlags : std::uint8_t {
        isFedBack = 1,  ///< outputs of the label may feed streams of it, or their passes may change the order
        isRemoved = 2,  ///< something that bears the label is hidden or does not forward
    };
    struct Stream {
        InputStreamNode* node;
        Label label;
        /// The blocks of steps and outputs that it can reach, or all of them.
        std::vector<std::uint32_t> blocks;
        bool reachesAll = false;
    };
    struct Output {
        VariableOutputNode* node;
        StepInput input;
        GivenValue* given;
        /// The type that the node admits, or GivenValue::absent for a class with a rule of its own.
        std::uint8_t admitted;
        Label label;
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
    void compileSteps();
    void compileReach();
    void settle(SweepPass pass);
    void markLastingSlots();
    void findRemovedLabels();
    void pushConstants();

    void pass();
    bool feedBack();
    void setStreams();
    void setStream(const Stream& stream, const Value& value);
    void sweep();
    [[noreturn]] void sweepForEver();
    void collectOutputs();
    void collectOutput(Output& output);
    void unbind();
    void write(Label label, const Value* value) {
        written[label] = value;
        writtenLabels[label / 64] |= std::uint64_t{1} << label % 64;
        if ((labelFlags[label] & isFedBack) != 0) noteFedBack(label);
    }
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
    std::vector<Node*> waiting;
    std::vector<Stream> streams;
    std::vector<Output> outputs;
    /// Constants into whose readers something else writes, too.
    std::vector<Node*> copiedConstants;
    /// Slots that classes of unknown ways have seen as dealt with in this pass.
    std::vector<TimestampedVariable*> passingSlots;
    /// A node may run in a later sweep of a pass: some feeder stands after its reader, or nothing is known.
    bool mayRunAgain = false;
    bool hasUnknownNodes = false;
    bool furtherPassesSettleAnew = false;
    bool isForOneSweep = false;

    std::vector<LabelEntry> labels;
    std::vector<std::uint8_t> labelFlags;
    /// What the batch gave for each label, where `writtenLabels` has its bit; null for nothing.
    std::vector<const Value*> written;
    std::shared_ptr<const std::vector<std::string>> labelTexts;
    std::unordered_map<std::string_view, Label> labelsByText;
    std::vector<std::uint32_t> streamsByLabel;
    /// The labels of the latest batch's updates, by place: mostly the next one's.
    std::vector<Label> latestLabels;

    // Blocks of 64 steps, then, from a whole word on, blocks of 64 outputs, one bit each.
    static constexpr std::size_t blockSize = 64;
    std::size_t stepWords = 0, firstOutputBlock = 0;
    using Blocks = std::vector<std::uint64_t>;
    Blocks everywhere, always, touched, carried;

    // The batch in progress.
    double timestamp = 0;
    std::size_t work = 0;
    bool isLimited = false;
    std::vector<Feed> feeds;
    Blocks writtenLabels;
    std::vector<Label> fedBackLabels;
};

}  // namespace KelvaneSDK
