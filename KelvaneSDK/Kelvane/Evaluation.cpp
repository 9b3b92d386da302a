#include "KelvaneSDK/Kelvane/Evaluation.h"

#include <algorithm>
#include <bit>
#include <utility>

#include "KelvaneSDK/Kelvane/LabelText.h"
#include "KelvaneSDK/Observation/EvaluationObserver.h"

namespace KelvaneSDK {

namespace {

/// Calls visit(index) for every bit that is set in the words from `begin` to before `end`.
template <class Visit>
inline void forEachBit(const std::uint64_t* bits, std::size_t begin, std::size_t end, Visit visit) {
    for (std::size_t word = begin; word < end; ++word) {
        for (std::uint64_t rest = bits[word]; rest != 0; rest &= rest - 1) {
            visit(word * 64 + static_cast<std::size_t>(std::countr_zero(rest)));
        }
    }
}

}  // namespace

void Evaluation::evaluate(double batchTimestamp, const LabelledValues& updates, LabelledValues& results) {
    const bool isPlain = begin(batchTimestamp);
    feed(updates);
    run(isPlain);
    collect(results);
}

void Evaluation::evaluate(double batchTimestamp, std::span<const HandleEntry> handles,
                          std::span<const std::uint32_t> set) {
    const bool isPlain = begin(batchTimestamp);
    for (const auto index : set) feed(handles[index].place, handles[index].value);
    run(isPlain);
}

// Whether one walk over all groups and outputs is all that the batch takes.
inline bool Evaluation::begin(double batchTimestamp) {
    timestamp = batchTimestamp;
    ++state.batches;
    // Mostly one word.
    std::uint64_t* marks = writtenLabels.data();
    std::uint64_t* const marksEnd = marks + writtenLabels.size();
    if (marks != marksEnd) *marks++ = 0;
    for (; marks != marksEnd; ++marks) *marks = 0;
    if (walksOnce && seenHandWritten == state.handWritten && !state.budget.isLimited()) return true;
    beginSpecially();
    return false;
}

void Evaluation::beginSpecially() {
    work = 0;
    isFurtherPass = false;
    if (state.observer != nullptr) state.observer->batchBegan(timestamp);
    if (seenHandWritten != state.handWritten || !copiedConstants.empty()) refreshConstants();
    if (walksAll) return;
    for (std::size_t i = 0; i < touched.size(); ++i) touched[i] = always[i] | std::exchange(carried[i], 0);
}

// Constants are new in every batch, by the count of batches that is their clock.
void Evaluation::refreshConstants() {
    if (std::exchange(seenHandWritten, state.handWritten) == state.handWritten) {
        for (auto* node : copiedConstants) NodeState::of(*node).refreshGiven();
        return;
    }
    bool mayTimeOtherwise = false;
    for (auto* node : nodes.constants) {
        const GivenValue& given = NodeState::of(*node).given;
        const auto before = std::pair(given.hasValue(), given.timestamp);
        NodeState::of(*node).refreshGiven();
        mayTimeOtherwise |= before != std::pair(given.hasValue(), given.timestamp);
    }
    for (auto& output : outputs) output.plainKind = Output::notPlain;
    if (mayTimeOtherwise) compileSteps(SweepPass::first), compileReach();
}

inline void Evaluation::feed(const LabelledValues& updates) {
    if (updates.labelSet() != latestLabelSet) findLabels(updates);
    const Label* label = latestLabels.data();
    const auto end = updates.end();
    for (auto update = updates.begin(); update != end; ++update) feed(*label++, update->second);
}

void Evaluation::findLabels(const LabelledValues& updates) {
    if (latestLabels.size() < updates.size()) latestLabels.resize(updates.size(), noLabel());
    Label* guess = latestLabels.data();
    for (auto update = updates.begin(); update != updates.end(); ++update, ++guess) {
        const bool isRight = *guess != noLabel() && isSameLabel(labels[*guess].text, update->first);
        if (!isRight) *guess = labelOf(update->first);
    }
    latestLabelSet = updates.labelSet() != 0 ? updates.labelSet() : noSet;
}

inline void Evaluation::feed(Label label, const Value& value) {
    LabelEntry& entry = labels[label];
    entry.enteredIn = state.batches;
    GivenValue* const given = entry.onlyGiven;
    if (given == nullptr || given->special != 0 || given->kind != static_cast<std::uint8_t>(value.type()) ||
        (given->outputState & GivenValue::holdsValue) == 0) {
        return holdBack(label, value);
    }
    given->value = value;
    given->publish(timestamp);
    given->outputState = GivenValue::holdsValue | GivenValue::isStamped;
    setWritten(entry, label, &given->value);
    if (!walksAll) touch(streams[streamsByLabel[entry.firstStream]]);
}

// Of several streams the last one's value is the label's, whatever becomes of the others.
void Evaluation::holdBack(Label label, const Value& value) {
    for (auto place = labels[label].firstStream; place != labels[label].lastStream; ++place)
        heldBack.push_back({streamsByLabel[place], &value});
}

void Evaluation::touch(const Stream& stream) {
    if (stream.reachesAll) touched = everywhere;
    for (const auto block : stream.blocks) setBit(touched, block);
}

[[gnu::always_inline]] inline void Evaluation::run(bool isPlainBatch) {
    if (!isPlainBatch || !heldBack.empty()) return runSpecially();
    run(groups.data(), groups.end());
    collect(outputs.data(), outputs.data() + outputs.size());
    if (!fedBackLabels.empty()) runFurtherPasses();
}

void Evaluation::runSpecially() {
    pass();
    if (!fedBackLabels.empty()) runFurtherPasses();
    if (state.observer != nullptr) state.observer->batchEnded();
}

void Evaluation::runFurtherPasses() {
    isFurtherPass = true;
    while (!fedBackLabels.empty() && feedBack()) {
        pass();
        // What it left half fed may be completed by the constants of the next batch.
        for (std::size_t i = 0; !walksAll && i < touched.size(); ++i) carried[i] |= touched[i];
    }
}

// A pass of any kind.
void Evaluation::pass() {
    isLimited = state.budget.isLimited();
    if (!heldBack.empty()) feedHeldBack();
    sweep();
    collectOutputs();
    if (!heldBack.empty()) endHeldBack();
    for (auto* slot : passingSlots) slot->checked = false;
}

// In the order of the document, in which their diagnostics appear.
void Evaluation::feedHeldBack() {
    std::sort(heldBack.begin(), heldBack.end(),
              [](const Feed& a, const Feed& b) { return a.stream < b.stream; });
    for (const auto& [place, value] : heldBack) {
        const Stream& stream = streams[place];
        const auto taken = stream.given->stamp;
        stream.node->take(*value, timestamp);
        if (state.observer != nullptr)
            state.observer->streamUpdated(
                {*stream.node, *value, stream.given->stamp != taken, isFurtherPass});
        setWritten(labels[stream.label], stream.label, stream.node->outputValue()->payload());
        if (!walksAll) touch(stream);
    }
}

void Evaluation::endHeldBack() {
    for (const auto& [stream, value] : heldBack)
        streams[stream].given->outputState &= static_cast<std::uint8_t>(~GivenValue::isUpdated);
    heldBack.clear();
}

void Evaluation::sweep() {
    bool anyRan = runGroups();
    if (!mayRunAgain) return;
    if (!waiting.empty()) sweepForEver();
    while (anyRan) {
        anyRan = runGroups();
        if (!walksAll) carried = touched;
    }
}

bool Evaluation::runGroups() {
    bool anyRan = false;
    const auto runBlock = [&](StepGroup* first, const StepGroup* end) {
        if (isLimited && first != end) countWork(*first->steps->node);
        anyRan |= state.observer == nullptr ? run(first, end) : runObserved(first, end);
    };
    if (walksAll) {
        runBlock(groups.data(), groups.end());
    } else {
        forEachBit(touched.data(), 0, groupWords, [&](std::size_t block) {
            StepGroup* const first = groups.data() + block * blockSize;
            runBlock(first, std::min(first + blockSize, groups.end()));
        });
    }
    return anyRan;
}

[[gnu::always_inline]] inline bool Evaluation::run(StepGroup* group, const StepGroup* end) {
    bool anyRan = false;
    const std::uint64_t batch = state.batches;
    for (; group != end; ++group) {
        anyRan |= group->triggerCount == 0 ? group->steps->run(*group->steps) : run(*group, batch);
    }
    return anyRan;
}

// Every step stands alone where it is observed.
bool Evaluation::runObserved(const StepGroup* group, const StepGroup* end) {
    bool anyRan = false;
    for (; group != end; ++group) anyRan |= runObserved(*group->steps);
    return anyRan;
}

bool Evaluation::runObserved(Step& step) {
    using Clock = EvaluationObserver::Clock;
    const bool takesTimes = state.observer->takesTimes();
    const NodeState& node = NodeState::of(*step.node);
    const auto given = node.given.stamp;
    state.silence = "";
    EvaluationObserver::NodeRun ran{*step.node};
    if (takesTimes) ran.begin = Clock::now();
    if (!step.run(step)) return false;
    if (takesTimes) ran.end = Clock::now();
    if (node.given.stamp != given) {
        ran.emitted = node.outputPayload();
    } else {
        ran.silence = state.silence;
    }
    state.observer->nodeRan(ran);
    return true;
}

inline bool Evaluation::run(StepGroup& group, std::uint64_t batch) {
    StepInput* const triggersEnd = group.triggers + group.triggerCount;
    double latest = 0;
    for (const StepInput* trigger = group.triggers; trigger != triggersEnd; ++trigger) {
        if (!trigger->hasNews() || !trigger->source->hasValue()) return false;
        if (latest <= trigger->source->timestamp) latest = trigger->source->timestamp;
    }
    for (StepInput* trigger = group.triggers; trigger != triggersEnd; ++trigger) trigger->consume();
    group.ranIn = batch;
    if (latest == 0) {
        computeEach(group);
    } else {
        const Step* const end = group.steps + group.stepCount;
        for (const Step* step = group.steps; step != end; ++step)
            step->compute(*step->node, step->inputs, latest);
    }
    for (std::uint32_t i = 0; i < group.followerCount; ++i) group.followers[i]->consume();
    return true;
}

// Of two zeros as timestamps the later input's counts, and constants have one.
void Evaluation::computeEach(const StepGroup& group) {
    const Step* const end = group.steps + group.stepCount;
    for (const Step* step = group.steps; step != end; ++step)
        step->compute(*step->node, step->inputs, latestOf(*step));
}

double Evaluation::latestOf(const Step& step) {
    double latest = 0;
    for (std::size_t i = 0; i < step.inputCount; ++i) {
        const double timestamp = step.inputs[i].source->timestamp;
        if (latest <= timestamp) latest = timestamp;
    }
    return latest;
}

void Evaluation::sweepForEver() {
    for (;;) waiting.front()->checkTime();
}

// Asks the clock now and then, at every 64 blocks.
void Evaluation::countWork(const Node& node) {
    if (++work % 64 == 0) node.checkTime();
}

void Evaluation::collectOutputs() {
    Output* const allEnd = outputs.data() + outputs.size();
    const auto collectBlock = [&](Output* first, const Output* end) {
        if (isLimited && first != end) countWork(*first->node);
        collect(first, end);
    };
    if (walksAll) return collectBlock(outputs.data(), allEnd);
    forEachBit(touched.data(), groupWords, touched.size(), [&](std::size_t block) {
        Output* const first = outputs.data() + (block - firstOutputBlock) * blockSize;
        collectBlock(first, std::min(first + blockSize, allEnd));
    });
}

[[gnu::always_inline]] inline void Evaluation::collect(Output* output, const Output* end) {
    // Marked word by word, so that no output waits for the mark of the one before.
    std::uint64_t* word = writtenLabels.data();
    std::uint64_t marks = 0;
    for (; output != end; ++output) {
        if (!output->input.hasNews()) continue;
        const GivenValue& brought = *output->input.source;
        if (brought.kind != output->plainKind) [[unlikely]] {
            collectSpecially(*output);
            continue;
        }
        output->input.consume();
        if (!output->showsInput) {
            GivenValue& given = NodeState::of(*output->node).given;
            given.value.replaceScalar(brought.value);
            given.publish(0 <= brought.timestamp ? brought.timestamp : 0);
        }
        std::uint64_t* const labelWord = writtenLabels.data() + output->label / 64;
        if (word != labelWord) *std::exchange(word, labelWord) |= std::exchange(marks, 0);
        marks |= std::uint64_t{1} << output->label % 64;
    }
    if (marks != 0) *word |= marks;
}

void Evaluation::collectSpecially(Output& output) {
    if (output.isAsked && !output.node->allInputsUpdated()) return;
    NodeState& node = NodeState::of(*output.node);
    node.takeShownInput();
    output.node->process();
    const Value* value = node.outputPayload();
    const GivenValue& given = node.given;
    // The next one may need no more than another value in the same place.
    const bool isPlain = output.isOnlyOne && !output.isAsked && value == &given.value && given.special == 0 &&
                         value->type() <= ValueType::Boolean && state.observer == nullptr;
    output.plainKind = isPlain ? given.kind : Output::notPlain;
    output.showsInput = isPlain && output.isLasting && node.outputSlot == nullptr;
    if (output.showsInput) {
        node.showInput();
        value = &output.input.source->value;
    }
    if (state.observer != nullptr) state.observer->outputWritten(*output.node, value);
    setWritten(labels[output.label], output.label, value);
    if (labels[output.label].isFedBack) noteFedBack(output.label);
}

inline void Evaluation::setWritten(LabelEntry& entry, Label label, const Value* value) {
    // What was collected may be elsewhere now.
    if (entry.written != value) collectedSet = 0;
    entry.written = value;
    writtenLabels[label / 64] |= std::uint64_t{1} << label % 64;
}

void Evaluation::noteFedBack(Label label) {
    if (labels[label].enteredIn != state.batches) fedBackLabels.push_back(label);
}

// Whether an output feeds streams of its label, each label once a batch.
bool Evaluation::feedBack() {
    std::sort(fedBackLabels.begin(), fedBackLabels.end());
    const auto isNew = [&](Label label) {
        return labels[label].written != nullptr && labels[label].enteredIn != state.batches;
    };
    const bool isAnyNew = std::any_of(fedBackLabels.begin(), fedBackLabels.end(), isNew);
    if (isAnyNew && furtherPassesSettleAnew) settle(SweepPass::further);
    if (!walksAll) std::fill(touched.begin(), touched.end(), 0);
    // The streams write their own labels, which thereby are not new any more.
    nextLabels.swap(fedBackLabels);
    fedBackLabels.clear();
    for (const auto label : nextLabels) {
        if (isNew(label)) feed(label, *labels[label].written);
    }
    return isAnyNew;
}

inline void Evaluation::collect(LabelledValues& results) {
    if (seenVisibility != state.visibility) findShownLabels();
    bool isSameSet = collectedSet != 0;
    for (std::size_t word = 0; word < writtenLabels.size(); ++word) {
        const auto shown = writtenLabels[word] & shownLabels[word];
        isSameSet &= std::exchange(collectedLabels[word], shown) == shown;
    }
    // One that was moved from is empty.
    if (!isSameSet || results.labelSet() != collectedSet || results.empty())
        return collectAnew(results, isSameSet);
    const Value* const* value = collectedValues.data();
    const auto end = results.end();
    for (auto entry = results.begin(); entry != end; ++entry, ++value) entry->second = **value;
}

void Evaluation::collectAnew(LabelledValues& results, bool isSameSet) {
    if (!isSameSet) {
        collectedValues.clear();
        collectedSet = LabelledValues::newLabelSet();
    }
    results.refill(labelOwner);
    forEachBit(collectedLabels.data(), 0, collectedLabels.size(), [&](std::size_t label) {
        const Value* const value = labels[label].written;
        if (value == nullptr) return;
        if (!isSameSet) collectedValues.push_back(value);
        results.append(labels[label].text, *value);
    });
    results.setLabelSet(collectedSet);
}

}  // namespace KelvaneSDK
