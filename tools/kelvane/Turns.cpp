#include "Turns.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <utility>

#include "Interruption.h"

namespace kelvane {

namespace {

int openNamelessFile() {
    const char* folder = std::getenv("TMPDIR");
    auto path = std::string(folder != nullptr && *folder != '\0' ? folder : "/tmp") + "/kelvane.XXXXXX";
    const int file = ::mkostemp(path.data(), O_CLOEXEC | O_APPEND);
    if (file >= 0) ::unlink(path.c_str());
    return file;
}

}  // namespace

bool Turns::awaitWithin(std::size_t place, std::size_t distance) {
    std::unique_lock lock(mutex);
    advanced.wait(lock, [&] { return isClosed || place <= current + distance; });
    return !isClosed;
}

void Turns::end(std::size_t place, Remainder remainder) {
    std::unique_lock lock(mutex);
    ended.emplace(place, std::move(remainder));
    // Whoever has taken out the current remainder is writing it; the others leave theirs here.
    for (auto due = ended.extract(current); !due.empty(); due = ended.extract(current)) {
        lock.unlock();
        due.mapped()();
        due = {};
        lock.lock();
        ++current;
        advanced.notify_all();
    }
}

void Turns::close() {
    const std::lock_guard lock(mutex);
    isClosed = true;
    advanced.notify_all();
}

void Turns::fail(const Failure& reason) {
    {
        const std::lock_guard lock(mutex);
        if (!failed) failed = reason;
    }
    interrupt();
    close();
}

TextInTurn::~TextInTurn() {
    if (file >= 0) ::close(file);
}

void TextInTurn::flush() {
    if (!turns.has(place)) {
        if (pending.size() <= mostHeld || moveToFile()) return;
        if (!turns.await(place)) return pending.clear();
    }
    try {
        if (file >= 0) passOnFile();
        sink(pending);
    } catch (const Failure& failure) {
        turns.fail(failure);
    }
    pending.clear();
}

bool TextInTurn::moveToFile() {
    if (file < 0) file = openNamelessFile();
    if (file < 0) return false;
    if (writeAll(file, pending) < pending.size()) {
        // The disk is full, and what was written of this stays in memory.
        [[maybe_unused]] const int result = ::ftruncate(file, fileSize);
        return false;
    }
    fileSize += static_cast<off_t>(pending.size());
    pending.clear();
    return true;
}

void TextInTurn::passOnFile() {
    std::string piece;
    for (off_t offset = 0; offset < fileSize;) {
        piece.resize(mostHeld);
        const auto count = ::pread(file, piece.data(), piece.size(), offset);
        if (count <= 0) {
            throw Failure{ExitStatus::failed, "kelvane: cannot read the results that waited for their turn"};
        }
        piece.resize(static_cast<std::size_t>(count));
        offset += count;
        sink(piece);
    }
    ::close(std::exchange(file, -1));
}

}  // namespace kelvane
