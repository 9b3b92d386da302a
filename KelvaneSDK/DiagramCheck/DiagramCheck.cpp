#include "KelvaneSDK/DiagramCheck/DiagramCheck.h"

#include <algorithm>

#include "KelvaneSDK/DiagramCheck/Checks.h"
#include "KelvaneSDK/FileProcessing/TextPlace.h"
#include "KelvaneSDK/MemoryGuard.h"

namespace KelvaneSDK {

namespace {

Finding findingOf(Code code) {
    Finding finding;
    finding.code = code->code;
    finding.severity = code->most;
    return finding;
}

Finding undecodable(std::string_view text, const DecodeFailure& failure) {
    Finding finding = findingOf("undecodable");
    finding.pointer = failure.pointer;
    finding.message = failure.reason;
    std::size_t offset = 0;
    // The decoder itself knows no place in a text that is not JSON.
    const auto fault = failure.pointer.empty() ? findJsonFault(text, maximumDocumentDepth) : std::nullopt;
    if (fault) {
        if (fault->tooDeep) finding.code = Code("nested-too-deep")->code;
        finding.message = fault->tooDeep ? fault->reason : "not JSON: " + fault->reason;
        offset = fault->offset;
    } else {
        if (failure.reason.ends_with("is missing")) finding.hint = hintOfMissingKey(text, failure.pointer);
        offset = offsetsOf(std::span(&failure.pointer, 1), text).front();
    }
    const auto place = placesOf(std::span(&offset, 1), text).front();
    finding.line = place.line;
    finding.column = place.column;
    return finding;
}

// Sorts by the place in the text, which need not list its arrays in the record's order.
std::vector<Finding> placed(std::vector<Finding> findings, std::string_view text) {
    if (findings.empty()) return findings;
    std::vector<std::string> pointers;
    for (const auto& finding : findings) pointers.push_back(finding.pointer);
    auto offsets = offsetsOf(pointers, text);
    // What is not listed comes last.
    if (findings.back().code == Code("more-findings")->code) offsets.back() = text.size();
    for (std::size_t i = 0; i < findings.size(); ++i) findings[i].column = offsets[i];
    std::stable_sort(findings.begin(), findings.end(),
                     [](const Finding& a, const Finding& b) { return a.column < b.column; });
    std::sort(offsets.begin(), offsets.end());
    const auto places = placesOf(offsets, text);
    for (std::size_t i = 0; i < findings.size(); ++i) {
        findings[i].line = places[i].line;
        findings[i].column = places[i].column;
    }
    return findings;
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

// With the text, its keys are checked, too.
std::vector<Finding> findingsIn(const DiagramInfo& info, const NodeRegistry& registry,
                                std::optional<std::string_view> text) {
    FindingList findings;
    CheckedDiagram diagram(info);
    checkNodes(diagram, registry, findings);
    checkConnections(diagram, findings);
    checkGroups(diagram, findings);
    const WiringReading reading(diagram);
    checkWires(diagram, registry, reading, findings);
    checkRings(diagram, reading, findings);
    if (text) checkKeys(*text, findings);
    return std::move(findings).inDocumentOrder();
}

// Made before the work, since there may be no memory for it afterwards.
std::vector<Finding> outOfMemoryFinding() {
    std::vector<Finding> findings{findingOf("out-of-memory")};
    findings.front().message = outOfMemoryReason;
    return findings;
}

}  // namespace

CheckedDocument decodeAndCheck(std::string_view text, const NodeRegistry& registry) {
    auto outOfMemory = outOfMemoryFinding();
    CheckedDocument document;
    const auto check = [&] {
        DecodeFailure failure;
        document.data = DiagramData::decode(text, &failure);
        if (failure.reason == outOfMemoryReason) return false;
        document.findings = document.data ? placed(findingsIn(document.data->info, registry, text), text)
                                          : std::vector{undecodable(text, failure)};
        return true;
    };
    if (!withinMemory(check).value_or(false)) document = {std::nullopt, std::move(outOfMemory)};
    return document;
}

std::vector<Finding> checkDiagram(std::string_view text, const NodeRegistry& registry) {
    return decodeAndCheck(text, registry).findings;
}

std::vector<Finding> checkDiagram(const DiagramInfo& info, const NodeRegistry& registry) {
    auto outOfMemory = outOfMemoryFinding();
    auto findings = withinMemory([&] { return findingsIn(info, registry, std::nullopt); });
    return findings ? std::move(*findings) : std::move(outOfMemory);
}

std::string findingText(const Finding& finding) {
    std::string text = finding.pointer.empty() ? "the document: " : pathText(finding.pointer) + ": ";
    if (finding.nodeId) {
        text += "node " + std::to_string(*finding.nodeId) + " (\"" + finding.typeString + '"';
        if (finding.label != finding.typeString) text += ", \"" + finding.label + '"';
        text += "): ";
    }
    text += finding.message;
    if (!finding.hint.empty()) text += "; " + finding.hint;
    return text;
}

}  // namespace KelvaneSDK
