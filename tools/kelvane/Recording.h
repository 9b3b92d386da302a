#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Files.h"
#include "KelvaneSDK/FileProcessing/InputRecording.h"

namespace kelvane {

/// A recording that is read piece by piece from a file or a pipe.
class Recording {
public:
    explicit Recording(const std::string& path) : file(path), piece(pieceSize) {}

    /// Reads what is there now; next() then gives the batches that it completes. False after the end, after
    /// an invalid line and after an interruption.
    bool readPiece();
    std::optional<KelvaneSDK::KelvaneInput> next() { return reader.next(); }

    /// What is wrong in the line that ended the reading, with file and line; empty when all has been read.
    std::string failure() const;

private:
    static constexpr std::size_t pieceSize = 256 * 1024;
    // Beyond this the text is no recording, and holding more of it would fill the memory.
    static constexpr std::size_t longestLine = 64 * 1024 * 1024;

    bool isLineTooLong(std::string_view text);

    InputFile file;
    std::vector<char> piece;
    KelvaneSDK::RecordingReader reader{KelvaneSDK::RecordingReader::Ending::lineBreakAllowed};
    std::size_t completeLines = 0;
    std::size_t unfinishedBytes = 0;
    bool lineTooLong = false;
    bool ended = false;
};

}  // namespace kelvane
