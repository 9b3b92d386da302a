#include "KelvaneSDK/FileProcessing/InputRecording.h"

#include <array>
#include <utility>

#include "KelvaneSDK/Diagnostics.h"
#include "KelvaneSDK/FileProcessing/PayloadReader.h"

namespace KelvaneSDK {

namespace {

using Element = simdjson::dom::element;

// The value keys in the order in which the first present one wins.
constexpr std::array<std::string_view, 13> valueKeys{
    "floatValue",       "integerValue",          "vectorValue",     "booleanValue",      "orientationValue",
    "stringValue",      "sequenceValue",         "floatArrayValue", "integerArrayValue", "booleanArrayValue",
    "vectorArrayValue", "orientationArrayValue", "stringArrayValue"};

std::string quoted(std::string_view name) { return "\"" + std::string(name) + "\""; }

}  // namespace

/// Decodes one line at a time; keeps the parser's buffers.
class RecordingReader::LineDecoder {
public:
    struct InputValue {
        double timestamp;
        std::string_view name;
        Value value;
    };

    /// The line's update, or absent with reason() telling why. The name lives until the next call.
    std::optional<InputValue> decode(std::string_view line) {
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
        if (!payloads.read(*found[0], timestamp)) return fail(quoted(names[0]) + payloads.why());
        if (!found[1]) return fail("\"name\" is missing; a string was expected");
        if (!payloads.read(*found[1], name)) return fail(quoted(names[1]) + payloads.why());
        std::optional<Value> value;
        for (std::size_t key = 0; key < valueKeys.size(); ++key) {
            if (!found[2 + key]) continue;
            auto present = decodeValue(key, *found[2 + key]);
            if (!present) return fail(quoted(valueKeys[key]) + payloads.why());
            if (!value) value = std::move(present);
        }
        if (!value)
            return fail("no value is there: one key such as \"floatValue\" or \"vectorValue\" was expected");
        return InputValue{timestamp, name, std::move(*value)};
    }

    const std::string& reason() const { return failureReason; }

private:
    std::optional<Value> decodeValue(std::size_t key, const Element& element) {
        switch (key) {
            case 0:
                return decoded<double>(element);
            case 1:
                return decoded<std::int64_t>(element);
            case 2:
                return decoded<Vector>(element);
            case 3:
                return decoded<bool>(element);
            case 4:
                return decoded<Orientation>(element);
            case 5:
                return decoded<String>(element);
            case 6:
                return decoded<Sequence>(element);
            case 7:
                return decoded<List<double>>(element);
            case 8:
                return decoded<List<std::int64_t>>(element);
            case 9:
                return decoded<List<bool>>(element);
            case 10:
                return decoded<List<Vector>>(element);
            case 11:
                return decoded<List<Orientation>>(element);
            default:
                return decoded<List<String>>(element);
        }
    }

    template <class T>
    std::optional<Value> decoded(const Element& element) {
        T target{};
        return payloads.read(element, target) ? std::optional(Value(std::move(target))) : std::nullopt;
    }

    std::nullopt_t fail(std::string reasonText) {
        failureReason = std::move(reasonText);
        return std::nullopt;
    }

    JsonReader reader;
    PayloadReader payloads;
    std::string failureReason;
};

std::string RecordingFailure::diagnostic() const {
    return "ERROR: invalid JSON at line " + std::to_string(line) + "!";
}

RecordingReader::RecordingReader(Ending textEnding)
    : decoder(std::make_unique<LineDecoder>()), ending(textEnding) {}
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
