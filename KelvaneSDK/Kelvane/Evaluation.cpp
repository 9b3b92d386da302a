#include "KelvaneSDK/Kelvane/Evaluation.h"

#include <algorithm>
#include <bit>
#include <utility>

namespace KelvaneSDK {

namespace {

void setBit(std::vector<std::uint64_t>& bits, std::size_t index) {
    bits[index / 64] |= std::uint64_t{1} << index % 64;
}

/// Calls visit(index) for every bit that is set in the words from `begin` to before `end`.
template <class Visit>
inline void forEachBit(const std::uint64_t* bits, std::size_t begin, std::size_t end, Visit visit) {
    for (std::size_t word = begin; word < end; ++word) {
        for (std::uint64_t rest = bits[word]; rest != 0; rest &= rest - 1) {
            visit(word * 64 + static_cast<std::size_t>(std::countr_zero(rest)));
        }
    }
}

const std::uint64_t noTime = 0;
const StepInput never{nullptr, &noTime, 0, nullptr};

/// A class that says nothing about when it runs, and may read and write flags as it likes.
bool isUnknown(const FunctionNode& node) {
    return node.declaration() == nullptr || node.declaration()->readiness == Readiness::own;
}

/// A class that is asked when it runs: the answer may stop, or count how often it is asked.
bool hasOwnRule(const FunctionNode& node) {
    return isUnknown(node) || node.declaration()->readiness != Readiness::allInputs;
}

// A node with an unconnected input never runs, but its rule is asked all the same.
bool askInVain(Step& step) {
    if (step.node->allInputsHaveValues()) step.node->allInputsUpdated();
    return false;
}

}  // namespace

// ---------------------------------------------------------------- a batch, from its updates to its results

void Evaluation::begin(double batchTimestamp) {
    timestamp = batchTimestamp;
    ++state.batches;
    feeds.clear();
    for (auto& word : writtenLabels) word = 0;
    work = 0;
    isLimited = state.budget.isLimited();
}

void Evaluation::feed(const LabelledValues& updates) {
    std::size_t place = 0;
    if (latestLabels.size() < updates.size()) latestLabels.resize(updates.size());
    for (const auto& [text, value] : updates) {
        Label& guess = latestLabels[place++];
        if (guess >= labels.size() || labels[guess].text != text) {
            const auto found = labelOf(text);
            if (!found) continue;
            guess = *found;
        }
        feed(guess, value);
    }
}

void Evaluation::feed(Label label, const Value& value) {
    LabelEntry& entry = labels[label];
    entry.enteredIn = state.batches;
    for (auto i = entry.firstStream; i < entry.lastStream; ++i) feeds.push_back({streamsByLabel[i], &value});
}

void Evaluation::run() {
    pushConstants();
    for (std::size_t i = 0; i < touched.size(); ++i) touched[i] = always[i] | std::exchange(carried[i], 0);
    pass();
    while (feedBack()) {
        if (furtherPassesSettleAnew) settle(SweepPass::further);
        for (std::size_t i = 0; i < touched.size(); ++i) touched[i] = hasUnknownNodes ? everywhere[i] : 0;
        pass();
        // What it left half fed may be completed by the constants of the next batch.
        for (std::size_t i = 0; i < touched.size(); ++i) carried[i] |= touched[i];
    }
}

// Constants are new in every batch, by the count of batches that is their clock.
void Evaluation::pushConstants() {
    if (std::exchange(seenHandWritten, state.handWritten) != state.handWritten) {
        for (auto* node : nodes.constants) node->refreshGiven();
    } else {
        for (auto* node : copiedConstants) node->refreshGiven();
    }
}

void Evaluation::pass() {
    setStreams();
    sweep();
    collectOutputs();
    for (const auto& [stream, value] : feeds)
        streams[stream].node->given().outputState &= static_cast<std::uint8_t>(~GivenValue::isUpdated);
    for (auto* slot : passingSlots) slot->checked = false;
}

void Evaluation::setStreams() {
    // In the order of the document, the last value of each stream.
    const auto before = [](const Feed& a, const Feed& b) { return a.stream < b.stream; };
    if (feeds.size() > 1 && !std::is_sorted(feeds.begin(), feeds.end(), before)) {
        std::stable_sort(feeds.begin(), feeds.end(), before);
    }
    for (std::size_t i = 0; i < feeds.size(); ++i) {
        if (i + 1 < feeds.size() && feeds[i + 1].stream == feeds[i].stream) continue;
        const Stream& stream = streams[feeds[i].stream];
        setStream(stream, *feeds[i].value);
        if (stream.reachesAll) {
            for (std::size_t word = 0; word < touched.size(); ++word) touched[word] = everywhere[word];
        } else {
            for (const auto block : stream.blocks) setBit(touched, block);
        }
    }
}

void Evaluation::setStream(const Stream& stream, const Value& value) {
    GivenValue& given = stream.node->given();
    const bool isPlain = given.special == 0 && given.kind == static_cast<std::uint8_t>(value.type()) &&
                         (given.outputState & GivenValue::holdsValue) != 0;
    if (isPlain) {
        given.set(value);
        stream.node->publish(timestamp);
        return write(stream.label, &given.value);
    }
    stream.node->take(value, timestamp);
    write(stream.label, stream.node->outputValue()->payload());
}

void Evaluation::sweep() {
    for (bool isRepeated = false;; isRepeated = true) {
        bool anyRan = false;
        forEachBit(touched.data(), 0, stepWords, [&](std::size_t block) {
            Step* step = steps.data() + block * blockSize;
            Step* const end = std::min(step + blockSize, steps.data() + steps.size());
            if (isLimited) countWork(*step->node);
            for (; step != end; ++step) anyRan |= step->run(*step);
        });
        if (!waiting.empty()) sweepForEver();
        if (isRepeated) carried = touched;
        if (!anyRan || !mayRunAgain) return;
    }
}

void Evaluation::sweepForEver() {
    for (;;) waiting.front()->checkTime();
}

// Asks the clock now and then, at every 64 blocks.
void Evaluation::countWork(const Node& node) {
    if (++work % 64 == 0) node.checkTime();
}

void Evaluation::collectOutputs() {
    forEachBit(touched.data(), stepWords, touched.size(), [&](std::size_t block) {
        Output* output = outputs.data() + (block - firstOutputBlock) * blockSize;
        Output* const end = std::min(output + blockSize, outputs.data() + outputs.size());
        if (isLimited) countWork(*output->node);
        for (; output != end; ++output) collectOutput(*output);
    });
}

void Evaluation::collectOutput(Output& output) {
    if (output.admitted != GivenValue::absent) {
        if (!output.input.hasNews()) return;
        const GivenValue& brought = *output.input.source;
        if (brought.kind == output.admitted) {
            output.input.consume();
            output.given->set(brought.value);
            output.node->publish(0 <= brought.timestamp ? brought.timestamp : 0);
            return write(output.label, &output.given->value);
        }
    } else if (!output.node->allInputsUpdated()) {
        return;
    }
    output.node->process();
    write(output.label, output.node->outputValue()->payload());
}

void Evaluation::noteFedBack(Label label) {
    if (labels[label].enteredIn != state.batches) fedBackLabels.push_back(label);
}

// Whether an output feeds streams of its label, each label once a batch.
bool Evaluation::feedBack() {
    if (fedBackLabels.empty()) return false;
    feeds.clear();
    bool isAnyNew = false;
    std::sort(fedBackLabels.begin(), fedBackLabels.end());
    for (const auto label : fedBackLabels) {
        LabelEntry& entry = labels[label];
        if (written[label] == nullptr || entry.enteredIn == state.batches) continue;
        isAnyNew = true;
        feed(label, *written[label]);
    }
    fedBackLabels.clear();
    return isAnyNew;
}

void Evaluation::collect(LabelledValues& results) {
    if (std::exchange(seenVisibility, state.visibility) != state.visibility) findRemovedLabels();
    LabelledValues::Refill refill(results, labelTexts);
    forEachBit(writtenLabels.data(), 0, writtenLabels.size(), [&](std::size_t label) {
        if (written[label] == nullptr || (labelFlags[label] & isRemoved) != 0) return;
        refill.put(labels[label].text, *written[label]);
    });
}

// ---------------------------------------------------------------- compiling the diagram

Evaluation::Evaluation(DiagramNodes& diagramNodes, DiagramState& diagramState)
    // By way of the other constructor, so that the destructor takes back what is bound when memory runs out.
    : Evaluation(Empty{diagramNodes, diagramState}) {
    for (const auto* node : nodes.constants) state.batches = std::max(state.batches, node->given().stamp);
    for (auto* node : nodes.constants) node->shareClock(state.batches);
    compileLabels();
    outputs.reserve(nodes.outputs.size());
    for (auto* node : nodes.outputs) {
        const auto type = node->plainType();
        const auto label = *labelOf(node->label());
        auto& slot = *node->inputValues().front();
        outputs.push_back({node, never, &node->given(), GivenValue::absent, label});
        // An input that nothing feeds never has news.
        if (type) outputs.back().admitted = static_cast<std::uint8_t>(*type);
        if (slot.given() != nullptr) slot.bind(outputs.back().input);
    }
    findRemovedLabels();
    seenVisibility = state.visibility;
    settle(SweepPass::first);
    for (auto* node : nodes.constants) {
        node->refreshGiven();
        if ((node->given().special & GivenValue::isCopied) != 0) copiedConstants.push_back(node);
    }
    seenHandWritten = state.handWritten;
    changes = state.changes;
}

Evaluation::~Evaluation() {
    unbind();
    for (auto& output : outputs) {
        if (output.input.slot != nullptr) output.input.slot->unbind();
    }
}

void Evaluation::unbind() {
    for (auto& input : stepInputs) {
        if (input.slot != nullptr) input.slot->unbind();
    }
    stepInputs.clear();
    steps.clear();
}

std::optional<Evaluation::Label> Evaluation::labelOf(std::string_view text) const {
    const auto found = labelsByText.find(text);
    return found == labelsByText.end() ? std::nullopt : std::optional(found->second);
}

void Evaluation::compileLabels() {
    std::vector<std::string> texts;
    for (const auto* node : nodes.streams) texts.emplace_back(node->label());
    for (const auto* node : nodes.outputs) texts.emplace_back(node->label());
    std::sort(texts.begin(), texts.end());
    texts.erase(std::unique(texts.begin(), texts.end()), texts.end());
    labelTexts = std::make_shared<const std::vector<std::string>>(std::move(texts));
    labels.resize(labelTexts->size());
    labelFlags.resize(labels.size());
    written.resize(labels.size());
    writtenLabels.resize((labels.size() + 63) / 64);
    for (std::size_t i = 0; i < labels.size(); ++i) {
        labels[i].text = (*labelTexts)[i];
        labelsByText.emplace(labels[i].text, static_cast<Label>(i));
    }
    for (auto* node : nodes.streams) {
        streams.push_back({node, *labelOf(node->label()), {}, false});
        ++labels[streams.back().label].lastStream;
    }
    std::uint32_t next = 0;
    for (auto& label : labels) {
        label.firstStream = next;
        next += std::exchange(label.lastStream, next);
    }
    streamsByLabel.resize(next);
    for (std::size_t i = 0; i < streams.size(); ++i) {
        streamsByLabel[labels[streams[i].label].lastStream++] = static_cast<std::uint32_t>(i);
    }
}

void Evaluation::findRemovedLabels() {
    for (auto& flags : labelFlags) flags &= static_cast<std::uint8_t>(~isRemoved);
    for (const auto& stream : streams) {
        if (!stream.node->forwarding()) labelFlags[stream.label] |= isRemoved;
    }
    for (const auto& output : outputs) {
        if (output.node->hidden()) labelFlags[output.label] |= isRemoved;
    }
}

void Evaluation::settle(SweepPass pass) {
    WiredNodes wired{nodes.constants, {nodes.streams.begin(), nodes.streams.end()}, nodes.functions};
    auto settled = settledOrder(wired, pass);
    waiting = std::move(settled.waiting);
    settled.order.insert(settled.order.end(), waiting.begin(), waiting.end());
    nodes.functions = std::move(settled.order);
    // Once the further passes have settled, every pass has.
    isForOneSweep = settled.isForOneSweep;
    furtherPassesSettleAnew = pass == SweepPass::first && (isForOneSweep || hasSharedConstantSlots(wired));
    compileSteps();
    compileReach();
    for (std::size_t i = 0; i < labels.size(); ++i) {
        const bool mayFeed =
            labels[i].firstStream < labels[i].lastStream || furtherPassesSettleAnew || hasUnknownNodes;
        labelFlags[i] = static_cast<std::uint8_t>((labelFlags[i] & isRemoved) | (mayFeed ? isFedBack : 0));
    }
}

void Evaluation::compileSteps() {
    unbind();
    std::size_t inputCount = 0;
    for (const auto* node : nodes.functions) inputCount += node->inputValues().size();
    stepInputs.reserve(inputCount);
    steps.reserve(nodes.functions.size());
    passingSlots.clear();
    mayRunAgain = hasUnknownNodes = false;
    constexpr std::uint32_t noStep = ~std::uint32_t{0};
    for (auto* node : nodes.functions) node->place = noStep;
    for (std::size_t i = 0; i + waiting.size() < nodes.functions.size(); ++i) {
        auto* node = dynamic_cast<FunctionNode*>(nodes.functions[i]);
        if (node == nullptr)
            nodes.functions[i]->stop("a class of the category \"Function\" must be a FunctionNode");
        const auto inputs = node->inputValues();
        const bool neverRuns = std::any_of(inputs.begin(), inputs.end(), [](const auto* slot) {
            return slot->connectable || slot->given() == nullptr;
        });
        if (neverRuns && !hasOwnRule(*node)) continue;
        if (isUnknown(*node)) hasUnknownNodes = mayRunAgain = true;
        node->place = static_cast<std::uint32_t>(steps.size());
        if (neverRuns) {
            steps.push_back({askInVain, node, &node->given()});
            continue;
        }
        StepInput* const first = stepInputs.data() + stepInputs.size();
        for (auto* slot : inputs) slot->bind(stepInputs.emplace_back());
        steps.push_back({node->stepFunction(), node, &node->given(), first, inputs.size()});
    }
    for (std::size_t i = 0; i < outputs.size(); ++i) {
        outputs[i].node->place = static_cast<std::uint32_t>(steps.size() + i);
    }
    for (const auto& step : steps) {
        for (const auto* slot : step.node->connectedInputValues()) {
            mayRunAgain |= slot->owner->place != noStep && slot->owner->place <= step.node->place;
        }
    }
    markLastingSlots();
}

// Slots that only streams and constants feed stay dealt with once a batch has begun. Those that functions
// feed are dealt with anew in every pass; custom classes can see that.
void Evaluation::markLastingSlots() {
    const auto mark = [](const auto& feeders, bool checked) {
        for (const auto* node : feeders) {
            for (auto* slot : node->connectedInputValues()) slot->checked = checked;
        }
    };
    mark(nodes.constants, true);
    mark(nodes.streams, true);
    mark(nodes.functions, false);
    for (const auto& step : steps) {
        if (!isUnknown(*step.node)) continue;
        for (auto* slot : step.node->connectedInputValues()) passingSlots.push_back(slot);
        for (auto* slot : step.node->inputValues()) {
            if (!slot->checked) passingSlots.push_back(slot);
        }
    }
}

/// Finds the blocks of steps and outputs that can run because of a node, within an effort that grows with the
/// diagram only.
class Evaluation::Reach {
public:
    Reach(const Evaluation& evaluation, std::size_t targets)
        : owner(evaluation), seenBy(targets), effortLeft(8 * targets) {}

    /// The blocks, or absent when the effort is spent. `isRoot`: the node's own block counts.
    std::optional<std::vector<std::uint32_t>> from(const Node& root, bool withRoot) {
        ++round;
        blocks.clear();
        open.clear();
        if (withRoot) enter(root);
        expand(root);
        while (!open.empty()) {
            if (effortLeft == 0) return std::nullopt;
            const Node& node = *open.back();
            open.pop_back();
            expand(node);
        }
        std::sort(blocks.begin(), blocks.end());
        blocks.erase(std::unique(blocks.begin(), blocks.end()), blocks.end());
        return blocks;
    }

private:
    void expand(const Node& node) {
        for (const auto* slot : node.connectedInputValues()) {
            if (effortLeft > 0) --effortLeft;
            enter(*slot->owner);
        }
    }
    void enter(const Node& node) {
        if (node.place >= seenBy.size() || std::exchange(seenBy[node.place], round) == round) return;
        const std::size_t stepCount = owner.steps.size();
        blocks.push_back(static_cast<std::uint32_t>(
            node.place < stepCount ? node.place / blockSize
                                   : owner.firstOutputBlock + (node.place - stepCount) / blockSize));
        open.push_back(&node);
    }

    const Evaluation& owner;
    std::vector<std::uint32_t> seenBy;
    std::size_t effortLeft;
    std::uint32_t round = 0;
    std::vector<std::uint32_t> blocks;
    std::vector<const Node*> open;
};

void Evaluation::compileReach() {
    const std::size_t stepBlocks = (steps.size() + blockSize - 1) / blockSize;
    const std::size_t outputBlocks = (outputs.size() + blockSize - 1) / blockSize;
    stepWords = (stepBlocks + 63) / 64;
    firstOutputBlock = stepWords * 64;
    everywhere.assign(stepWords + (outputBlocks + 63) / 64, 0);
    for (std::size_t block = 0; block < stepBlocks; ++block) setBit(everywhere, block);
    for (std::size_t block = 0; block < outputBlocks; ++block) setBit(everywhere, firstOutputBlock + block);
    carried = everywhere;
    always.assign(everywhere.size(), 0);
    touched = always;

    // Finding out pays only where there is something to pass over.
    constexpr std::size_t worthwhile = 8;
    if (hasUnknownNodes || stepBlocks + outputBlocks < worthwhile) {
        always = everywhere;
        for (auto& stream : streams) stream.reachesAll = true;
        return;
    }
    Reach reach(*this, steps.size() + outputs.size());
    for (auto& stream : streams) {
        auto blocks = reach.from(*stream.node, false);
        stream.reachesAll = !blocks;
        if (blocks) stream.blocks = *std::move(blocks);
    }
    std::vector<std::uint32_t> constantInputs(steps.size());
    for (const auto* node : nodes.constants) {
        for (const auto* slot : node->connectedInputValues()) {
            if (slot->owner->place < steps.size()) ++constantInputs[slot->owner->place];
        }
    }
    for (std::size_t i = 0; i < steps.size(); ++i) {
        const bool needsAll = steps[i].node->declaration()->readiness == Readiness::allInputs;
        if (constantInputs[i] == 0 || (needsAll && constantInputs[i] < steps[i].inputCount)) continue;
        const auto blocks = reach.from(*steps[i].node, true);
        if (!blocks) {
            always = everywhere;
            return;
        }
        for (const auto block : *blocks) setBit(always, block);
    }
    for (const auto* node : nodes.constants) {
        for (const auto* slot : node->connectedInputValues()) {
            const auto place = slot->owner->place;
            if (place >= steps.size() && place < steps.size() + outputs.size()) {
                setBit(always, firstOutputBlock + (place - steps.size()) / blockSize);
            }
        }
    }
}

}  // namespace KelvaneSDK
