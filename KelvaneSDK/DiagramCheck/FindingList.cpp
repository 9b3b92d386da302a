#include "KelvaneSDK/DiagramCheck/FindingList.h"

#include <algorithm>
#include <tuple>

#include "KelvaneSDK/DiagramCheck/NodeTable.h"

namespace KelvaneSDK {

namespace {

std::string pointerTo(Section section, std::size_t index) {
    const auto item = [index](std::string_view name) {
        std::string pointer(1, '/');
        pointer += name;
        pointer += '/';
        return pointer + std::to_string(index);
    };
    switch (section) {
        case Section::nodes:
            return item("nodes");
        case Section::properties:
            return item("properties");
        case Section::connections:
            return item("connections");
        case Section::positions:
            return item("positions");
        case Section::containers:
            return item("containers");
        case Section::subdiagrams:
            break;
    }
    return item("subdiagrams");
}

}  // namespace

FindingList::Draft& FindingList::Draft::about(const CheckedNode& node) {
    finding().nodeId = node.record->id;
    finding().typeString = node.record->typeString;
    finding().label = node.label;
    return *this;
}

FindingList::Draft& FindingList::Draft::subject(std::string_view text) {
    finding().subject = text;
    return *this;
}

FindingList::Draft& FindingList::Draft::hint(std::string text) {
    finding().hint = std::move(text);
    return *this;
}

FindingList::Draft& FindingList::Draft::didYouMean(std::string_view name) {
    if (!name.empty()) finding().hint = "did you mean " + quoted(name) + "?";
    return *this;
}

FindingList::Draft& FindingList::Draft::fatal(bool certain) {
    finding().fatal = certain && !list.ended;
    return *this;
}

FindingList::Draft& FindingList::Draft::below(std::string_view pointer) {
    finding().pointer += pointer;
    return *this;
}

FindingList::Draft FindingList::add(std::string_view code, Severity severity, Section section,
                                    std::size_t index, std::string message) {
    Finding finding;
    finding.code = code;
    finding.severity = severity;
    finding.pointer = pointerTo(section, index);
    finding.message = std::move(message);
    items.push_back({section, index, std::move(finding)});
    return {*this, items.size() - 1};
}

std::vector<Finding> FindingList::inDocumentOrder() && {
    std::stable_sort(items.begin(), items.end(), [](const Item& a, const Item& b) {
        return std::tie(a.section, a.index) < std::tie(b.section, b.index);
    });
    std::vector<Finding> findings;
    findings.reserve(items.size());
    for (auto& item : items) findings.push_back(std::move(item.finding));
    return findings;
}

std::string quoted(std::string_view name) {
    std::string text(1, '"');
    text += name;
    text += '"';
    return text;
}

}  // namespace KelvaneSDK
