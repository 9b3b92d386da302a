#include "ValueText.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <utility>

#include "KelvaneSDK/FileProcessing/InputRecording.h"
#include "KelvaneSDK/KelvaneSDK.h"

namespace kelvane {

using namespace KelvaneSDK;

namespace {

// Without SampleArray, which is a sequence on its way.
constexpr std::size_t typeCount = static_cast<std::size_t>(ValueType::SampleArray);

std::optional<Value> valueFromJson(ValueType type, std::string_view text) {
    std::string line = R"({"timestamp":0,"name":"",")" + keyOf(type) + "\":";
    line += text;
    line += '}';
    // What is no single line is no single value.
    if (line.find('\n') != std::string::npos) return std::nullopt;
    RecordingReader reader({.lines = RecordingOptions::Lines::results});
    reader.append(line);
    reader.finish();
    const auto* const update = reader.nextUpdate();
    if (update == nullptr || update->value == nullptr || update->type != type || update->timestamp != 0 ||
        !update->name.empty())
        return std::nullopt;
    return *update->value;
}

std::optional<std::int64_t> integerOf(std::string_view text) {
    std::int64_t number = 0;
    if (text.starts_with('+')) text.remove_prefix(1);
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size() ? std::optional(number) : std::nullopt;
}

template <class T>
ReadValue outcomeOf(const std::optional<T>& value) {
    if (!value) return {};
    return {ReadValue::Outcome::isRead, Value(*value)};
}

}  // namespace

std::string numberText(double x) {
    if (!std::isfinite(x)) return {};
    auto text = getValueString(x);
    if (text.ends_with(".0")) text.resize(text.size() - 2);
    return text;
}

std::optional<ValueType> typeNamed(std::string_view name) {
    for (std::size_t i = 0; i < typeCount; ++i) {
        const auto type = static_cast<ValueType>(i);
        if (inSmallLetters(valueTypeName(type)) == inSmallLetters(name)) return type;
    }
    return std::nullopt;
}

std::string keyOf(ValueType type) {
    // "Float array" is under "floatArrayValue".
    std::string key = inSmallLetters(valueTypeName(type));
    for (auto blank = key.find(' '); blank != std::string::npos; blank = key.find(' ')) {
        key.erase(blank, 1);
        key[blank] = static_cast<char>(key[blank] - 'a' + 'A');
    }
    return key + "Value";
}

std::string jsonOf(const Value& value) {
    std::string line;
    appendJsonLines(line, {0, {{"", value}}});
    constexpr std::string_view opening = R"({"timestamp":0,"name":"",")";
    const auto begin = line.find(':', opening.size()) + 1;
    return line.substr(begin, line.size() - begin - std::string_view("}\n").size());
}

void appendLine(std::string& text, double timestamp, std::string_view name, ValueType type,
                const Value* value) {
    if (value != nullptr) {
        KelvaneOutput output{timestamp, {}};
        output.outputs[name] = *value;
        appendJsonLines(text, output);
        return;
    }
    JsonWriter json(text);
    json.beginObject();
    json.member("timestamp", timestamp);
    json.member("name", name);
    json.key(keyOf(type));
    json.null();
    json.endObject();
    text += '\n';
}

ReadValue readValue(ValueType type, std::string_view text) {
    const auto trimmed = withoutBlanks(text);
    if (type == ValueType::String ? text.empty() : saysNone(trimmed)) return {ReadValue::Outcome::isNone, {}};
    switch (type) {
        case ValueType::Float:
            return outcomeOf(numberOf(trimmed));
        case ValueType::Integer:
            return outcomeOf(integerOf(trimmed));
        case ValueType::Boolean: {
            const auto word = inSmallLetters(trimmed);
            if (word == "true" || word == "1") return outcomeOf(std::optional(true));
            if (word == "false" || word == "0") return outcomeOf(std::optional(false));
            return {};
        }
        case ValueType::String:
            return {ReadValue::Outcome::isRead, Value(text)};
        default:
            return outcomeOf(valueFromJson(type, trimmed));
    }
}

std::optional<double> numberOf(std::string_view text) {
    text = withoutBlanks(text);
    if (text.starts_with('+')) text.remove_prefix(1);
    double number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    const bool isNumber = error == std::errc() && end == text.data() + text.size() && std::isfinite(number);
    return isNumber ? std::optional(number) : std::nullopt;
}

bool saysNone(std::string_view text) {
    constexpr std::array<std::string_view, 10> words{"",     "nan",  "na",   "n/a", "null",
                                                     "none", "-nan", "#n/a", "inf", "-inf"};
    return text.size() <= 4 && std::find(words.begin(), words.end(), inSmallLetters(text)) != words.end();
}

std::string_view withoutBlanks(std::string_view text) {
    constexpr std::string_view blanks = " \t\r\n";
    const auto first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

std::string inSmallLetters(std::string_view text) {
    std::string small(text);
    std::transform(small.begin(), small.end(), small.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    return small;
}

}  // namespace kelvane
