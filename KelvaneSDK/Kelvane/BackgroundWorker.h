#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

namespace KelvaneSDK {

/// One background thread that runs tasks in the order of their submission. The thread starts with the first
/// task.
class BackgroundWorker {
public:
    /// The worker that all engines share.
    static BackgroundWorker& shared();

    /// Finishes what has been submitted, then ends the thread.
    ~BackgroundWorker();

    /// Any thread. Throws std::bad_alloc, also when the thread cannot be started.
    void submit(std::function<void()> task);

private:
    void run();

    std::mutex mutex;
    std::condition_variable submitted;
    std::deque<std::function<void()>> tasks;
    bool ending = false;
    std::thread thread;
};

}  // namespace KelvaneSDK
