#include "ReadAhead.h"

#include <system_error>

#include "Interruption.h"

namespace kelvane {

ReadAhead::ReadAhead(const std::string& path, bool skipsInvalidLines, bool isThreaded,
                     std::optional<double> liveWait)
    : recording(
          path, skipsInvalidLines ? Recording::InvalidLine::isSkipped : Recording::InvalidLine::ends,
          [this](const std::string& line) { filling->messages.emplace_back(filling->count, line); },
          liveWait) {
    if (!isThreaded || std::thread::hardware_concurrency() < 2) return;
    try {
        thread = std::thread([this] { readAll(); });
    } catch (const std::system_error&) {
        // Then who takes the pieces reads them.
    }
}

ReadAhead::~ReadAhead() {
    if (!thread.joinable()) return;
    {
        const std::lock_guard lock(mutex);
        if (!hasEnded) interrupt();
        changed.notify_all();
    }
    thread.join();
}

const ReadAhead::Piece* ReadAhead::next() {
    const Piece* piece = nullptr;
    if (!thread.joinable()) {
        if (read(pieces[0])) piece = &pieces[0];
    } else {
        std::unique_lock lock(mutex);
        if (std::exchange(holdsPiece, false)) {
            ++consumed;
            changed.notify_all();
        }
        changed.wait(lock, [this] { return hasEnded || produced > consumed; });
        if (produced > consumed) {
            holdsPiece = true;
            piece = &pieces[consumed % pieces.size()];
        } else if (error) {
            std::rethrow_exception(error);
        }
    }
    return piece;
}

std::string ReadAhead::failure() { return recording.failure(); }

bool ReadAhead::read(Piece& piece) {
    filling = &piece;
    piece.count = 0;
    piece.messages.clear();
    if (!recording.readPiece()) return false;
    for (;;) {
        if (piece.count == piece.batches.size()) piece.batches.emplace_back();
        if (!recording.next(piece.batches[piece.count])) return true;
        ++piece.count;
    }
}

void ReadAhead::readAll() {
    std::unique_lock lock(mutex);
    try {
        for (;;) {
            changed.wait(lock, [this] { return interrupted() || produced - consumed < pieces.size(); });
            if (interrupted()) break;
            lock.unlock();
            const bool isRead = read(pieces[produced % pieces.size()]);
            lock.lock();
            if (!isRead) break;
            ++produced;
            changed.notify_all();
        }
    } catch (...) {
        if (!lock.owns_lock()) lock.lock();
        error = std::current_exception();
    }
    hasEnded = true;
    changed.notify_all();
}

}  // namespace kelvane
