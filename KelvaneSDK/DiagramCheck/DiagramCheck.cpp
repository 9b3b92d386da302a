#include "KelvaneSDK/DiagramCheck/DiagramCheck.h"

#include <algorithm>

#include "KelvaneSDK/DiagramCheck/Checks.h"
#include "KelvaneSDK/FileProcessing/TextPlace.h"
#include "KelvaneSDK/Kelvane/MemoryGuard.h"

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

// A text that is no diagram.
std::vector<Finding> unreadable(const TextReading& reading) {
    std::vector<Finding> findings;
    for (const auto& [line, column, what, remedy] : reading.faults) {
        Finding finding = findingOf("undecodable");
        finding.line = line;
        finding.column = column;
        finding.isInText = true;
        finding.message = what;
        finding.hint = remedy;
        findings.push_back(std::move(finding));
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

std::vector<Finding> findingsIn(CheckedDiagram&& diagram, const NodeRegistry& registry,
                                FindingList findings = {}) {
    checkNodes(diagram, registry, findings);
    checkConnections(diagram, findings);
    checkGroups(diagram, findings);
    const WiringReading reading(diagram);
    checkWires(diagram, registry, reading, findings);
    checkRings(diagram, reading, findings);
    return std::move(findings).inDocumentOrder();
}

CheckedDocument checkedJson(std::string_view text, const NodeRegistry& registry) {
    DecodeFailure failure;
    auto data = DiagramData::decode(text, &failure);
    if (failure.reason == outOfMemoryReason) throw std::bad_alloc();
    if (!data) return {std::nullopt, {undecodable(text, failure)}};
    FindingList keys;
    checkKeys(text, keys);
    auto findings = findingsIn(CheckedDiagram(data->info), registry, std::move(keys));
    placeInJson(findings, text);
    return {std::move(data), std::move(findings)};
}

CheckedDocument checkedText(std::string_view text, const NodeRegistry& registry) {
    auto reading = readText(text, registry);
    if (!reading.data && reading.faults.front().what == outOfMemoryReason) throw std::bad_alloc();
    if (!reading.data) return {std::nullopt, unreadable(reading)};
    const auto& info = reading.data->info;
    auto findings = findingsIn(CheckedDiagram(info, placesInAnyOrder(reading.offsets.nodes, text)), registry);
    placeInText(findings, text, reading.offsets);
    return {std::move(reading.data), std::move(findings)};
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
    auto document = withinMemory(
        [&] { return isTextForm(text) ? checkedText(text, registry) : checkedJson(text, registry); });
    if (document) return std::move(*document);
    return {std::nullopt, std::move(outOfMemory)};
}

std::vector<Finding> checkDiagram(std::string_view text, const NodeRegistry& registry) {
    return decodeAndCheck(text, registry).findings;
}

std::vector<Finding> checkDiagram(const DiagramInfo& info, const NodeRegistry& registry) {
    auto outOfMemory = outOfMemoryFinding();
    auto findings = withinMemory([&] { return findingsIn(CheckedDiagram(info), registry); });
    return findings ? std::move(*findings) : std::move(outOfMemory);
}

std::string findingText(const Finding& finding) {
    std::string text;
    if (finding.isInText) {
        if (finding.label != finding.typeString) text = '"' + finding.label + "\" (";
        text += finding.typeString + (text.empty() ? ": " : "): ");
        if (!finding.nodeId) text.clear();
    } else {
        text = finding.pointer.empty() ? "the document: " : pathText(finding.pointer) + ": ";
        if (finding.nodeId) {
            text += "node " + std::to_string(*finding.nodeId) + " (\"" + finding.typeString + '"';
            if (finding.label != finding.typeString) text += ", \"" + finding.label + '"';
            text += "): ";
        }
    }
    text += finding.message;
    if (!finding.hint.empty()) text += "; " + finding.hint;
    return text;
}

}  // namespace KelvaneSDK
