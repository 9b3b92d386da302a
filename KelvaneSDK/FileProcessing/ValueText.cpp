#include "KelvaneSDK/FileProcessing/ValueText.h"

#include <algorithm>

#include "KelvaneSDK/Diagnostics.h"
#include "KelvaneSDK/FileProcessing/NumberText.h"

namespace KelvaneSDK {

namespace {

template <class Items, class Append>
void appendJoined(std::string& text, const Items& items, std::string_view separator, Append append) {
    bool first = true;
    for (const auto& item : items) {
        if (!first) text += separator;
        first = false;
        append(item);
    }
}

void appendSamples(std::string& text, std::span<const Sample> samples, std::string_view beforeT,
                   std::string_view beforeF, std::string_view separator) {
    appendJoined(text, samples, separator, [&](const Sample& sample) {
        text += beforeT;
        appendDoubleText(text, sample.t);
        text += beforeF;
        appendDoubleText(text, sample.f);
        text += ")";
    });
}

void appendSequence(std::string& text, std::span<const Sample> samples) {
    text += "[";
    appendSamples(text, samples, "(t: ", ", f: ", ", ");
    text += "]";
}

void appendQuoted(std::string& text, std::string_view unquoted) {
    text += '"';
    for (const char c : unquoted) {
        switch (c) {
            case '"':
                text += "\\\"";
                break;
            case '\\':
                text += "\\\\";
                break;
            case '\n':
                text += "\\n";
                break;
            case '\r':
                text += "\\r";
                break;
            case '\t':
                text += "\\t";
                break;
            case '\0':
                text += "\\0";
                break;
            default:
                text += c;
        }
    }
    text += '"';
}

template <class Item, class Append>
std::string spacedList(const Value& value, Append append) {
    std::string text = "[";
    appendJoined(text, value.items<Item>(), ", ", [&](const Item& item) { append(text, item); });
    return text + "]";
}

}  // namespace

std::string Vector::description() const {
    return "(x:" + doubleText(x) + ",y:" + doubleText(y) + ",z:" + doubleText(z) + ")";
}

std::string Orientation::description() const {
    return "(x:" + doubleText(x) + ",y:" + doubleText(y) + ",z:" + doubleText(z) + ",w:" + doubleText(w) +
           ")";
}

std::optional<Vector> Vector::fromText(std::string_view text) {
    const auto numbers = numbersBetweenCommas(withoutCharacters(text, " :xyz()[]"));
    if (!numbers || numbers->size() != 3) return std::nullopt;
    return Vector{(*numbers)[0], (*numbers)[1], (*numbers)[2]};
}

std::optional<Orientation> Orientation::fromText(std::string_view text) {
    const auto numbers = numbersBetweenCommas(withoutCharacters(text, " :xyzw()[]"));
    if (!numbers || numbers->size() != 4) return std::nullopt;
    return Orientation{(*numbers)[0], (*numbers)[1], (*numbers)[2], (*numbers)[3]};
}

std::string description(const List<double>& list) { return "[" + joinedDoubles(list.items()) + "]"; }

std::optional<List<double>> doublesFromText(std::string_view text) {
    const auto numbers = numbersBetweenCommas(withoutCharacters(text, " []"));
    if (!numbers) return std::nullopt;
    return List<double>(std::span<const double>(*numbers));
}

std::string withoutCharacters(std::string_view text, std::string_view unwanted) {
    std::string kept;
    kept.reserve(text.size());
    std::copy_if(text.begin(), text.end(), std::back_inserter(kept),
                 [&](char c) { return unwanted.find(c) == std::string_view::npos; });
    return kept;
}

std::vector<std::string_view> splitAtCommas(std::string_view text) {
    std::vector<std::string_view> pieces;
    for (std::size_t begin = 0;;) {
        const auto comma = text.find(',', begin);
        pieces.push_back(text.substr(begin, comma - begin));
        if (comma == std::string_view::npos) return pieces;
        begin = comma + 1;
    }
}

std::optional<std::vector<double>> numbersBetweenCommas(std::string_view text) {
    std::vector<double> numbers;
    if (text.empty()) return numbers;
    for (const auto piece : splitAtCommas(text)) {
        const auto number = parseDouble(piece);
        if (!number) return std::nullopt;
        numbers.push_back(*number);
    }
    return numbers;
}

std::string joinedSamples(std::span<const Sample> samples) {
    std::string text;
    appendSamples(text, samples, "(", ", ", ",");
    return text;
}

std::string joinedDoubles(std::span<const double> doubles) {
    std::string text;
    appendJoined(text, doubles, ",", [&](double x) { appendDoubleText(text, x); });
    return text;
}

std::string getValueString(const Value& value) {
    switch (value.type()) {
        case ValueType::Float:
            return doubleText(value.as<double>());
        case ValueType::Integer:
            return std::to_string(value.as<std::int64_t>());
        case ValueType::Boolean:
            return value.as<bool>() ? "true" : "false";
        case ValueType::Vector:
            return value.as<Vector>().description();
        case ValueType::Orientation:
            return value.as<Orientation>().description();
        case ValueType::String:
            return std::string(value.as<String>().view());
        case ValueType::Sequence: {
            std::string text;
            appendSequence(text, value.items<Sample>());
            return text;
        }
        case ValueType::SampleArray: {
            std::string text = "[";
            appendSamples(text, value.items<Sample>(), "(t:", ",f:", ",");
            return text + "]";
        }
        case ValueType::FloatArray:
            return "[" + joinedDoubles(value.items<double>()) + "]";
        case ValueType::IntegerArray:
            return spacedList<std::int64_t>(value,
                                            [](auto& text, auto item) { text += std::to_string(item); });
        case ValueType::BooleanArray:
            return spacedList<bool>(value, [](auto& text, bool item) { text += item ? "true" : "false"; });
        case ValueType::StringArray:
            return spacedList<String>(value, [](auto& text, const auto& item) { appendQuoted(text, item); });
        case ValueType::VectorArray:
            return spacedList<Vector>(value,
                                      [](auto& text, const auto& item) { text += item.description(); });
        case ValueType::OrientationArray:
            return spacedList<Orientation>(value,
                                           [](auto& text, const auto& item) { text += item.description(); });
        case ValueType::SequenceArray:
            return spacedList<Sequence>(
                value, [](auto& text, const auto& item) { appendSequence(text, item.samples().items()); });
    }
    stopProgram("a value has no known type");
}

}  // namespace KelvaneSDK
