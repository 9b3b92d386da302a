#include "KelvaneSDK/FileProcessing/InputRecording.h"

#include <algorithm>
#include <utility>

#include "KelvaneSDK/Diagnostics.h"
#include "KelvaneSDK/FileProcessing/RecordingBatch.h"
#include "KelvaneSDK/FileProcessing/RecordingLine.h"
#include "KelvaneSDK/Kelvane/MemoryGuard.h"

namespace KelvaneSDK {

std::string RecordingFailure::diagnostic() const {
    if (reason == outOfMemoryReason) return std::string(outOfMemoryLine);
    return "ERROR: invalid JSON at line " + std::to_string(line) + "!";
}

class RecordingReader::State {
public:
    explicit State(RecordingOptions chosen)
        : options(std::move(chosen)), reader(options.lines == RecordingOptions::Lines::results) {}

    void append(std::string_view text) {
        if (!withinMemory([&] { return add(text), true; })) failOutOfMemory();
    }
    void finish() { isFinished = true; }
    void endBatch() { endsBatch = true; }

    bool next(KelvaneInput& batch) {
        bool isComplete = false;
        while (!withinMemory([&] { return read(batch, isComplete), true; })) {
            // What was read before may still be handed over.
            if (failed) break;
            failOutOfMemory();
            if (isComplete) break;
        }
        return isComplete;
    }

    const RecordedUpdate* nextUpdate() {
        bool isThere = false;
        if (!withinMemory([&] { return isThere = readUpdate(), true; }) && !failed) failOutOfMemory();
        if (!isThere) return nullptr;
        lentUpdate = recorded();
        return &lentUpdate;
    }

    std::optional<RecordingFailure> failed;
    /// What has not been read of the last piece.
    std::string_view piece;
    /// The batch that is lent.
    KelvaneInput lent;
    RecordingLosses losses;

private:
    void noteReplaced() {
        if (losses.replaced++ > 0) return;
        losses.firstReplacedTime = update.timestamp;
        losses.firstReplacedName = update.name;
    }
    void noteWithoutValue() {
        if (losses.withoutValue++ > 0) return;
        losses.firstTimeWithoutValue = update.timestamp;
        losses.firstNameWithoutValue = update.name;
    }
    void failOutOfMemory() { failed = {lineIndex, 1, outOfMemoryReason, false}; }

    void add(std::string_view text) {
        if (failed || isFinished) return;
        if (piece.empty()) {
            piece = text;
            isKept = false;
            return;
        }
        if (!std::exchange(isKept, true)) kept = piece;
        auto used = kept.size() - piece.size();
        if (used > piece.size()) kept.erase(0, std::exchange(used, 0));
        kept += text;
        piece = std::string_view(kept).substr(used);
    }

    // In this order, no batch is lost or begun when memory runs out.
    void read(KelvaneInput& batch, bool& isComplete) {
        bool isEnding = false;
        do {
            readLines(batch, isComplete);
            if (isComplete) return;
            isEnding = std::exchange(endsBatch, false);
        } while (isEnding && collected.isEmpty() && !failed && !isRead);
        if (!isBegun || !(failed || isRead || isEnding)) return;
        collected.moveTo(batch);
        isComplete = true;
        isBegun = false;
    }

    void readLines(KelvaneInput& batch, bool& isComplete) {
        while (!failed && readUpdate()) {
            if (!update.hasValue) {
                noteWithoutValue();
                continue;
            }
            if (update.timestamp != collected.timestamp()) {
                if (isBegun) {
                    collected.moveTo(batch);
                    isComplete = true;
                    isBegun = false;
                }
                collected.begin(update.timestamp);
            }
            if (!collected.takeSpare(update.name)) noteReplaced();
            isBegun = true;
            if (isComplete) return;
        }
    }

    RecordedUpdate recorded() {
        auto& value = collected.spare();
        return {lineIndex, update.timestamp, update.name, update.hasValue ? value.type() : update.type,
                update.hasValue ? &value : nullptr};
    }

    // Reads the next valid line; false when there is none.
    bool readUpdate() {
        while (!failed) {
            if (std::exchange(isLineDone, false)) {
                ++lineIndex;
                unfinishedLine.clear();
            }
            if (unfinishedLine.empty() && !isLineRefused) {
                const auto length = quickReader.read(piece, update, collected.spare());
                isLineDone = length > 0 && length < piece.size() && piece[length] == '\n' &&
                             length <= options.longestLine;
                if (isLineDone) {
                    update.hasValue = true;
                    piece.remove_prefix(length + 1);
                    return true;
                }
            }
            const auto line = nextLine();
            if (!line) return false;
            isLineDone = true;
            if (options.emptyLineEndsBatch && (line->empty() || *line == "\r")) {
                endsBatch = true;
                return false;
            }
            if (reader.read(*line, isRead, update, collected.spare())) return true;
            auto failure = reader.failure();
            failure.line = lineIndex;
            refuse(std::move(failure));
        }
        return false;
    }

    // The next whole line; absent when there is none.
    std::optional<std::string_view> nextLine() {
        const auto maximumLength = options.longestLine;
        while (!failed && !isRead) {
            const auto lineBreak = piece.find('\n');
            const auto part = piece.substr(0, lineBreak);
            piece.remove_prefix(std::min(part.size() + 1, piece.size()));
            if (!isLineRefused && part.size() > maximumLength - unfinishedLine.size()) {
                isLineRefused = true;
                unfinishedLine.clear();
                refuse({lineIndex, maximumLength + 1,
                        "the line is longer than the limit of " + std::to_string(maximumLength) + " bytes",
                        false});
            } else if (!isLineRefused && (lineBreak == std::string_view::npos || !unfinishedLine.empty())) {
                unfinishedLine += part;
            }
            if (lineBreak == std::string_view::npos) {
                if (!isFinished) return std::nullopt;
                isRead = true;
                const bool endsWithLineBreak = lineIndex > 0 && unfinishedLine.empty();
                if (isLineRefused ||
                    (endsWithLineBreak && options.ending == RecordingOptions::Ending::lineBreakAllowed))
                    return std::nullopt;
                return unfinishedLine;
            }
            if (!std::exchange(isLineRefused, false)) return unfinishedLine.empty() ? part : unfinishedLine;
            ++lineIndex;
        }
        return std::nullopt;
    }

    void refuse(RecordingFailure failure) {
        if (options.skipped) return options.skipped(failure);
        failed = std::move(failure);
    }

    const RecordingOptions options;
    QuickLineReader quickReader;
    LineReader reader;
    std::string kept;  // what had not been read of earlier pieces when others came
    bool isKept = false;
    std::string unfinishedLine;
    bool isLineRefused = false, isLineDone = false;
    bool isFinished = false, isRead = false, endsBatch = false;
    std::size_t lineIndex = 0;
    InputUpdate update;
    RecordingBatch collected;
    bool isBegun = true;
    RecordedUpdate lentUpdate;
};

RecordingReader::RecordingReader(RecordingOptions options)
    : state(std::make_unique<State>(std::move(options))) {}
RecordingReader::~RecordingReader() = default;
RecordingReader::RecordingReader(RecordingReader&&) noexcept = default;
RecordingReader& RecordingReader::operator=(RecordingReader&&) noexcept = default;

void RecordingReader::append(std::string_view piece) { state->append(piece); }
void RecordingReader::finish() { state->finish(); }
void RecordingReader::endBatch() { state->endBatch(); }
const KelvaneInput* RecordingReader::next() { return next(state->lent) ? &state->lent : nullptr; }
bool RecordingReader::next(KelvaneInput& batch) { return state->next(batch); }
const RecordedUpdate* RecordingReader::nextUpdate() { return state->nextUpdate(); }
const std::optional<RecordingFailure>& RecordingReader::failure() const { return state->failed; }
const RecordingLosses& RecordingReader::losses() const { return state->losses; }
std::string_view RecordingReader::unread() const { return state->piece; }

std::vector<KelvaneInput> readKelvaneInputs(std::string_view from) {
    std::vector<KelvaneInput> batches;
    withinMemoryOrError([&] {
        RecordingReader reader;
        reader.append(from);
        reader.finish();
        while (const auto* batch = reader.next()) batches.push_back(*batch);
        if (reader.failure()) printDiagnostic(reader.failure()->diagnostic());
        return true;
    });
    return batches;
}

}  // namespace KelvaneSDK
