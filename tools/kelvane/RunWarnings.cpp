#include "RunWarnings.h"

#include <algorithm>
#include <iterator>

#include "Diagram.h"
#include "Messages.h"

namespace kelvane {

using namespace KelvaneSDK;

namespace {

constexpr std::size_t mostOfAKind = 10;

std::string at(double time) { return "at t = " + getValueString(time); }

bool contains(const std::vector<std::string>& list, std::string_view text) {
    return std::find(list.begin(), list.end(), text) != list.end();
}

/// "once", "3 times"
std::string times(std::uint64_t count) { return count == 1 ? "once" : std::to_string(count) + " times"; }

/// A line each, the later ones of too many in one.
void giveEach(const std::function<void(const std::string&)>& takeLine, const std::vector<std::string>& lines,
              std::string_view noun) {
    const std::size_t shown = lines.size() > mostOfAKind + 1 ? mostOfAKind : lines.size();
    for (std::size_t i = 0; i < shown; ++i) takeLine(lines[i]);
    if (shown < lines.size())
        takeLine("and " + std::to_string(lines.size() - shown) + " more " + std::string(noun));
}

}  // namespace

RunWarnings::RunWarnings(const Kelvane& chosenEngine) : engine(chosenEngine) {
    for (const auto& node : engine.nodeList(NodeCategory::InputStream)) {
        const std::string label(node->label());
        refusals[wrongTypeLine(label)] = {label, {}};
    }
}

void RunWarnings::take(const KelvaneInput& batch) {
    if (batch.timestamp < now) {
        if (backward.count++ == 0) backward.from = now, backward.to = batch.timestamp;
    }
    now = batch.timestamp;
    updates += batch.updates.size();
    if (guesses.size() < batch.updates.size()) guesses.resize(batch.updates.size());
    auto* guess = guesses.data();
    for (const auto& update : batch.updates) {
        if (guess->count == nullptr || guess->name != update.first) {
            guess->count = countOf(update);
            guess->name = update.first;
        }
        ++guess++->count->count;
    }
}

RunWarnings::Count* RunWarnings::countOf(const LabelledValues::Entry& update) {
    auto known = names.find(update.first);
    if (known == names.end()) {
        const std::string name(names.size() < mostNames ? update.first : std::string_view());
        known = names.try_emplace(name).first;
        known->second.type = update.second.type();
    }
    return &known->second;
}

void RunWarnings::take(const KelvaneOutput& result) {
    const auto& outputs = result.outputs;
    const bool isKnown = outputs.labelSet() != 0 && outputs.labelSet() == resultSet;
    for (const auto& [label, value] : outputs) {
        if (!isKnown && !cameOut.contains(label)) cameOut.emplace(label);
        if (!holdsNaN(value)) continue;
        auto found = notNumbers.find(label);
        if (found == notNumbers.end()) found = notNumbers.try_emplace(std::string(label)).first;
        found->second.add(result.timestamp);
    }
    resultSet = outputs.labelSet();
}

void RunWarnings::take(std::string_view line) {
    if (const auto refusal = refusals.find(line); refusal != refusals.end()) refusal->second.second.add(now);
}

// The streams that no update named, but for those that variable outputs feed.
std::vector<std::string> RunWarnings::silentStreams() const {
    std::vector<std::string> lines;
    const auto fed = labels(engine, NodeCategory::VariableOutput), unread = unreadNames();
    for (const auto& node : engine.nodeList(NodeCategory::InputStream)) {
        const std::string label(node->label());
        if (names.contains(label) || contains(fed, label)) continue;
        lines.push_back(withHint("no update names the input stream " + inQuotes(label) + " (" +
                                     std::string(node->typeString) + ")",
                                 nearestTo(*node, unread)));
    }
    return lines;
}

std::vector<std::string> RunWarnings::unreadNames() const {
    std::vector<std::string> unread;
    const auto streams = engine.getInputStreams();
    const std::set<std::string, std::less<>> read(streams.begin(), streams.end());
    for (const auto& [name, count] : names) {
        if (!name.empty() && !read.contains(name)) unread.push_back(name);
    }
    return unread;
}

// The nearest of them, or else the only one of the stream's type.
std::string RunWarnings::nearestTo(const Node& stream, const std::vector<std::string>& unread) const {
    std::vector<std::string> ofType;
    std::copy_if(unread.begin(), unread.end(), std::back_inserter(ofType), [&](const auto& name) {
        return valueTypeName(names.find(name)->second.type) == stream.typeString;
    });
    const auto hint = nearestNameHint(stream.label(), unread);
    if (!hint.empty() || ofType.size() != 1) return hint;
    return "the recording has " + inQuotes(ofType.front()) + " of that type";
}

std::vector<std::string> RunWarnings::silentOutputs() const {
    std::vector<std::string> silent, left;
    for (const auto& node : engine.nodeList(NodeCategory::InputStream)) {
        if (hasProperty(*node, {"Forwarding", "false"})) left.emplace_back(node->label());
    }
    for (const auto& node : engine.nodeList(NodeCategory::VariableOutput)) {
        const std::string label(node->label());
        const bool isHidden = hasProperty(*node, {"Hidden", "true"}) || contains(left, label);
        if (isHidden || cameOut.contains(label)) continue;
        if (!contains(silent, label)) silent.push_back(label);
    }
    return silent;
}

void RunWarnings::give(const std::function<void(const std::string&)>& takeLine,
                       const std::string& command) const {
    if (updates == 0) {
        takeLine("the recording has no updates");
        return;
    }
    std::vector<std::string> lines;
    for (const auto& [line, refusal] : refusals) {
        const auto& [label, count] = refusal;
        if (count.count == 0) continue;
        lines.push_back("the input stream " + inQuotes(label) + " refused " + counted(count.count, "value") +
                        " of another type, the first " + at(count.first));
    }
    giveEach(takeLine, lines, "input streams refused values");
    giveEach(takeLine, silentStreams(), "input streams that no update names");
    lines.clear();
    for (const auto& label : silentOutputs())
        lines.push_back("the variable output " + inQuotes(label) + " gave no value; `" + command +
                        "` says why");
    giveEach(takeLine, lines, "variable outputs gave no value");
    if (losses.replaced > 0) {
        takeLine(counted(losses.replaced, "update") + (losses.replaced == 1 ? " was" : " were") +
                 " replaced by a later one of the same name and time, the first of " +
                 inQuotes(losses.firstReplacedName) + " " + at(losses.firstReplacedTime));
    }
    if (losses.withoutValue > 0) {
        takeLine(counted(losses.withoutValue, "update") + (losses.withoutValue == 1 ? " has" : " have") +
                 " no value, the first of " + inQuotes(losses.firstNameWithoutValue) + " " +
                 at(losses.firstTimeWithoutValue));
    }
    if (backward.count > 0) {
        takeLine("the time goes back " + times(backward.count) +
                 ", first from t = " + getValueString(backward.from) + " to " + getValueString(backward.to));
    }
    lines.clear();
    for (const auto& [label, count] : notNumbers)
        lines.push_back(inQuotes(label) + " was not a number " + times(count.count) + ", first " +
                        at(count.first));
    giveEach(takeLine, lines, "results that were not numbers");
    // Results of an earlier run may well be there.
    const auto outputs = labels(engine, NodeCategory::VariableOutput);
    lines.clear();
    for (const auto& name : unreadNames()) {
        if (!contains(outputs, name)) lines.push_back(inQuotes(name));
    }
    if (lines.empty()) return;
    const bool isMany = lines.size() > 4;
    const auto more = lines.size() - 3;
    if (isMany) lines.resize(3);
    takeLine("no input stream reads the recording's " + joined(lines) +
             (isMany ? " and " + std::to_string(more) + " more" : ""));
}

}  // namespace kelvane
