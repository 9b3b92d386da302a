#include "KelvaneSDK/Testing/ResultComparison.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <tuple>
#include <utility>

#include "KelvaneSDK/FileProcessing/InputRecording.h"
#include "KelvaneSDK/FileProcessing/JsonReader.h"
#include "KelvaneSDK/FileProcessing/JsonText.h"

namespace KelvaneSDK {

namespace {

using Element = simdjson::dom::element;
using ElementType = simdjson::dom::element_type;

bool isNumber(const Element& element) { return kindOf(element) == "a number"; }

std::string textOf(const Element& element) {
    if (element.type() == ElementType::STRING) return jsonTextOf(*asString(element));
    if (element.type() != ElementType::DOUBLE) return simdjson::to_string(element);
    return jsonTextOf(*asDouble(element));
}

/// One line of results. What it holds is good until its reader reads another.
struct ResultLine {
    double timestamp = 0;
    std::string_view label;
    /// "floatValue" and the like; empty where there is no value.
    std::string_view key;
    Element value;
};

/// The lines of one of the two results, one at a time.
class ResultLines {
public:
    void append(std::string_view piece) {
        text.erase(0, begin);
        searched -= begin;
        begin = 0;
        text += piece;
    }
    void end() { isComplete = true; }

    /// Steps to the next line; false when it is not there yet, or there is none.
    bool next() {
        const auto lineBreak = text.find('\n', searched);
        const bool isLast = lineBreak == std::string::npos;
        searched = isLast ? text.size() : lineBreak + 1;
        if (isLast && (!isComplete || begin == text.size())) return false;
        bytes = std::string_view(text).substr(begin, (isLast ? text.size() : lineBreak) - begin);
        begin = searched;
        ++number;
        return true;
    }

    /// Reads the line; false with a reason when it is no result.
    bool read(std::string& reason) {
        JsonFailure failure;
        const auto root = reader.parse(bytes, failure);
        simdjson::dom::object object;
        if (!root || root->get_object().get(object) != simdjson::SUCCESS) {
            reason = root ? "the line is " + std::string(kindOf(*root)) + "; an object was expected"
                          : failure.reason;
            return false;
        }
        const auto previous = std::exchange(line, ResultLine()).timestamp;
        std::optional<double> timestamp;
        std::optional<std::string_view> label;
        for (const auto field : object) {
            if (field.key == "timestamp") {
                timestamp = asDouble(field.value);
            } else if (field.key == "name") {
                label = asString(field.value);
            } else if (line.key.empty() && field.key.ends_with("Value")) {
                line.key = field.key;
                line.value = field.value;
            }
        }
        reason = timestamp ? "\"name\" is missing; a string was expected"
                           : "\"timestamp\" is missing; a number was expected";
        if (!timestamp || !label) return false;
        line.timestamp = *timestamp;
        line.label = *label;
        if (number > 1 && line.timestamp < previous) ++backwardSteps;
        return true;
    }

    /// Takes over what another's line says that is spelled alike; false when it has another place.
    bool adopt(const ResultLines& other) {
        const auto steps = backwardSteps + (number > 1 && other.line.timestamp < line.timestamp ? 1 : 0);
        if (steps != other.backwardSteps) return false;
        backwardSteps = steps;
        line.timestamp = other.line.timestamp;
        return true;
    }

    /// The place in the order of the results.
    auto place() const { return std::tuple(backwardSteps, line.timestamp, line.label); }

    ResultLine line;
    /// The line as it is spelled.
    std::string_view bytes;
    /// From 1.
    std::size_t number = 0;

private:
    std::string text;
    std::size_t begin = 0, searched = 0;
    bool isComplete = false;
    JsonReader reader;
    // Where times go back, as between the results of two recordings, all before comes before all after.
    std::size_t backwardSteps = 0;
};

/// Compares two values, element by element.
class ValueComparison {
public:
    ValueComparison(const std::optional<Tolerance>& allowed, bool isOfIntegers)
        : tolerance(allowed), hasIntegers(isOfIntegers) {}

    void compare(const Element& a, const Element& b) {
        if (isNumber(a) && isNumber(b)) return compareNumbers(a, b);
        if (a.type() != b.type()) return note(textOf(a), textOf(b));
        switch (a.type()) {
            case ElementType::ARRAY:
                return compareElements(a.get_array().value(), b.get_array().value());
            case ElementType::OBJECT:
                return compareMembers(a.get_object().value(), b.get_object().value());
            case ElementType::NULL_VALUE:
                return;
            default:
                if (textOf(a) != textOf(b)) note(textOf(a), textOf(b));
        }
    }

    bool isDifferent = false;
    double largestDistance = 0;
    /// The first difference, with its place.
    ResultDifference first;

private:
    void note(const std::string& a, const std::string& b) {
        if (std::exchange(isDifferent, true)) return;
        first.place = place;
        first.expected = a;
        first.found = b;
    }

    void compareNumbers(const Element& a, const Element& b) {
        const auto x = *asDouble(a), y = *asDouble(b);
        auto distance = std::abs(x - y);
        const auto m = asInteger(a), n = asInteger(b);
        bool isSame = std::bit_cast<std::uint64_t>(x) == std::bit_cast<std::uint64_t>(y);
        if (hasIntegers && m && n) {
            isSame = *m == *n;
            const auto larger = static_cast<std::uint64_t>(std::max(*m, *n));
            distance = static_cast<double>(larger - static_cast<std::uint64_t>(std::min(*m, *n)));
        }
        if (tolerance) {
            isSame = isSame || distance <= tolerance->absolute ||
                     distance <= tolerance->relative * std::max(std::abs(x), std::abs(y));
        }
        if (isSame) return;
        largestDistance = std::max(largestDistance, distance);
        note(textOf(a), textOf(b));
    }

    void compareElements(const simdjson::dom::array& a, const simdjson::dom::array& b) {
        const auto inWords = [](std::size_t size) {
            return std::to_string(size) + (size == 1 ? " element" : " elements");
        };
        auto i = a.begin(), j = b.begin();
        for (std::size_t index = 0; i != a.end() && j != b.end(); ++i, ++j)
            compareAt("[" + std::to_string(index++) + "]", *i, *j);
        if (i != a.end() || j != b.end()) note(inWords(a.size()), inWords(b.size()));
    }

    void compareMembers(const simdjson::dom::object& a, const simdjson::dom::object& b) {
        for (const auto [key, element] : a) {
            Element other;
            if (b.at_key(key).get(other) != simdjson::SUCCESS)
                return note(simdjson::to_string(a), simdjson::to_string(b));
            compareAt("." + std::string(key), element, other);
        }
        if (a.size() != b.size()) note(simdjson::to_string(a), simdjson::to_string(b));
    }

    void compareAt(const std::string& step, const Element& a, const Element& b) {
        const auto length = place.size();
        place += step;
        compare(a, b);
        place.resize(length);
    }

    const std::optional<Tolerance>& tolerance;
    const bool hasIntegers;
    std::string place;
};

}  // namespace

std::string ResultDifference::text(std::string_view expectedName, std::string_view foundName) const {
    std::string line = "at " + getValueString(timestamp) + ", " + jsonTextOf(label) + place + ": ";
    line += expected.value_or("nothing") + " in " + std::string(expectedName) + ", ";
    return line + found.value_or("nothing") + " in " + std::string(foundName);
}

class ResultComparison::State {
public:
    State(Source source, const std::optional<Tolerance>& allowed, Receiver reported)
        : expectedText(std::move(source)), tolerance(allowed), receiver(std::move(reported)) {}

    void take(std::string_view text) {
        if (invalid) return;
        found.append(text);
        while (!invalid && found.next()) takeLine();
    }

    void finish() {
        found.end();
        take({});
        while (readExpected()) noteMissing();
    }

    std::size_t differences = 0;
    std::map<std::string, LabelComparison, std::less<>> labels;
    std::optional<InvalidLine> invalid;

private:
    void takeLine() {
        if (readExpected() && found.bytes == expected.bytes && found.adopt(expected)) {
            ++of(expected.line.label).compared;
            isAhead = false;
            return;
        }
        if (!read(found)) return;
        while (readExpected() && expected.place() < found.place()) noteMissing();
        if (invalid) return;
        if (isAhead && expected.place() == found.place()) {
            compareLines();
            isAhead = false;
        } else {
            ++of(found.line.label).unexpected;
            report({found.line.timestamp, std::string(found.line.label), {}, {}, valueOf(found.line)});
        }
    }

    bool readExpected() {
        while (!invalid && !isAhead) {
            if (!expected.next()) {
                if (isExhausted) return false;
                const auto piece = expectedText();
                isExhausted = piece.empty();
                isExhausted ? expected.end() : expected.append(piece);
            } else {
                isAhead = read(expected);
            }
        }
        return isAhead;
    }

    bool read(ResultLines& lines) {
        std::string reason;
        if (lines.read(reason)) return true;
        invalid = InvalidLine{&lines == &expected, lines.number, reason};
        return false;
    }

    LabelComparison& of(std::string_view label) {
        const auto known = labels.find(label);
        return known != labels.end() ? known->second : labels[std::string(label)];
    }

    static std::string valueOf(const ResultLine& line) {
        return line.key.empty() ? "no value" : textOf(line.value);
    }

    void noteMissing() {
        ++of(expected.line.label).missing;
        report({expected.line.timestamp, std::string(expected.line.label), {}, valueOf(expected.line), {}});
        isAhead = false;
    }

    void compareLines() {
        const auto &a = expected.line, &b = found.line;
        auto& label = of(a.label);
        ++label.compared;
        ValueComparison values(tolerance, a.key.starts_with("integer"));
        if (a.key != b.key) {
            const auto typed = [](const ResultLine& line) {
                return valueOf(line) + (line.key.empty() ? "" : " (" + std::string(line.key) + ")");
            };
            values.isDifferent = true;
            values.first.expected = typed(a);
            values.first.found = typed(b);
        } else if (!a.key.empty()) {
            values.compare(a.value, b.value);
        }
        if (!values.isDifferent) return;
        ++label.differing;
        label.largestDistance = std::max(label.largestDistance, values.largestDistance);
        values.first.timestamp = a.timestamp;
        values.first.label = a.label;
        report(values.first);
    }

    void report(const ResultDifference& difference) {
        ++differences;
        auto& first = of(difference.label).firstDifference;
        if (!first) first = difference.timestamp;
        if (receiver) receiver(difference);
    }

    Source expectedText;
    const std::optional<Tolerance> tolerance;
    Receiver receiver;
    ResultLines expected, found;
    // A line of the expected results has been read and waits for its counterpart.
    bool isAhead = false, isExhausted = false;
};

ResultComparison::ResultComparison(Source expected, const std::optional<Tolerance>& tolerance,
                                   Receiver receiver)
    : state(std::make_unique<State>(std::move(expected), tolerance, std::move(receiver))) {}
ResultComparison::~ResultComparison() = default;

void ResultComparison::take(std::string_view found) { state->take(found); }
void ResultComparison::finish() { state->finish(); }
std::size_t ResultComparison::differences() const { return state->differences; }
const std::map<std::string, LabelComparison, std::less<>>& ResultComparison::labels() const {
    return state->labels;
}
const std::optional<ResultComparison::InvalidLine>& ResultComparison::invalidLine() const {
    return state->invalid;
}

std::string differencesFromExpected(Kelvane& engine, std::string_view recording, std::string_view expected,
                                    const std::optional<Tolerance>& tolerance) {
    constexpr std::size_t mostShown = 10;
    std::string lines;
    ResultComparison comparison([&] { return std::exchange(expected, {}); }, tolerance,
                                [&, shown = std::size_t{0}](const ResultDifference& difference) mutable {
                                    if (++shown <= mostShown)
                                        lines +=
                                            difference.text("the expected results", "those found") + "\n";
                                });
    if (recording.ends_with('\n')) recording.remove_suffix(1);
    RecordingReader reader;
    reader.append(recording);
    reader.finish();
    KelvaneInput batch;
    KelvaneOutput output;
    std::string results;
    while (!engine.failure() && reader.next(batch)) {
        engine.evaluateInto(batch, output);
        results.clear();
        appendJsonLines(results, output);
        comparison.take(results);
    }
    comparison.finish();
    if (comparison.differences() > mostShown)
        lines += "and " + std::to_string(comparison.differences() - mostShown) + " more\n";
    if (engine.failure())
        lines += "the engine stopped at " + getValueString(output.timestamp) + ": " + engine.failure()->text +
                 "\n";
    if (const auto& failure = reader.failure())
        lines += "line " + std::to_string(failure->line + 1) + " of the recording: " + failure->reason + "\n";
    if (const auto& line = comparison.invalidLine()) {
        lines += "line " + std::to_string(line->number) + " of the " + (line->isExpected ? "expected " : "") +
                 "results: " + line->reason + "\n";
    }
    return lines;
}

}  // namespace KelvaneSDK
