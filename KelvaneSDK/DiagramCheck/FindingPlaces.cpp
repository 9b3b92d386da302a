#include <algorithm>
#include <charconv>

#include "KelvaneSDK/DiagramCheck/Checks.h"
#include "KelvaneSDK/FileProcessing/TextPlace.h"
#include "KelvaneSDK/Kelvane/MemoryGuard.h"

namespace KelvaneSDK {

namespace {

/// The steps of a JSON pointer, one by one.
class PointerSteps {
public:
    explicit PointerSteps(std::string_view pointer) : rest(pointer) {}

    /// Empty at the end.
    std::string_view name() {
        const auto end = std::min(rest.find('/', 1), rest.size());
        const auto step = rest.substr(std::min<std::size_t>(1, end), end - std::min<std::size_t>(1, end));
        rest.remove_prefix(end);
        return step;
    }

    /// The element of a list that the next step names; null where it names none.
    template <class List>
    auto element(const List& list) -> decltype(list.data()) {
        const auto step = name();
        std::size_t index = list.size();
        std::from_chars(step.data(), step.data() + step.size(), index);
        return index < list.size() ? &list[index] : nullptr;
    }

private:
    std::string_view rest;
};

std::size_t offsetInGroup(const std::vector<TextOffsets::Group>& groups, PointerSteps steps) {
    std::size_t offset = 0;
    const auto* list = &groups;
    while (const auto* group = steps.element(*list)) {
        offset = group->offset;
        const auto key = steps.name();
        if (key == "nodeIds") {
            const auto* member = steps.element(group->nodeIds);
            return member != nullptr ? *member : offset;
        }
        if (key != "containers") break;
        list = &group->containers;
    }
    return offset;
}

std::size_t offsetOf(const Finding& finding, const TextOffsets& offsets) {
    PointerSteps steps(finding.pointer);
    const auto section = steps.name();
    if (section == "containers") return offsetInGroup(offsets.containers, steps);
    if (section == "subdiagrams") return offsetInGroup(offsets.subdiagrams, steps);
    const auto& list = section == "nodes"         ? offsets.nodes
                       : section == "properties"  ? offsets.properties
                       : section == "connections" ? offsets.connections
                                                  : offsets.positions;
    const auto* offset = steps.element(list);
    if (offset == nullptr) return 0;
    if (section == "nodes" && finding.input) {
        const std::pair wanted(static_cast<std::size_t>(offset - list.data()), *finding.input);
        const auto input = std::partition_point(
            offsets.inputs.begin(), offsets.inputs.end(),
            [&](const TextOffsets::Input& entry) { return std::pair(entry.node, entry.input) < wanted; });
        if (input != offsets.inputs.end() && std::pair(input->node, input->input) == wanted)
            return input->offset;
    }
    return *offset;
}

// The offsets of findings, to which what is listed last belongs at the end.
void place(std::span<Finding> findings, std::string_view text, std::span<const std::size_t> offsets,
           bool isInText) {
    const auto places = placesInAnyOrder(offsets, text);
    for (std::size_t i = 0; i < findings.size(); ++i) {
        findings[i].line = places[i].line;
        findings[i].column = places[i].column;
        findings[i].isInText = isInText;
    }
}

std::vector<std::size_t> offsetsInJson(std::span<const Finding> findings, std::string_view text) {
    std::vector<std::string> pointers;
    for (const auto& finding : findings) pointers.push_back(finding.pointer);
    return offsetsOf(pointers, text);
}

std::vector<std::size_t> offsetsInText(std::span<const Finding> findings, const TextOffsets& offsets) {
    std::vector<std::size_t> result;
    for (const auto& finding : findings) result.push_back(offsetOf(finding, offsets));
    return result;
}

void placeInOrder(std::vector<Finding>& findings, std::string_view text, std::vector<std::size_t> offsets,
                  bool isInText) {
    if (findings.empty()) return;
    // What is not listed comes last.
    if (findings.back().code == Code("more-findings")->code) offsets.back() = text.size();
    place(findings, text, offsets, isInText);
    std::stable_sort(findings.begin(), findings.end(), [](const Finding& a, const Finding& b) {
        return std::pair(a.line, a.column) < std::pair(b.line, b.column);
    });
}

}  // namespace

void placeInJson(std::vector<Finding>& findings, std::string_view text) {
    placeInOrder(findings, text, offsetsInJson(findings, text), false);
}

void placeInText(std::vector<Finding>& findings, std::string_view text, const TextOffsets& offsets) {
    placeInOrder(findings, text, offsetsInText(findings, offsets), true);
}

void placeFindings(std::span<Finding> findings, std::string_view text, const NodeRegistry& registry) {
    withinMemory([&] {
        const bool isInText = isTextForm(text);
        const auto offsets = isInText ? offsetsInText(findings, readText(text, registry).offsets)
                                      : offsetsInJson(findings, text);
        place(findings, text, offsets, isInText);
        return true;
    });
}

}  // namespace KelvaneSDK
