#pragma once

#include <array>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "Recording.h"

namespace kelvane {

/// A recording that is read a few pieces ahead of who takes them, on a thread of its own.
class ReadAhead {
public:
    /// The batches that a piece of the recording completes.
    struct Piece {
        /// The space for batches, and how many there are.
        std::vector<KelvaneSDK::KelvaneInput> batches;
        std::size_t count = 0;
        /// The reports of skipped lines, each with the number of batches before it.
        std::vector<std::pair<std::size_t, std::string>> messages;
    };

    /// `liveWait` as Recording has it. Without a thread when `isThreaded` is false or there can be none.
    ReadAhead(const std::string& path, bool skipsInvalidLines, bool isThreaded,
              std::optional<double> liveWait = {});
    /// Interrupts everything unless the recording has ended.
    ~ReadAhead();
    ReadAhead(const ReadAhead&) = delete;
    ReadAhead& operator=(const ReadAhead&) = delete;

    /// The next piece, which lives until the next call; null after the end.
    const Piece* next();
    /// As Recording::failure(), after the end.
    std::string failure();
    const KelvaneSDK::RecordingLosses& losses() const { return recording.losses(); }
    const std::string& name() const { return recording.name(); }
    double share() const { return recording.share(); }

private:
    bool read(Piece& piece);
    void readAll();

    std::array<Piece, 4> pieces;
    Piece* filling = nullptr;
    Recording recording;
    std::mutex mutex;
    std::condition_variable changed;
    std::size_t produced = 0, consumed = 0;
    bool holdsPiece = false, hasEnded = false;
    std::exception_ptr error;
    std::thread thread;
};

}  // namespace kelvane
