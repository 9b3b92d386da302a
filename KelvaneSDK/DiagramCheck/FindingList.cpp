#include "KelvaneSDK/DiagramCheck/FindingList.h"

#include <algorithm>
#include <tuple>

#include "KelvaneSDK/DiagramCheck/CheckedDiagram.h"

namespace KelvaneSDK {

namespace {

constexpr std::size_t longestText = 60;

constexpr std::array<std::string_view, 7> sectionNames{
    "", "/nodes/", "/properties/", "/connections/", "/positions/", "/containers/", "/subdiagrams/"};

}  // namespace

std::string Place::pointer() const {
    if (section == Section::document) return below;
    return std::string(sectionNames[static_cast<std::size_t>(section)]) + std::to_string(index) + below;
}

std::span<const FindingCode> findingCodes() { return FindingRows::all; }

std::string_view severityName(Severity severity) {
    return severity == Severity::warning ? "warning" : severity == Severity::error ? "error" : "fatal";
}

void FindingList::add(Code code, const Place& place, std::string message, const Details& details) {
    auto severity = details.severity.value_or(code->most);
    if (ended) severity = std::min(severity, Severity::error);
    if (++kept[static_cast<std::size_t>(severity)] > mostFindings) {
        ++more[std::string(code->code)];
        gravestOfMore = std::max(gravestOfMore, severity);
        return;
    }
    Finding finding{.code = std::string(code->code),
                    .severity = severity,
                    .pointer = place.pointer(),
                    .subject = shortened(details.subject),
                    .input = details.input,
                    .message = std::move(message),
                    .hint = details.hint};
    if (!details.nearest.empty()) finding.hint = "did you mean " + quoted(details.nearest) + "?";
    if (const auto* node = details.about) {
        finding.nodeId = node->record->id;
        finding.typeString = shortened(node->record->typeString);
        finding.label = shortened(node->label);
    }
    items.push_back({place.section, place.index, std::move(finding)});
}

std::vector<Finding> FindingList::inDocumentOrder() && {
    std::stable_sort(items.begin(), items.end(), [](const Item& a, const Item& b) {
        return std::tie(a.section, a.index) < std::tie(b.section, b.index);
    });
    std::array<std::size_t, 3> room{};
    std::size_t left = mostFindings;
    for (std::size_t severity = room.size(); severity-- > 0;) {
        room[severity] = std::min(kept[severity], left);
        left -= room[severity];
    }
    std::vector<Finding> findings;
    for (auto& [section, index, finding] : items) {
        auto& roomForIt = room[static_cast<std::size_t>(finding.severity)];
        if (roomForIt > 0) {
            --roomForIt;
            findings.push_back(std::move(finding));
        } else {
            ++more[finding.code];
            gravestOfMore = std::max(gravestOfMore, finding.severity);
        }
    }
    if (more.empty()) return findings;
    std::string counts;
    std::size_t count = 0;
    for (const auto& [code, times] : more) {
        counts += (counts.empty() ? "" : ", ") + std::to_string(times) + " " + code;
        count += times;
    }
    auto& last = findings.emplace_back();
    last.code = Code("more-findings")->code;
    last.severity = gravestOfMore;
    last.message = std::to_string(count) + " more findings are not listed: " + counts;
    return findings;
}

std::string shortened(std::string_view text) {
    if (text.size() <= longestText) return std::string(text);
    std::size_t end = longestText - 3;
    // Not within a character.
    while (end > longestText - 7 && (static_cast<unsigned char>(text[end]) & 0xc0U) == 0x80) --end;
    return std::string(text.substr(0, end)) + "...";
}

std::string quoted(std::string_view text) { return '"' + shortened(text) + '"'; }

}  // namespace KelvaneSDK
