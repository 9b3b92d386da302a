#pragma once

// Internal: reads single lines of recordings.

#include <array>
#include <cstddef>
#include <memory>
#include <string_view>

#include "KelvaneSDK/FileProcessing/InputRecording.h"
#include "KelvaneSDK/Value.h"

namespace KelvaneSDK {

/// The value keys of a line, in the order in which the first present one wins. The last one is a key of
/// results only.
inline constexpr std::array<std::string_view, 14> valueKeys{
    "floatValue",       "integerValue",          "vectorValue",      "booleanValue",      "orientationValue",
    "stringValue",      "sequenceValue",         "floatArrayValue",  "integerArrayValue", "booleanArrayValue",
    "vectorArrayValue", "orientationArrayValue", "stringArrayValue", "sequenceArrayValue"};
inline constexpr std::size_t inputKeyCount = valueKeys.size() - 1;

/// Calls the function with the payload type of a value key as its template argument.
template <class Function>
auto withTypeOfKey(std::size_t key, Function function) {
    switch (key) {
        case 0:
            return function.template operator()<double>();
        case 1:
            return function.template operator()<std::int64_t>();
        case 2:
            return function.template operator()<Vector>();
        case 3:
            return function.template operator()<bool>();
        case 4:
            return function.template operator()<Orientation>();
        case 5:
            return function.template operator()<String>();
        case 6:
            return function.template operator()<Sequence>();
        case 7:
            return function.template operator()<List<double>>();
        case 8:
            return function.template operator()<List<std::int64_t>>();
        case 9:
            return function.template operator()<List<bool>>();
        case 10:
            return function.template operator()<List<Vector>>();
        case 11:
            return function.template operator()<List<Orientation>>();
        case 12:
            return function.template operator()<List<String>>();
        default:
            return function.template operator()<List<Sequence>>();
    }
}

/// What a line says beside its value. The name lives as long as the line, and no longer than the reader's
/// next call.
struct InputUpdate {
    double timestamp = 0;
    std::string_view name;
    bool hasValue = true;
    /// The type of the value that is missing.
    ValueType type = ValueType::Float;
};

/// Reads the lines that recorders commonly write, strictly and in place: an object of the known keys, each
/// once, exactly one of them with a value, and no escapes in its texts. What it leaves, LineReader decides;
/// what it reads, LineReader would read to the same bits.
class QuickLineReader {
public:
    /// Reads an object at the beginning of `text` and the blanks around it; how many bytes they take, or 0.
    /// After a failure, update and value hold anything.
    std::size_t read(std::string_view text, InputUpdate& update, Value& value);

private:
    void keepOpening(std::string_view line, std::size_t length, double timestamp);

    // How the last line began, up to the comma after its timestamp: lines come in batches.
    std::array<char, 48> opening{};
    std::size_t openingLength = 0;
    double openingTimestamp = 0;
};

/// Reads any line, and finds what is wrong with it.
class LineReader {
public:
    /// `readsResults`: the lines may be those of results, too.
    explicit LineReader(bool readsResults = false);
    ~LineReader();

    /// False with failure() saying why. `endsText`: the line has no line break, it is the text's last one.
    bool read(std::string_view text, bool endsText, InputUpdate& update, Value& value);

    /// What was wrong with the line that read() refused just now, but for its index.
    const RecordingFailure& failure() const { return failed; }

private:
    // Has the parser, a third-party type.
    class Decoder;

    std::unique_ptr<Decoder> decoder;
    RecordingFailure failed;
};

}  // namespace KelvaneSDK
