#include "KelvaneSDK/FileProcessing/InputRecording.h"

#include <array>
#include <utility>

#include "KelvaneSDK/Diagnostics.h"
#include "KelvaneSDK/FileProcessing/JsonReader.h"

namespace KelvaneSDK {

namespace {

using Element = simdjson::dom::element;

// The value keys in the order in which the first present one wins.
constexpr std::array<std::string_view, 13> valueKeys{
    "floatValue",      "integerValue",      "vectorValue",       "booleanValue",     "orientationValue",
    "stringValue",     "sequenceValue",     "floatArrayValue",   "integerArrayValue", "booleanArrayValue",
    "vectorArrayValue", "orientationArrayValue", "stringArrayValue"};

std::string quoted(std::string_view name) { return "\"" + std::string(name) + "\""; }

}  // namespace

/// Decodes one line at a time; keeps the parser's buffers.
class RecordingReader::LineDecoder {
public:
    struct Update {
        double timestamp;
        std::string_view name;
        Value value;
    };

    /// The line's update, or absent with reason() telling why. The name lives until the next call.
    std::optional<Update> decode(std::string_view line) {
        JsonFailure notJson;
        const auto root = reader.parse(line, notJson);
        if (!root) return fail(notJson.reason);
        simdjson::dom::object object;
        if (root->get_object().get(object) != simdjson::SUCCESS) {
            return fail("the line is " + std::string(kindOf(*root)) + "; an object was expected");
        }
        std::array<std::string_view, 2 + valueKeys.size()> names{"timestamp", "name"};
        std::copy(valueKeys.begin(), valueKeys.end(), names.begin() + 2);
        const auto found = members(object, names);

        double timestamp = 0;
        std::string_view name;
        if (!found[0]) return fail("\"timestamp\" is missing; a number was expected");
        if (!read(*found[0], timestamp)) return fail(quoted(names[0]) + why);
        if (!found[1]) return fail("\"name\" is missing; a string was expected");
        if (!read(*found[1], name)) return fail(quoted(names[1]) + why);
        std::optional<Value> value;
        for (std::size_t key = 0; key < valueKeys.size(); ++key) {
            if (!found[2 + key]) continue;
            auto decoded = decodeValue(key, *found[2 + key]);
            if (!decoded) return fail(quoted(valueKeys[key]) + why);
            if (!value) value = std::move(decoded);
        }
        if (!value) return fail("no value is there: one key such as \"floatValue\" or \"vectorValue\" was expected");
        return Update{timestamp, name, std::move(*value)};
    }

    const std::string& reason() const { return failureReason; }

private:
    std::optional<Value> decodeValue(std::size_t key, const Element& element) {
        switch (key) {
            case 0: return scalar<double>(element);
            case 1: return scalar<std::int64_t>(element);
            case 2: return scalar<Vector>(element);
            case 3: return scalar<bool>(element);
            case 4: return scalar<Orientation>(element);
            case 5: return scalar<String>(element);
            case 6: {
                auto samples = list<Sample>(element);
                return samples ? std::optional(Value(Sequence(std::move(*samples)))) : std::nullopt;
            }
            case 7: return array<double>(element);
            case 8: return array<std::int64_t>(element);
            case 9: return array<bool>(element);
            case 10: return array<Vector>(element);
            case 11: return array<Orientation>(element);
            default: return array<String>(element);
        }
    }

    template <class T>
    std::optional<Value> scalar(const Element& element) {
        T target{};
        return read(element, target) ? std::optional(Value(std::move(target))) : std::nullopt;
    }

    template <class T>
    std::optional<Value> array(const Element& element) {
        auto items = list<T>(element);
        return items ? std::optional(Value(std::move(*items))) : std::nullopt;
    }

    template <class T>
    std::optional<List<T>> list(const Element& element) {
        simdjson::dom::array array;
        if (element.get_array().get(array) != simdjson::SUCCESS) {
            expected(element, "an array");
            return std::nullopt;
        }
        ListBuilder<T> items(array.size());
        for (const Element item : array) {
            T target{};
            if (!read(item, target)) {
                why = ": element " + std::to_string(items.size()) + why;
                return std::nullopt;
            }
            items.append(target);
        }
        return items.finish();
    }

    bool read(const Element& element, double& target) { return take(asDouble(element), target, element, "a number"); }
    bool read(const Element& element, std::int64_t& target) {
        return take(asInteger(element), target, element, "an integer of 64 bits");
    }
    bool read(const Element& element, bool& target) { return take(asBoolean(element), target, element, "a boolean"); }
    bool read(const Element& element, std::string_view& target) {
        return take(asString(element), target, element, "a string");
    }
    bool read(const Element& element, String& target) {
        std::string_view text;
        if (!read(element, text)) return false;
        target = String(text);
        return true;
    }
    bool read(const Element& element, Vector& v) {
        return readMembers<3>(element, {"x", "y", "z"}, {&v.x, &v.y, &v.z});
    }
    bool read(const Element& element, Orientation& q) {
        return readMembers<4>(element, {"x", "y", "z", "w"}, {&q.x, &q.y, &q.z, &q.w});
    }
    bool read(const Element& element, Sample& sample) {
        return readMembers<2>(element, {"t", "f"}, {&sample.t, &sample.f});
    }

    template <std::size_t count>
    bool readMembers(const Element& element, const std::array<std::string_view, count>& names,
                     const std::array<double*, count>& targets) {
        simdjson::dom::object object;
        if (element.get_object().get(object) != simdjson::SUCCESS) return expected(element, "an object");
        const auto found = members(object, names);
        for (std::size_t i = 0; i < count; ++i) {
            if (!found[i]) {
                why = ": " + quoted(names[i]) + " is missing; a number was expected";
                return false;
            }
            if (!read(*found[i], *targets[i])) {
                why = ": " + quoted(names[i]) + why;
                return false;
            }
        }
        return true;
    }

    template <class T>
    bool take(const std::optional<T>& decoded, T& target, const Element& element, std::string_view wanted) {
        if (!decoded) return expected(element, wanted);
        target = *decoded;
        return true;
    }

    bool expected(const Element& element, std::string_view wanted) {
        why = " is " + std::string(kindOf(element)) + "; " + std::string(wanted) + " was expected";
        return false;
    }

    std::nullopt_t fail(std::string reasonText) {
        failureReason = std::move(reasonText);
        return std::nullopt;
    }

    JsonReader reader;
    std::string failureReason;
    // The end of the reason, behind the name of the key: " is a string; a number was expected".
    std::string why;
};

std::string RecordingFailure::diagnostic() const {
    return "ERROR: invalid JSON at line " + std::to_string(line) + "!";
}

RecordingReader::RecordingReader(Ending textEnding) : decoder(std::make_unique<LineDecoder>()), ending(textEnding) {}
RecordingReader::~RecordingReader() = default;
RecordingReader::RecordingReader(RecordingReader&&) noexcept = default;
RecordingReader& RecordingReader::operator=(RecordingReader&&) noexcept = default;

void RecordingReader::append(std::string_view piece) {
    while (!failed && !finished) {
        const auto lineBreak = piece.find('\n');
        if (lineBreak == std::string_view::npos) {
            unfinishedLine += piece;
            return;
        }
        if (unfinishedLine.empty()) {
            readLine(piece.substr(0, lineBreak));
        } else {
            unfinishedLine += piece.substr(0, lineBreak);
            readLine(unfinishedLine);
            unfinishedLine.clear();
        }
        piece.remove_prefix(lineBreak + 1);
    }
}

void RecordingReader::finish() {
    if (finished) return;
    const bool endsWithLineBreak = lineIndex > 0 && unfinishedLine.empty();
    if (!failed && !(endsWithLineBreak && ending == Ending::lineBreakAllowed)) readLine(unfinishedLine);
    finished = true;
    complete.push_back(std::move(current));
}

void RecordingReader::readLine(std::string_view line) {
    auto update = decoder->decode(line);
    if (!update) {
        failed = RecordingFailure{lineIndex, decoder->reason()};
        return;
    }
    ++lineIndex;
    if (update->timestamp != current.timestamp) {
        complete.push_back(std::exchange(current, KelvaneInput{update->timestamp, {}}));
    }
    current.updates.insert_or_assign(std::string(update->name), std::move(update->value));
}

std::optional<KelvaneInput> RecordingReader::next() {
    if (complete.empty()) return std::nullopt;
    KelvaneInput batch = std::move(complete.front());
    complete.pop_front();
    return batch;
}

std::vector<KelvaneInput> readKelvaneInputs(std::string_view from) {
    RecordingReader reader;
    reader.append(from);
    reader.finish();
    if (reader.failure()) printDiagnostic(reader.failure()->diagnostic());
    std::vector<KelvaneInput> batches;
    while (auto batch = reader.next()) batches.push_back(std::move(*batch));
    return batches;
}

}  // namespace KelvaneSDK
