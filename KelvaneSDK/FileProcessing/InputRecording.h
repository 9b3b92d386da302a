#pragma once

#include <cstddef>
#include <deque>
#include <functional>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "KelvaneSDK/Kelvane/KelvaneRecords.h"

namespace KelvaneSDK {

/// Why a line of a recording could not be read.
struct RecordingFailure {
    /// The line's index, from 0.
    std::size_t line = 0;
    /// Where it goes wrong: the byte in the line, from 1.
    std::size_t column = 1;
    /// What was expected and found.
    std::string reason;
    /// The line is the last one and right as far as it goes: the text ends within its object.
    bool isCutOff = false;

    /// The library's own line for it: "ERROR: invalid JSON at line <index>!", or "ERROR: out of memory!".
    std::string diagnostic() const;
};

/// Reads a recording of input batches from pieces of text as they arrive, in memory that does not grow with
/// the recording. A recording has one JSON object a line, each one update of one stream:
///
///     {"timestamp":12.3,"name":"accelerometer","vectorValue":{"x":0.1,"y":0,"z":9.8}}
///
/// Neighbouring lines of one timestamp make a batch; a later line of the same name replaces the earlier one.
/// The first batch is at time 0.0, empty unless the recording begins there. Reading ends at the first line
/// that is not such an object, or for which there is no memory; the batches before it, its own unfinished one
/// included, stay valid. A reader that is given a receiver for such lines skips them instead, as if they were
/// not there.
class RecordingReader {
public:
    /// What may stand at the end of the text.
    enum class Ending {
        exact,             ///< the text ends with its last line; a line break there is an invalid, empty line
        lineBreakAllowed,  ///< one line break after the last line is no line
    };

    /// Takes an invalid line, within the append() or finish() that brings it: an application that appends a
    /// line at a time and takes the batches after each has both in the recording's order.
    using InvalidLineReceiver = std::function<void(const RecordingFailure&)>;

    static constexpr std::size_t unlimited = std::numeric_limits<std::size_t>::max();

    /// `skipped` takes the invalid lines; without it, the first one ends the reading. A line of more than
    /// `longestLine` bytes is invalid, and no more than these are held.
    explicit RecordingReader(Ending ending = Ending::exact, InvalidLineReceiver skipped = {},
                             std::size_t longestLine = unlimited);
    ~RecordingReader();
    RecordingReader(RecordingReader&&) noexcept;
    RecordingReader& operator=(RecordingReader&&) noexcept;

    /// Takes the next piece of the text, cut anywhere.
    void append(std::string_view piece);
    /// Takes the end of the text.
    void finish();
    /// The next complete batch, or absent when more text is needed or all has been read.
    std::optional<KelvaneInput> next();
    /// The line that ended the reading, if one did.
    const std::optional<RecordingFailure>& failure() const { return failed; }

private:
    class LineDecoder;

    void read(std::string_view piece);
    void readLine(std::string_view line);
    void refuse(RecordingFailure failure);

    std::unique_ptr<LineDecoder> decoder;
    Ending ending;
    InvalidLineReceiver receiver;
    std::size_t maximumLength;
    bool finished = false;
    bool isExhausted = false;
    std::string unfinishedLine;
    bool isLineRefused = false;
    std::size_t lineIndex = 0;
    KelvaneInput current;
    std::deque<KelvaneInput> complete;
    std::optional<RecordingFailure> failed;
};

/// Reads a whole recording. An invalid line prints "ERROR: invalid JSON at line <index>!" (counted from 0)
/// and ends the reading, and so does memory that runs out; what stands before is returned. Any thread.
std::vector<KelvaneInput> readKelvaneInputs(std::string_view from);

/// Writes batches as a recording, one line per update, labels in ascending byte order, without a line break
/// at the end. A sequence is written only when it is given as a list of sample records; values without a key
/// (sequences of the engine, sequence arrays) give a line with "timestamp" and "name" alone. Empty, with an
/// ERROR line, when memory ran out. Any thread.
std::string createJsonLines(const std::vector<KelvaneInput>& from);

/// Appends a batch's results as lines of a recording, each with its line break. Besides the keys of
/// recordings, sequences are written under "sequenceValue" and sequence arrays under "sequenceArrayValue".
/// False, with an ERROR line and the text unchanged, when memory ran out. Any thread.
bool appendJsonLines(std::string& text, const KelvaneOutput& output);

}  // namespace KelvaneSDK
