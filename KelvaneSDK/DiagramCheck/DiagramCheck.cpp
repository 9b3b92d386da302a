#include "KelvaneSDK/DiagramCheck/DiagramCheck.h"

#include <algorithm>
#include <numeric>

#include "KelvaneSDK/DiagramCheck/ConnectionChecks.h"
#include "KelvaneSDK/DiagramCheck/OrderChecks.h"
#include "KelvaneSDK/DiagramCheck/RecordChecks.h"
#include "KelvaneSDK/DiagramCheck/Rehearsal.h"
#include "KelvaneSDK/FileProcessing/TextPlace.h"
#include "KelvaneSDK/MemoryGuard.h"

namespace KelvaneSDK {

namespace {

Finding undecodable(std::string_view text, const DecodeFailure& failure) {
    Finding finding;
    finding.code = "undecodable";
    finding.pointer = failure.pointer;
    finding.message = failure.reason;
    std::size_t offset = 0;
    // The decoder itself tells no place in a text that is not JSON.
    const auto fault = failure.pointer.empty() ? findJsonFault(text, maximumDocumentDepth) : std::nullopt;
    if (fault) {
        if (fault->tooDeep) finding.code = "nested-too-deep";
        finding.message = fault->tooDeep ? fault->reason : "not JSON: " + fault->reason;
        offset = fault->offset;
    } else {
        offset = offsetsOf(std::span(&failure.pointer, 1), text).front();
    }
    const auto place = placesOf(std::span(&offset, 1), text).front();
    finding.line = place.line;
    finding.column = place.column;
    return finding;
}

// Sorts by the place in the text, which need not list its arrays in the record's order.
std::vector<Finding> placed(std::vector<Finding> findings, std::string_view text) {
    std::vector<std::string> pointers;
    for (const auto& finding : findings) pointers.push_back(finding.pointer);
    const auto offsets = offsetsOf(pointers, text);
    std::vector<std::size_t> order(findings.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::stable_sort(order.begin(), order.end(), [&](auto a, auto b) { return offsets[a] < offsets[b]; });
    std::vector<std::size_t> rising;
    for (const auto i : order) rising.push_back(offsets[i]);
    const auto places = placesOf(rising, text);

    std::vector<Finding> sorted;
    for (std::size_t i = 0; i < order.size(); ++i) {
        sorted.push_back(std::move(findings[order[i]]));
        sorted.back().line = places[i].line;
        sorted.back().column = places[i].column;
    }
    return sorted;
}

// `nodes[4].id` for "/nodes/4/id".
std::string pathText(std::string_view pointer) {
    std::string path;
    while (!pointer.empty()) {
        const auto end = std::min(pointer.find('/', 1), pointer.size());
        const auto token = pointer.substr(1, end - 1);
        const bool isIndex =
            !token.empty() && token.find_first_not_of("0123456789") == std::string_view::npos;
        if (isIndex) {
            path += '[';
        } else if (!path.empty()) {
            path += '.';
        }
        path += token;
        if (isIndex) path += ']';
        pointer.remove_prefix(end);
    }
    return path;
}

// A value of a wrong type, or a constant that a function cannot work with, stops the program only when the
// function runs and reads it, which may hang on other values, on the order of evaluation and on what else
// feeds the input. Where all else is sound, the engine itself tells.
void keepFatalOnlyIfCertain(std::vector<Finding>& findings, const DiagramInfo& info,
                            const NodeRegistry& registry) {
    const auto any = [&](auto isMeant) { return std::any_of(findings.begin(), findings.end(), isMeant); };
    const auto isInDoubt = [](const Finding& f) {
        return f.fatal &&
               (f.code == "type-mismatch" || f.code == "constant-stops" || f.code == "constant-never-ends");
    };
    const auto isCertain = [&](const Finding& f) { return f.fatal && !isInDoubt(f); };
    if (&registry != &NodeRegistry::library() || !any(isInDoubt) || any(isCertain)) return;
    const auto mayNotEnd = [](const Finding& f) { return f.code == "constant-never-ends"; };
    if (stopsInEveryRehearsal(info, any(mayNotEnd))) return;
    for (auto& finding : findings) finding.fatal = false;
}

std::vector<Finding> findingsIn(const DiagramInfo& info, const NodeRegistry& registry) {
    FindingList findings;
    NodeTable nodes(info, registry);
    Wiring wiring(nodes);
    checkNodes(info, registry, nodes, wiring, findings);
    checkConnections(info, nodes, wiring, findings);
    checkContainers(info, nodes, wiring, findings);
    checkSubdiagrams(info, nodes, findings);
    checkPositions(info, nodes, findings);
    checkLabels(nodes, findings);

    const Evaluation evaluation(nodes, wiring);
    checkWires(nodes, wiring, evaluation, findings);
    checkConstants(nodes, wiring, evaluation, findings);
    const auto waitsForCycle = checkOrder(nodes, wiring, evaluation, findings);
    checkUse(nodes, wiring, evaluation, waitsForCycle, findings);
    auto inOrder = std::move(findings).inDocumentOrder();
    keepFatalOnlyIfCertain(inOrder, info, registry);
    return inOrder;
}

// Made before the work, since there may be no memory for it afterwards.
std::vector<Finding> outOfMemoryFinding() {
    std::vector<Finding> findings(1);
    findings.front().code = "out-of-memory";
    findings.front().fatal = true;
    findings.front().message = outOfMemoryReason;
    return findings;
}

}  // namespace

std::vector<Finding> checkDiagram(std::string_view text, const NodeRegistry& registry) {
    auto outOfMemory = outOfMemoryFinding();
    DecodeFailure failure;
    const auto check = [&] {
        const auto data = DiagramData::decode(text, &failure);
        return data ? placed(findingsIn(data->info, registry), text)
                    : std::vector{undecodable(text, failure)};
    };
    auto findings = withinMemory(check);
    return findings && failure.reason != outOfMemoryReason ? std::move(*findings) : std::move(outOfMemory);
}

std::vector<Finding> checkDiagram(const DiagramInfo& info, const NodeRegistry& registry) {
    auto outOfMemory = outOfMemoryFinding();
    auto findings = withinMemory([&] { return findingsIn(info, registry); });
    return findings ? std::move(*findings) : std::move(outOfMemory);
}

std::string findingText(const Finding& finding) {
    std::string text = finding.pointer.empty() ? "the document: " : pathText(finding.pointer) + ": ";
    if (finding.nodeId) {
        text += "node " + std::to_string(*finding.nodeId) + " (" + quoted(finding.typeString);
        if (finding.label != finding.typeString) text += ", " + quoted(finding.label);
        text += "): ";
    }
    text += finding.message;
    if (!finding.hint.empty()) text += "; " + finding.hint;
    return text;
}

}  // namespace KelvaneSDK
