#include "KelvaneSDK/FileProcessing/InputRecording.h"

#include <array>
#include <utility>

#include "KelvaneSDK/Diagnostics.h"
#include "KelvaneSDK/FileProcessing/PayloadReader.h"
#include "KelvaneSDK/FileProcessing/TextPlace.h"
#include "KelvaneSDK/MemoryGuard.h"

namespace KelvaneSDK {

namespace {

using Element = simdjson::dom::element;

// The value keys in the order in which the first present one wins.
constexpr std::array<std::string_view, 13> valueKeys{
    "floatValue",       "integerValue",          "vectorValue",     "booleanValue",      "orientationValue",
    "stringValue",      "sequenceValue",         "floatArrayValue", "integerArrayValue", "booleanArrayValue",
    "vectorArrayValue", "orientationArrayValue", "stringArrayValue"};

std::string quoted(std::string_view name) { return "\"" + std::string(name) + "\""; }

bool isBlank(std::string_view line) { return line.find_first_not_of(" \t\r") == std::string_view::npos; }

/// Whether a line's first fault is nothing but the line's end: a value, or a word, an escape or a character
/// in it, would go on.
bool endsWithin(std::string_view line, std::size_t fault, std::size_t maximumDepth) {
    if (fault == line.size()) return true;
    constexpr std::size_t longestCut = 5;
    if (line.size() - fault > longestCut) return false;
    for (const std::string_view rest :
         {"rue", "ue", "e", "alse", "lse", "se", "ull", "ll", "l", "n", "0", "00", "000", "0000", "\x80",
          "\x80\x80", "\x80\x80\x80", "\xA0\x80", "\x90\x80\x80"}) {
        const auto next = findJsonFault(std::string(line).append(rest), maximumDepth);
        if (!next || next->offset > line.size()) return true;
    }
    return false;
}

}  // namespace

/// Decodes one line at a time; keeps the parser's buffers.
class RecordingReader::LineDecoder {
public:
    struct InputValue {
        double timestamp;
        std::string_view name;
        Value value;
    };

    /// The line's update, or absent with failure() telling why. The name lives until the next call.
    /// `endsText`: the line has no line break, it is the text's last one.
    std::optional<InputValue> decode(std::string_view text, bool endsText) {
        line = text;
        JsonFailure notJson;
        const auto root = reader.parse(line, notJson);
        if (!root) return failToParse(std::move(notJson.reason), endsText);
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
        if (!payloads.read(*found[0], timestamp)) return failIn(names[0]);
        if (!found[1]) return fail("\"name\" is missing; a string was expected");
        if (!payloads.read(*found[1], name)) return failIn(names[1]);
        std::optional<Value> value;
        for (std::size_t key = 0; key < valueKeys.size(); ++key) {
            if (!found[2 + key]) continue;
            auto present = decodeValue(key, *found[2 + key]);
            if (!present) return failIn(valueKeys[key]);
            if (!value) value = std::move(present);
        }
        if (!value)
            return fail("no value is there: one key such as \"floatValue\" or \"vectorValue\" was expected");
        return InputValue{timestamp, name, std::move(*value)};
    }

    /// What was wrong with the line that decode() refused just now, but for its index.
    const RecordingFailure& failure() const { return failed; }

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

    std::nullopt_t fail(std::string reason, const std::string& culprit = {}) {
        failed = {0, offsetsOf(std::span(&culprit, 1), line).front() + 1, std::move(reason), false};
        return std::nullopt;
    }

    std::nullopt_t failIn(std::string_view key) {
        return fail(quoted(key) + payloads.why(), "/" + std::string(key) + payloads.where());
    }

    // The parser tells no place in a line that is not JSON.
    std::nullopt_t failToParse(std::string parserReason, bool endsText) {
        const auto fault = isBlank(line) ? std::nullopt : findJsonFault(line, reader.maximumDepth);
        failed = {0, 1, std::move(parserReason), false};
        if (!fault) return std::nullopt;
        failed.column = fault->offset + 1;
        failed.reason = (fault->tooDeep ? "" : "not JSON: ") + fault->reason;
        failed.isCutOff = endsText && endsWithin(line, fault->offset, reader.maximumDepth);
        return std::nullopt;
    }

    JsonReader reader;
    PayloadReader payloads;
    std::string_view line;
    RecordingFailure failed;
};

std::string RecordingFailure::diagnostic() const {
    if (reason == outOfMemoryReason) return std::string(outOfMemoryLine);
    return "ERROR: invalid JSON at line " + std::to_string(line) + "!";
}

RecordingReader::RecordingReader(Ending textEnding, InvalidLineReceiver skipped, std::size_t longestLine)
    : decoder(std::make_unique<LineDecoder>()),
      ending(textEnding),
      receiver(std::move(skipped)),
      maximumLength(longestLine) {}
RecordingReader::~RecordingReader() = default;
RecordingReader::RecordingReader(RecordingReader&&) noexcept = default;
RecordingReader& RecordingReader::operator=(RecordingReader&&) noexcept = default;

void RecordingReader::append(std::string_view piece) {
    if (!withinMemory([&] { return read(piece), true; })) failed = {lineIndex, 1, outOfMemoryReason, false};
}

void RecordingReader::read(std::string_view piece) {
    while (!failed && !finished) {
        const auto lineBreak = piece.find('\n');
        const auto part = piece.substr(0, lineBreak);
        if (!isLineRefused && part.size() > maximumLength - unfinishedLine.size()) {
            isLineRefused = true;
            unfinishedLine.clear();
            refuse({lineIndex, maximumLength + 1,
                    "the line is longer than the limit of " + std::to_string(maximumLength) + " bytes",
                    false});
        }
        if (lineBreak == std::string_view::npos) {
            if (!isLineRefused) unfinishedLine += part;
            return;
        }
        if (isLineRefused) {
            isLineRefused = false;
        } else if (unfinishedLine.empty()) {
            readLine(part);
        } else {
            unfinishedLine += part;
            readLine(unfinishedLine);
            unfinishedLine.clear();
        }
        ++lineIndex;
        piece.remove_prefix(lineBreak + 1);
    }
}

void RecordingReader::finish() {
    if (finished) return;
    finished = true;
    const bool endsWithLineBreak = lineIndex > 0 && unfinishedLine.empty();
    const bool isLineOver = isLineRefused || (endsWithLineBreak && ending == Ending::lineBreakAllowed);
    if (failed || isLineOver) return;
    if (!withinMemory([&] { return readLine(unfinishedLine), true; })) {
        failed = {lineIndex, 1, outOfMemoryReason, false};
    }
}

void RecordingReader::readLine(std::string_view line) {
    auto update = decoder->decode(line, finished);
    if (!update) {
        auto failure = decoder->failure();
        failure.line = lineIndex;
        return refuse(std::move(failure));
    }
    std::string name(update->name);
    if (update->timestamp == current.timestamp) {
        current.updates.insert_or_assign(std::move(name), std::move(update->value));
        return;
    }
    // In this order, no batch is lost or begun when memory runs out.
    KelvaneInput next{update->timestamp, {}};
    next.updates.emplace(std::move(name), std::move(update->value));
    complete.push_back(std::move(current));
    current = std::move(next);
}

void RecordingReader::refuse(RecordingFailure failure) {
    if (receiver) return receiver(failure);
    failed = std::move(failure);
}

std::optional<KelvaneInput> RecordingReader::next() {
    if (complete.empty()) {
        if (!finished || std::exchange(isExhausted, true)) return std::nullopt;
        return std::move(current);
    }
    KelvaneInput batch = std::move(complete.front());
    complete.pop_front();
    return batch;
}

std::vector<KelvaneInput> readKelvaneInputs(std::string_view from) {
    std::vector<KelvaneInput> batches;
    withinMemoryOrError([&] {
        RecordingReader reader;
        reader.append(from);
        reader.finish();
        while (auto batch = reader.next()) batches.push_back(std::move(*batch));
        if (reader.failure()) printDiagnostic(reader.failure()->diagnostic());
        return true;
    });
    return batches;
}

}  // namespace KelvaneSDK
