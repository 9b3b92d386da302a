#include <algorithm>
#include <utility>

#include "KelvaneSDK/Kelvane/Evaluation.h"
#include "KelvaneSDK/Kelvane/StepGroups.h"

namespace KelvaneSDK {

namespace {

const GivenValue nothing;
const std::uint64_t noTime = 0, latestTime = 1;
const StepInput neverNews{&nothing, &noTime, 0, nullptr}, alwaysNews{&nothing, &latestTime, 0, nullptr};

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

Evaluation::Evaluation(DiagramNodes& diagramNodes, DiagramState& diagramState)
    // By way of the other constructor, so that the destructor takes back what is bound when memory runs out.
    : Evaluation(Empty{diagramNodes, diagramState}) {
    for (const auto* node : nodes.constants)
        state.batches = std::max(state.batches, NodeState::of(*node).given.stamp);
    for (auto* node : nodes.constants) NodeState::of(*node).shareClock(state.batches);
    compileLabels();
    outputs.reserve(nodes.outputs.size());
    for (auto* node : nodes.outputs) {
        const bool isAsked = !node->plainType();
        const auto label = labelOf(node->label());
        outputs.push_back({node, isAsked ? alwaysNews : neverNews, label, Output::notPlain, isAsked});
        if (isAsked) continue;
        auto& slot = *node->inputValues().front();
        if (slot.given() != nullptr) slot.bind(outputs.back().input);
    }
    findShownLabels();
    for (auto* node : nodes.constants) {
        if ((NodeState::of(*node).given.special & GivenValue::isCopied) != 0) copiedConstants.push_back(node);
    }
    settle(SweepPass::first);
    for (auto* node : nodes.constants) NodeState::of(*node).refreshGiven();
    seenHandWritten = state.handWritten;
    changes = state.changes;
}

Evaluation::~Evaluation() {
    unbind();
    for (auto& output : outputs) {
        if (output.input.slot == nullptr) continue;
        output.input.slot->unbind();
        NodeState::of(*output.node).takeShownInput();
    }
}

void Evaluation::unbind() {
    for (auto& input : stepInputs) {
        if (input.slot != nullptr) input.slot->unbind();
    }
    stepInputs.clear();
    steps.clear();
}

Evaluation::Label Evaluation::labelOf(std::string_view text) const {
    const auto found = labelsByText.find(text);
    return found == labelsByText.end() ? noLabel() : found->second;
}

void Evaluation::compileLabels() {
    std::vector<std::string> texts;
    for (const auto* node : nodes.streams) texts.emplace_back(node->label());
    for (const auto* node : nodes.outputs) texts.emplace_back(node->label());
    std::sort(texts.begin(), texts.end());
    texts.erase(std::unique(texts.begin(), texts.end()), texts.end());
    const auto labelTexts = std::make_shared<const std::vector<std::string>>(std::move(texts));
    labelOwner = labelTexts;
    labels.resize(labelTexts->size() + 1);
    writtenLabels.resize((labels.size() + 63) / 64);
    for (std::size_t i = 0; i < labelTexts->size(); ++i) {
        labels[i].text = (*labelTexts)[i];
        labelsByText.emplace(labels[i].text, static_cast<Label>(i));
    }
    shownLabels.resize(writtenLabels.size());
    collectedLabels.resize(writtenLabels.size());
    for (auto* node : nodes.streams) {
        streams.push_back({node, &NodeState::of(*node).given, labelOf(node->label()), {}, false});
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

void Evaluation::findShownLabels() {
    seenVisibility = state.visibility;
    for (std::size_t label = 0; label < labels.size(); ++label) setBit(shownLabels, label);
    const auto hide = [&](Label label) { shownLabels[label / 64] &= ~(std::uint64_t{1} << label % 64); };
    for (const auto& stream : streams) {
        if (!stream.node->forwarding()) hide(stream.label);
    }
    for (const auto& output : outputs) {
        if (output.node->hidden()) hide(output.label);
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
    compileSteps(pass);
    compileReach();
    for (auto& label : labels) {
        label.isFedBack = label.firstStream < label.lastStream || furtherPassesSettleAnew || hasUnknownNodes;
        const bool hasOne =
            label.lastStream - label.firstStream == 1 && !hasUnknownNodes && state.observer == nullptr;
        label.onlyGiven = hasOne ? streams[streamsByLabel[label.firstStream]].given : nullptr;
    }
    std::vector<std::uint32_t> bearers(labels.size());
    for (const auto& output : outputs) ++bearers[output.label];
    for (auto& output : outputs) {
        output.isOnlyOne = bearers[output.label] == 1 && !labels[output.label].isFedBack;
    }
}

void Evaluation::compileSteps(SweepPass pass) {
    unbind();
    std::size_t inputCount = 0;
    for (const auto* node : nodes.functions) inputCount += node->inputValues().size();
    stepInputs.reserve(inputCount);
    steps.reserve(nodes.functions.size());
    passingSlots.clear();
    mayRunAgain = !waiting.empty();
    hasUnknownNodes = false;
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
            steps.push_back({askInVain, nullptr, node});
            continue;
        }
        StepInput* const first = stepInputs.data() + stepInputs.size();
        for (auto* slot : inputs) slot->bind(stepInputs.emplace_back());
        steps.push_back({nullptr, nullptr, node, first, inputs.size()});
        node->prepare(steps.back());
    }
    for (std::size_t i = 0; i < outputs.size(); ++i) {
        outputs[i].node->place = static_cast<std::uint32_t>(steps.size() + i);
        outputs[i].isLasting = false;
        outputs[i].plainKind = Output::notPlain;
    }
    for (const auto& step : steps) {
        for (const auto* slot : step.node->connectedInputValues()) {
            const auto place = slot->owner->place;
            mayRunAgain |= place != noStep && place <= step.node->place;
            if (place < steps.size() || place - steps.size() >= outputs.size()) continue;
            Output& output = outputs[place - steps.size()];
            output.isLasting = output.input.slot == slot && step.compute != nullptr &&
                               output.input.source == &NodeState::of(*step.node).given;
        }
    }
    if (mayRunAgain || furtherPassesSettleAnew || state.observer != nullptr) {
        groups.keepApart(steps);
    } else {
        groups.form(nodes, steps, stepInputs, state.batches, pass == SweepPass::further);
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

/// Finds the blocks of groups and outputs that can run because of a node, within an effort that grows with
/// the diagram only.
class Evaluation::Reach {
public:
    Reach(const Evaluation& evaluation, std::size_t targets)
        : owner(evaluation), seenBy(targets), effortLeft(8 * targets) {}

    /// The blocks, or absent when the effort is spent. `withRoot`: the node's own block counts.
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
        blocks.push_back(static_cast<std::uint32_t>(owner.blockOf(node.place)));
        open.push_back(&node);
    }

    const Evaluation& owner;
    std::vector<std::uint32_t> seenBy;
    std::size_t effortLeft;
    std::uint32_t round = 0;
    std::vector<std::uint32_t> blocks;
    std::vector<const Node*> open;
};

std::size_t Evaluation::blockOf(std::uint32_t place) const {
    if (place < steps.size()) return groups.groupOf(steps[place]) / blockSize;
    return firstOutputBlock + (place - steps.size()) / blockSize;
}

void Evaluation::compileReach() {
    const std::size_t groupBlocks = (groups.size() + blockSize - 1) / blockSize;
    const std::size_t outputBlocks = (outputs.size() + blockSize - 1) / blockSize;
    groupWords = (groupBlocks + 63) / 64;
    firstOutputBlock = groupWords * 64;
    everywhere.assign(groupWords + (outputBlocks + 63) / 64, 0);
    for (std::size_t block = 0; block < groupBlocks; ++block) setBit(everywhere, block);
    for (std::size_t block = 0; block < outputBlocks; ++block) setBit(everywhere, firstOutputBlock + block);
    carried = everywhere;
    always.assign(everywhere.size(), 0);
    touched = always;
    // Finding out pays only where there is something to pass over.
    constexpr std::size_t worthwhile = 8;
    walksAll = hasUnknownNodes || groupBlocks + outputBlocks < worthwhile || !findReach();
    if (walksAll) always = everywhere;
    walksOnce = walksAll && !mayRunAgain && copiedConstants.empty() && state.observer == nullptr;
}

// False when that would take too long.
bool Evaluation::findReach() {
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
        if (!blocks) return false;
        for (const auto block : *blocks) setBit(always, block);
    }
    for (const auto* node : nodes.constants) {
        for (const auto* slot : node->connectedInputValues()) {
            const auto place = slot->owner->place;
            if (place >= steps.size() && place < steps.size() + outputs.size()) {
                setBit(always, blockOf(place));
            }
        }
    }
    return true;
}

}  // namespace KelvaneSDK
