#pragma once

#include <condition_variable>
#include <mutex>

namespace KelvaneSDK {

/// What an engine and its background runs share: how many runs are pending, and whether the engine still
/// exists.
class BackgroundRuns {
public:
    void enter();
    void leave();
    /// Waits until no run is pending, then marks the engine as gone.
    void waitAndClose();
    bool engineExists();

private:
    std::mutex mutex;
    std::condition_variable idle;
    int pending = 0;
    bool closed = false;
};

}  // namespace KelvaneSDK
