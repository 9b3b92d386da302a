#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "DataFile.h"
#include "KelvaneSDK/FileProcessing/InputRecording.h"
#include "Messages.h"

namespace kelvane {

/// A recording that is read piece by piece from a file or a pipe, compressed or not. An invalid line ends it,
/// or is reported and skipped. What `kelvane run` writes is a recording.
class Recording {
public:
    enum class InvalidLine { ends, isSkipped };

    /// `messages` takes the reports of the lines that are skipped. With `secondsToWait`, the recording is
    /// live: a batch ends when nothing more arrives within this time, and at an empty line.
    explicit Recording(const std::string& path, InvalidLine invalidLine = InvalidLine::ends,
                       std::function<void(const std::string&)> messages = report,
                       std::optional<double> secondsToWait = {});
    /// Of a file that has been opened.
    explicit Recording(std::unique_ptr<DataFile> opened, InvalidLine invalidLine = InvalidLine::ends,
                       std::function<void(const std::string&)> messages = report,
                       std::optional<double> secondsToWait = {});

    /// Reads what is there now; next() then gives the batches that it completes, or nextUpdate() the updates.
    /// False after the end, after an invalid line and after an interruption.
    bool readPiece();
    bool next(KelvaneSDK::KelvaneInput& batch);
    const KelvaneSDK::RecordedUpdate* nextUpdate();

    /// What is wrong in the line that ended the reading, with file, line, column and how many lines were not
    /// read, or how many lines were skipped, or what is wrong with the file; empty when all has been read.
    std::string failure();
    const KelvaneSDK::RecordingLosses& losses() const { return reader.losses(); }
    const std::string& name() const { return file->name(); }
    /// As InputFile::share().
    double share() const { return file->share(); }

private:
    static constexpr std::size_t pieceSize = 256 * 1024;
    // Beyond this the text is no recording, and holding more of it would fill the memory.
    static constexpr std::size_t longestLine = 64 * 1024 * 1024;
    // More lines than these say nothing more, and would fill a disk.
    static constexpr std::size_t mostReported = 100;

    void skip(const KelvaneSDK::RecordingFailure& line);
    std::string textOf(const KelvaneSDK::RecordingFailure& line) const;
    std::string unreadLines();

    std::unique_ptr<DataFile> file;
    std::function<void(const std::string&)> reportSkipped;
    const std::optional<double> liveWait;
    std::vector<char> piece;
    KelvaneSDK::RecordingReader reader;
    char lastByte = '\n';
    std::size_t skippedLines = 0;
    bool isEmpty = true;
    bool isAtEnd = false;
    // Something arrived since a batch was ended last.
    bool mayEndBatch = false;
    bool hasEnded = false;
};

}  // namespace kelvane
