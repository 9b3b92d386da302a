#pragma once

#include <atomic>
#include <condition_variable>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

#include "Files.h"
#include "Messages.h"

// What several threads write at the same time comes out in one order: each has a place, and place after place
// has its turn.

namespace kelvane {

/// Whose turn it is. All operations from any thread.
class Turns {
public:
    /// What is written, in its turn, of work that has ended.
    using Remainder = std::function<void()>;

    explicit Turns(std::size_t mostAhead) : window(mostAhead) {}

    bool has(std::size_t place) const { return current == place; }
    /// Waits until it is the place's turn, or at most the window away from it; false when nothing comes any
    /// more.
    bool await(std::size_t place) { return awaitWithin(place, 0); }
    bool awaitNear(std::size_t place) { return awaitWithin(place, window); }
    /// Ends a place. It, or whoever has the turn then, writes the remainders of all whose turn comes.
    void end(std::size_t place, Remainder remainder);
    /// Nothing comes any more; whoever waits goes on.
    void close();
    /// Ends everything, since what comes in turn cannot be written.
    void fail(const Failure& reason);
    /// The first reason; to be read when all threads have ended.
    const std::optional<Failure>& failure() const { return failed; }

private:
    bool awaitWithin(std::size_t place, std::size_t distance);

    const std::size_t window;
    std::mutex mutex;
    std::condition_variable advanced;
    std::atomic<std::size_t> current = 0;
    bool isClosed = false;
    std::optional<Failure> failed;
    std::map<std::size_t, Remainder> ended;
};

/// The text of one place. Before its turn it waits in memory and, when it grows long, in a file without a
/// name; where there can be none, its thread waits. A failure of the sink ends everything.
class TextInTurn : public PendingText {
public:
    /// Takes the text, and may leave anything in it.
    using Sink = std::function<void(std::string& text)>;

    TextInTurn(Turns& order, std::size_t ownPlace, Sink receiver)
        : turns(order), place(ownPlace), sink(std::move(receiver)) {}
    ~TextInTurn() override;

    void flush() override;

private:
    static constexpr std::size_t mostHeld = 1024 * 1024;

    bool moveToFile();
    void passOnFile();

    Turns& turns;
    const std::size_t place;
    Sink sink;
    int file = -1;
    off_t fileSize = 0;
};

}  // namespace kelvane
