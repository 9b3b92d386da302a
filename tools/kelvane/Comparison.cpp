#include "Comparison.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "Messages.h"

namespace kelvane {

using namespace KelvaneSDK;

namespace {

/// `"pitch": 197 equal, 3 differing by at most 0.1, 2 only in a.jsonl; the first difference at 12.5`
std::string labelLine(const std::string& label, const LabelComparison& values,
                      const std::string& expectedName, const std::string& foundName) {
    std::string line = inQuotes(label) + ": " + std::to_string(values.compared - values.differing) + " equal";
    const auto add = [&](std::size_t count, const std::string& what) {
        if (count > 0) line += ", " + std::to_string(count) + " " + what;
    };
    add(values.differing,
        "differing" + (values.largestDistance > 0 ? " by at most " + getValueString(values.largestDistance)
                                                  : std::string()));
    add(values.missing, "only in " + expectedName);
    add(values.unexpected, "only in " + foundName);
    if (values.firstDifference)
        line += "; the first difference at " + getValueString(*values.firstDifference);
    return line;
}

}  // namespace

std::optional<Tolerance> toleranceOf(const ToleranceOptions& options) {
    if (!options.absolute && !options.relative) return std::nullopt;
    return Tolerance{options.absolute.value_or(0), options.relative.value_or(0)};
}

std::string differenceLine(const ResultDifference& difference, const std::string& expectedName,
                           const std::string& foundName) {
    return printable(difference.text(expectedName, foundName)) + "\n";
}

std::string summary(const ResultComparison& comparison, const std::string& expectedName,
                    const std::string& foundName) {
    using Labelled = std::pair<std::string, LabelComparison>;
    std::vector<Labelled> labels(comparison.labels().begin(), comparison.labels().end());
    if (comparison.differences() == 0) {
        std::size_t values = 0;
        for (const auto& [label, compared] : labels) values += compared.compared;
        return counted(values, "equal value") + "\n";
    }
    std::stable_sort(labels.begin(), labels.end(), [](const Labelled& a, const Labelled& b) {
        const auto &first = a.second.firstDifference, &second = b.second.firstDifference;
        return first && (!second || *first < *second);
    });
    std::string text = counted(comparison.differences(), "difference") + "\n";
    for (const auto& [label, values] : labels)
        text += "  " + labelLine(label, values, expectedName, foundName) + "\n";
    return text;
}

std::string invalidLineText(const ResultComparison::InvalidLine& line, const std::string& name) {
    return name + ":" + std::to_string(line.number) + ": " + printable(line.reason);
}

}  // namespace kelvane
