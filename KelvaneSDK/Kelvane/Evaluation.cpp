#include "KelvaneSDK/Kelvane/Evaluation.h"

#include <algorithm>
#include <bit>
#include <utility>

#include "KelvaneSDK/Kelvane/LabelText.h"

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

}  // namespace

void Evaluation::begin(double batchTimestamp) {
    timestamp = batchTimestamp;
    ++state.batches;
    if (seenHandWritten != state.handWritten || !copiedConstants.empty()) refreshConstants();
    for (std::size_t i = 0; i < writtenLabels.size(); ++i) writtenLabels[i] = 0;
    work = 0;
    isLimited = state.budget.isLimited();
    if (walksAll) return;
    for (std::size_t i = 0; i < touched.size(); ++i) touched[i] = always[i] | std::exchange(carried[i], 0);
}

// Constants are new in every batch, by the count of batches that is their clock.
void Evaluation::refreshConstants() {
    if (std::exchange(seenHandWritten, state.handWritten) == state.handWritten) {
        for (auto* node : copiedConstants) node->refreshGiven();
        return;
    }
    bool mayTimeOtherwise = false;
    for (auto* node : nodes.constants) {
        const GivenValue& given = node->given();
        const auto before = std::pair(given.hasValue(), given.timestamp);
        node->refreshGiven();
        mayTimeOtherwise |= before != std::pair(given.hasValue(), given.timestamp);
    }
    for (auto& output : outputs) output.plainKind = Output::notPlain;
    if (mayTimeOtherwise) compileSteps(SweepPass::first), compileReach();
}

void Evaluation::feed(const LabelledValues& updates) {
    std::size_t place = 0;
    if (latestLabels.size() < updates.size()) latestLabels.resize(updates.size());
    for (const auto& [text, value] : updates) {
        Label& guess = latestLabels[place++];
        if (guess >= labels.size() || !isSameLabel(labels[guess].text, text)) {
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
    const auto* const first = streamsByLabel.data() + entry.firstStream;
    const auto* const end = streamsByLabel.data() + entry.lastStream;
    // Of several streams the last one's value is the label's, whatever becomes of the others.
    const bool isPlain = end - first <= 1 && !hasUnknownNodes;
    for (const auto* place = first; place != end; ++place) {
        const Stream& stream = streams[*place];
        GivenValue& given = *stream.given;
        if (!isPlain || given.special != 0 || given.kind != static_cast<std::uint8_t>(value.type()) ||
            (given.outputState & GivenValue::holdsValue) == 0) {
            heldBack.push_back({*place, &value});
            continue;
        }
        given.value = value;
        given.publish(timestamp);
        given.outputState = GivenValue::holdsValue | GivenValue::isStamped;
        setWritten(label, &given.value);
        if (!walksAll) touch(stream);
    }
}

void Evaluation::touch(const Stream& stream) {
    if (stream.reachesAll) touched = everywhere;
    for (const auto block : stream.blocks) setBit(touched, block);
}

void Evaluation::run() {
    pass();
    while (!fedBackLabels.empty() && feedBack()) {
        pass();
        // What it left half fed may be completed by the constants of the next batch.
        for (std::size_t i = 0; !walksAll && i < touched.size(); ++i) carried[i] |= touched[i];
    }
}

void Evaluation::pass() {
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
        stream.node->take(*value, timestamp);
        setWritten(stream.label, stream.node->outputValue()->payload());
        if (!walksAll) touch(stream);
    }
}

void Evaluation::endHeldBack() {
    for (const auto& [stream, value] : heldBack)
        streams[stream].given->outputState &= static_cast<std::uint8_t>(~GivenValue::isUpdated);
    heldBack.clear();
}

void Evaluation::sweep() {
    for (bool isRepeated = false;; isRepeated = true) {
        bool anyRan = false;
        if (walksAll) {
            anyRan = run(groups.data(), groups.data() + groups.size());
        } else {
            forEachBit(touched.data(), 0, groupWords, [&](std::size_t block) {
                StepGroup* const first = groups.data() + block * blockSize;
                anyRan |= run(first, std::min(first + blockSize, groups.data() + groups.size()));
            });
        }
        if (!waiting.empty()) sweepForEver();
        if (isRepeated && !walksAll) carried = touched;
        if (!anyRan || !mayRunAgain) return;
    }
}

bool Evaluation::run(StepGroup* group, const StepGroup* end) {
    bool anyRan = false;
    if (isLimited && group != end) countWork(*group->steps->node);
    for (; group != end; ++group) {
        anyRan |= group->triggerCount == 0 ? group->steps->run(*group->steps) : run(*group);
    }
    return anyRan;
}

// Of two zeros as timestamps the later input's counts, and constants have one.
double Evaluation::latestOf(const Step& step) {
    double latest = 0;
    for (std::size_t i = 0; i < step.inputCount; ++i) {
        const double timestamp = step.inputs[i].source->timestamp;
        if (latest <= timestamp) latest = timestamp;
    }
    return latest;
}

bool Evaluation::run(StepGroup& group) {
    StepInput* const triggersEnd = group.triggers + group.triggerCount;
    double latest = 0;
    for (const StepInput* trigger = group.triggers; trigger != triggersEnd; ++trigger) {
        if (!trigger->hasNews() || !trigger->source->hasValue()) return false;
        if (latest <= trigger->source->timestamp) latest = trigger->source->timestamp;
    }
    for (StepInput* trigger = group.triggers; trigger != triggersEnd; ++trigger) trigger->consume();
    group.ranIn = state.batches;
    const Step* const end = group.steps + group.stepCount;
    for (const Step* step = group.steps; step != end; ++step)
        step->compute(*step->node, step->inputs, latest == 0 ? latestOf(*step) : latest);
    for (std::uint32_t i = 0; i < group.followerCount; ++i) group.followers[i]->consume();
    return true;
}

void Evaluation::sweepForEver() {
    for (;;) waiting.front()->checkTime();
}

// Asks the clock now and then, at every 64 blocks.
void Evaluation::countWork(const Node& node) {
    if (++work % 64 == 0) node.checkTime();
}

void Evaluation::collectOutputs() {
    if (walksAll && !outputs.empty()) return collect(outputs.data(), outputs.data() + outputs.size());
    forEachBit(touched.data(), groupWords, touched.size(), [&](std::size_t block) {
        Output* const first = outputs.data() + (block - firstOutputBlock) * blockSize;
        collect(first, std::min(first + blockSize, outputs.data() + outputs.size()));
    });
}

void Evaluation::collect(Output* output, const Output* end) {
    if (isLimited) countWork(*output->node);
    std::uint64_t* const marks = writtenLabels.data();
    for (; output != end; ++output) {
        if (!output->input.hasNews()) continue;
        const GivenValue& brought = *output->input.source;
        if (brought.kind != output->plainKind) {
            collectSpecially(*output);
            continue;
        }
        output->input.consume();
        GivenValue& given = *output->given;
        given.value.replaceScalar(brought.value);
        given.publish(0 <= brought.timestamp ? brought.timestamp : 0);
        marks[output->label / 64] |= std::uint64_t{1} << output->label % 64;
    }
}

void Evaluation::collectSpecially(Output& output) {
    if (output.isAsked && !output.node->allInputsUpdated()) return;
    output.node->process();
    const Value* const value = output.node->outputValue()->payload();
    setWritten(output.label, value);
    if (labels[output.label].isFedBack) noteFedBack(output.label);
    // The next one may need no more than another value in the same place.
    const bool isPlain = output.isOnlyOne && !output.isAsked && value == &output.given->value &&
                         output.given->special == 0 && value->type() <= ValueType::Boolean;
    output.plainKind = isPlain ? output.given->kind : Output::notPlain;
}

void Evaluation::setWritten(Label label, const Value* value) {
    // What was collected may be elsewhere now.
    if (std::exchange(written[label], value) != value) collectedSet = 0;
    writtenLabels[label / 64] |= std::uint64_t{1} << label % 64;
}

void Evaluation::noteFedBack(Label label) {
    if (labels[label].enteredIn != state.batches) fedBackLabels.push_back(label);
}

// Whether an output feeds streams of its label, each label once a batch.
bool Evaluation::feedBack() {
    std::sort(fedBackLabels.begin(), fedBackLabels.end());
    const auto isNew = [&](Label label) {
        return written[label] != nullptr && labels[label].enteredIn != state.batches;
    };
    const bool isAnyNew = std::any_of(fedBackLabels.begin(), fedBackLabels.end(), isNew);
    if (isAnyNew && furtherPassesSettleAnew) settle(SweepPass::further);
    if (!walksAll) std::fill(touched.begin(), touched.end(), 0);
    // The streams write their own labels, which thereby are not new any more.
    nextLabels.swap(fedBackLabels);
    fedBackLabels.clear();
    for (const auto label : nextLabels) {
        if (isNew(label)) feed(label, *written[label]);
    }
    return isAnyNew;
}

void Evaluation::collect(LabelledValues& results) {
    if (std::exchange(seenVisibility, state.visibility) != state.visibility) findShownLabels();
    bool isSameSet = collectedSet != 0;
    for (std::size_t word = 0; word < writtenLabels.size(); ++word) {
        const auto shown = writtenLabels[word] & shownLabels[word];
        isSameSet &= std::exchange(collectedLabels[word], shown) == shown;
    }
    if (!isSameSet) {
        collectedValues.clear();
        forEachBit(collectedLabels.data(), 0, collectedLabels.size(), [&](std::size_t label) {
            if (written[label] != nullptr) collectedValues.push_back(written[label]);
        });
        collectedSet = LabelledValues::newSet();
    }
    const Value* const* value = collectedValues.data();
    if (results.isSet(collectedSet) && results.size() == collectedValues.size()) {
        for (auto& entry : results) entry.second = **value++;
        return;
    }
    results.refill(labelOwner);
    forEachBit(collectedLabels.data(), 0, collectedLabels.size(), [&](std::size_t label) {
        if (written[label] != nullptr) results.append(labels[label].text, **value++);
    });
    results.setSet(collectedSet);
}

}  // namespace KelvaneSDK
