#include <algorithm>
#include <span>
#include <utility>

#include "KelvaneSDK/FileProcessing/PayloadReader.h"
#include "KelvaneSDK/FileProcessing/RecordingLine.h"
#include "KelvaneSDK/FileProcessing/TextPlace.h"

namespace KelvaneSDK {

namespace {

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

class LineReader::Decoder {
public:
    Decoder(RecordingFailure& failure, bool ofResults)
        : failed(failure), readsResults(ofResults), keyCount(ofResults ? valueKeys.size() : inputKeyCount) {}

    bool read(std::string_view text, bool endsText, InputUpdate& update, Value& value) {
        line = text;
        JsonFailure notJson;
        const auto root = reader.parse(line, notJson);
        if (!root) return failToParse(std::move(notJson.reason), endsText);
        if (decode(*root, update, value)) return true;
        const auto plain = reader.parseWithPlainIntegers(line);
        return plain && decode(*plain, update, value);
    }

private:
    bool decode(const simdjson::dom::element& root, InputUpdate& update, Value& value) {
        simdjson::dom::object object;
        if (root.get_object().get(object) != simdjson::SUCCESS) {
            return fail("the line is " + std::string(kindOf(root)) + "; an object was expected");
        }
        std::array<std::string_view, 2 + valueKeys.size()> names{"timestamp", "name"};
        std::copy(valueKeys.begin(), valueKeys.end(), names.begin() + 2);
        const auto found = members(object, names);

        if (!found[0]) return fail("\"timestamp\" is missing; a number was expected");
        if (!payloads.read(*found[0], update.timestamp)) return failIn(names[0]);
        if (!found[1]) return fail("\"name\" is missing; a string was expected");
        if (!payloads.read(*found[1], update.name)) return failIn(names[1]);
        bool hasValue = false;
        update.hasValue = true;
        for (std::size_t key = 0; key < keyCount; ++key) {
            const auto& element = found[2 + key];
            if (!element) continue;
            const bool isRead = withTypeOfKey(key, [&]<class T>() {
                T payload{};
                if (!payloads.read(*element, payload)) return false;
                if (!std::exchange(hasValue, true)) value = Value(std::move(payload));
                return true;
            });
            if (isRead) continue;
            if (hasValue || !readsResults || !payloads.metNull()) return failIn(valueKeys[key]);
            return hasNone(update, key);
        }
        if (hasValue) return true;
        const auto key = readsResults ? nullKey(object) : keyCount;
        if (key < keyCount) return hasNone(update, key);
        return fail("no value is there: one key such as \"floatValue\" or \"vectorValue\" was expected");
    }

    static bool hasNone(InputUpdate& update, std::size_t key) {
        update.hasValue = false;
        update.type = withTypeOfKey(key, []<class T>() { return PayloadType<T>::value; });
        return true;
    }

    /// The value key that null stands under; the number of keys when there is none.
    std::size_t nullKey(const simdjson::dom::object& object) const {
        for (const auto field : object) {
            const auto key = static_cast<std::size_t>(
                std::find(valueKeys.begin(), valueKeys.end(), field.key) - valueKeys.begin());
            if (key < keyCount && field.value.is_null()) return key;
        }
        return keyCount;
    }

    bool fail(std::string reason, const std::string& pointer = {}) {
        failed = {0, offsetsOf(std::span(&pointer, 1), line).front() + 1, std::move(reason), false};
        return false;
    }

    bool failIn(std::string_view key) {
        return fail("\"" + std::string(key) + "\"" + payloads.why(),
                    "/" + std::string(key) + payloads.where());
    }

    // The parser gives no place in a line that is not JSON.
    bool failToParse(std::string parserReason, bool endsText) {
        const auto fault = isBlank(line) ? std::nullopt : findJsonFault(line, reader.maximumDepth);
        failed = {0, 1, std::move(parserReason), false};
        if (!fault) return false;
        failed.column = fault->offset + 1;
        failed.reason = (fault->tooDeep ? "" : "not JSON: ") + fault->reason;
        failed.isCutOff = endsText && endsWithin(line, fault->offset, reader.maximumDepth);
        return false;
    }

    RecordingFailure& failed;
    const bool readsResults;
    const std::size_t keyCount;
    JsonReader reader;
    PayloadReader payloads;
    std::string_view line;
};

LineReader::LineReader(bool readsResults) : decoder(std::make_unique<Decoder>(failed, readsResults)) {}
LineReader::~LineReader() = default;

bool LineReader::read(std::string_view text, bool endsText, InputUpdate& update, Value& value) {
    return decoder->read(text, endsText, update, value);
}

}  // namespace KelvaneSDK
