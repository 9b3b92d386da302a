#include "Recording.h"

#include <algorithm>
#include <utility>

#include "Conversions/Formats.h"
#include "Interruption.h"
#include "Messages.h"

namespace kelvane {

using namespace KelvaneSDK;

namespace {

/// "1 line was skipped", "2 lines were skipped".
std::string happened(std::size_t count, std::string_view noun, std::string_view what) {
    return counted(count, noun) + (count == 1 ? " was " : " were ") + std::string(what);
}

}  // namespace

Recording::Recording(const std::string& path, InvalidLine invalidLine,
                     std::function<void(const std::string&)> messages, std::optional<double> secondsToWait)
    : Recording(std::make_unique<DataFile>(path), invalidLine, std::move(messages), secondsToWait) {}

Recording::Recording(std::unique_ptr<DataFile> opened, InvalidLine invalidLine,
                     std::function<void(const std::string&)> messages, std::optional<double> secondsToWait)
    : file(std::move(opened)),
      reportSkipped(std::move(messages)),
      liveWait(secondsToWait),
      piece(pieceSize),
      reader({.ending = RecordingOptions::Ending::lineBreakAllowed,
              .lines = RecordingOptions::Lines::results,
              .skipped = invalidLine == InvalidLine::isSkipped
                             ? [this](const RecordingFailure& line) { skip(line); }
                             : std::function<void(const RecordingFailure&)>(),
              .emptyLineEndsBatch = secondsToWait.has_value(),
              .longestLine = longestLine}) {}

bool Recording::readPiece() {
    if (hasEnded) return false;
    if (liveWait && mayEndBatch && !file->awaitInput(*liveWait)) {
        mayEndBatch = false;
        reader.endBatch();
        return true;
    }
    const auto text = file->read(piece);
    if (interrupted()) return false;
    if (text.empty()) {
        hasEnded = isAtEnd = true;
        reader.finish();
    } else {
        isEmpty = false;
        mayEndBatch = true;
        lastByte = text.back();
        reader.append(text);
    }
    return true;
}

bool Recording::next(KelvaneInput& batch) {
    const bool isComplete = reader.next(batch);
    if (reader.failure()) hasEnded = true;
    return isComplete;
}

const RecordedUpdate* Recording::nextUpdate() {
    const auto* const update = reader.nextUpdate();
    if (reader.failure()) hasEnded = true;
    return update;
}

void Recording::skip(const RecordingFailure& line) {
    // A line that damage cuts off is no line of its own.
    if (isEmpty || !file->damage().empty()) return;
    if (++skippedLines <= mostReported) reportSkipped(textOf(line));
}

std::string Recording::failure() {
    const auto skipped =
        happened(skippedLines, "invalid line", "skipped") +
        (skippedLines > mostReported ? "; the first " + std::to_string(mostReported) + " are reported above"
                                     : "");
    if (!file->damage().empty()) return file->damage() + (skippedLines > 0 ? "; " + skipped : "");
    if (skippedLines > 0) return file->name() + ": " + skipped;
    // No byte at all is a recording without lines, such as a run without results leaves.
    if (!reader.failure() || isEmpty) return {};
    return textOf(*reader.failure()) + unreadLines();
}

std::string Recording::textOf(const RecordingFailure& line) const {
    const auto* const format = line.line == 0 ? formatOfName(file->name()) : nullptr;
    const bool isOther = format != nullptr && format->open != openRecording;
    return file->name() + ":" + std::to_string(line.line + 1) + ":" + std::to_string(line.column) + ": " +
           (line.isCutOff ? "the recording ends within this line" : printable(line.reason)) +
           (isOther ? "; `kelvane convert` makes a recording of such a file" : "");
}

std::string Recording::unreadLines() {
    if (isAtEnd) return {};
    constexpr auto unknown = "; the rest was not read";
    // A pipe may go on for ever.
    if (!file->isRegular()) return unknown;
    auto rest = reader.unread();
    const std::size_t isWithinLine = rest.empty() && lastByte != '\n';
    std::size_t lines = 0;
    try {
        do {
            lines += static_cast<std::size_t>(std::count(rest.begin(), rest.end(), '\n'));
            rest = file->read(piece);
            if (!rest.empty()) lastByte = rest.back();
        } while (!rest.empty());
    } catch (const Failure&) {
        return unknown;
    }
    if (interrupted()) return unknown;
    lines = lines + (lastByte != '\n') - isWithinLine;
    return lines == 0 ? "" : "; " + happened(lines, "more line", "not read");
}

}  // namespace kelvane
