#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "KelvaneSDK/Kelvane/LabelledValues.h"

namespace [[gnu::visibility("default")]] KelvaneSDK {

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

/// What a recording holds and its batches do not.
struct RecordingLosses {
    /// Updates that a later one of the same name and time replaced; the first such name, and its time in
    /// seconds.
    std::uint64_t replaced = 0;
    std::string firstReplacedName;
    double firstReplacedTime = 0;
    /// Updates without a value, as RecordingOptions::Lines::results allows them; the same of the first one.
    std::uint64_t withoutValue = 0;
    std::string firstNameWithoutValue;
    double firstTimeWithoutValue = 0;
};

/// One line of a recording: an update of a stream.
struct RecordedUpdate {
    /// The line's index, from 0.
    std::size_t line = 0;
    /// In seconds.
    double timestamp = 0;
    /// The stream's label. Lives as long as the value.
    std::string_view name;
    ValueType type = ValueType::Float;
    /// Null when the line gives no value: null stands for it, or for a number in it.
    const Value* value = nullptr;
};

/// How a recording is read. By default as strictly as the format says; a tool that reads what people have
/// edited by hand allows more:
///
///     RecordingReader reader({.ending = RecordingOptions::Ending::lineBreakAllowed,
///                             .skipped = [&](const RecordingFailure& failure) { report(failure); }});
struct RecordingOptions {
    /// What may stand at the end of the text.
    enum class Ending {
        exact,             ///< the text ends with its last line; a line break there is an invalid, empty line
        lineBreakAllowed,  ///< one line break after the last line is no line
    };
    /// Which lines are valid.
    enum class Lines {
        inputs,  ///< those that createJsonLines() writes; a line whose only value is null is invalid
        /// also what appendJsonLines() writes: sequence arrays, and null where there is no number; batches
        /// are as if an update without a value were not there
        results,
    };

    Ending ending = Ending::exact;
    Lines lines = Lines::inputs;
    /// Takes the invalid lines, which are skipped as if they were not there; without it, the first one ends
    /// the reading. It is called within the next() that passes over the line, so that they come in the
    /// recording's order.
    std::function<void(const RecordingFailure&)> skipped = {};
    /// An empty line is no invalid one but ends its batch, for live feeds: endBatch() within the text.
    bool emptyLineEndsBatch = false;
    /// A longer line is invalid, and no more bytes than these are held.
    std::size_t longestLine = std::numeric_limits<std::size_t>::max();
};

/// Reads a recording of input batches from pieces of text as they arrive, in memory that does not grow with
/// the recording. A recording has one JSON object a line, each one update of one stream:
///
///     {"timestamp":12.3,"name":"accelerometer","vectorValue":{"x":0.1,"y":0,"z":9.8}}
///
/// Neighbouring lines of one timestamp make a batch; a later line of the same name replaces the earlier one.
/// The first batch is at time 0.0, empty unless the recording begins there. Reading ends at the first line
/// that is not such an object, or for which there is no memory; the batches before it, its own unfinished one
/// included, stay valid. RecordingOptions say what is done with such lines otherwise.
///
///     while (!(piece = receive()).empty()) {
///         reader.append(piece);
///         while (const KelvaneInput* batch = reader.next()) engine.updateInputStreams(*batch);
///     }
///     reader.finish();
///     while (const KelvaneInput* batch = reader.next()) engine.updateInputStreams(*batch);
class RecordingReader {
public:
    /// At the beginning of a recording.
    explicit RecordingReader(RecordingOptions options = {});
    ~RecordingReader();
    /// What was moved from may only be assigned to or destroyed.
    RecordingReader(RecordingReader&&) noexcept;
    RecordingReader& operator=(RecordingReader&&) noexcept;

    /// Takes the next piece of the text, cut anywhere. It is read in place, so it must stay as it is until
    /// next() returns null or another piece comes; what has not been read of it by then is copied.
    void append(std::string_view piece);
    /// Takes the end of the text.
    void finish();
    /// Ends the batch in progress, if it has an update, with what has been appended: next() hands it over
    /// although updates of the same time may follow, which make another batch.
    void endBatch();
    /// The next complete batch, which lives until the next call; null when more text is needed or all has
    /// been read. A copy shares the stream names with the reader and all other batches.
    const KelvaneInput* next();
    /// The same into a batch of the caller's, whose space is used again; false when there is none yet.
    bool next(KelvaneInput& batch);
    /// The next update, line by line, instead of batches; lives until the next call. Null as next().
    const RecordedUpdate* nextUpdate();
    /// The line that ended the reading, if one did.
    const std::optional<RecordingFailure>& failure() const;
    /// What was lost so far.
    const RecordingLosses& losses() const;
    /// What comes after the line that ended the reading in the piece that it stands in.
    std::string_view unread() const;

private:
    class State;

    std::unique_ptr<State> state;
};

/// Reads a whole recording, which fits in memory, at once: for files of an application's own. An invalid line
/// prints "ERROR: invalid JSON at line <index>!" (counted from 0) and ends the reading, and so does memory
/// that runs out; what stands before is returned. Any thread.
///
///     for (const auto& batch : readKelvaneInputs(text)) engine.updateInputStreams(batch);
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
