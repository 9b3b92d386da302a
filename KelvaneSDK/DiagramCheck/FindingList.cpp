#include "KelvaneSDK/DiagramCheck/FindingList.h"

#include <algorithm>
#include <tuple>

#include "KelvaneSDK/DiagramCheck/CheckedDiagram.h"

namespace KelvaneSDK {

namespace {

constexpr std::size_t longestText = 60;

constexpr std::array<std::string_view, 7> sectionNames{"", "/nodes/",     "/properties/", "/connections/",
                                                       "/positions/", "/containers/", "/subdiagrams/"};

}  // namespace

std::string Place::pointer() const {
    if (section == Section::document) return below;
    return std::string(sectionNames[static_cast<std::size_t>(section)]) + std::to_string(index) + below;
}

FindingList::Draft& FindingList::Draft::about(const CheckedNode& node) {
    finding.nodeId = node.record->id;
    finding.typeString = shortened(node.record->typeString);
    finding.label = shortened(node.label);
    return *this;
}

FindingList::Draft& FindingList::Draft::subject(std::string_view text) {
    finding.subject = shortened(text);
    return *this;
}

FindingList::Draft& FindingList::Draft::hint(std::string text) {
    finding.hint = std::move(text);
    return *this;
}

FindingList::Draft& FindingList::Draft::didYouMean(std::string_view name) {
    if (!name.empty()) finding.hint = "did you mean " + quoted(name) + "?";
    return *this;
}

FindingList::Draft FindingList::add(Code code, Severity severity, const Place& place, std::string message) {
    const auto& row = rowOf(code);
    if (ended) severity = std::min(severity, Severity::error);
    if (++kept[static_cast<std::size_t>(severity)] > mostFindings) {
        ++more[std::string(row.code)];
        gravestOfMore = std::max(gravestOfMore, severity);
        return Draft(unkept);
    }
    Finding finding;
    finding.code = row.code;
    finding.severity = severity;
    finding.pointer = place.pointer();
    finding.message = std::move(message);
    items.push_back({place.section, place.index, std::move(finding)});
    return Draft(items.back().finding);
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
    last.code = rowOf(Code::moreFindings).code;
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
