#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>

namespace [[gnu::visibility("default")]] KelvaneSDK {

/// Where an engine posts the results of a background run: the application's main thread. An application with
/// an event loop of its own implements this and hands it to its engines.
class MainQueue {
public:
    virtual ~MainQueue() = default;
    /// Takes a task to be run later on the main thread, in the order of posting. Called from any thread; must
    /// not run the task itself.
    virtual void post(std::function<void()> task) = 0;
};

/// A main queue that the application drains by calls from its main thread.
class DrainedMainQueue final : public MainQueue {
public:
    /// The queue that engines use which were given none.
    static const std::shared_ptr<DrainedMainQueue>& standard();

    void post(std::function<void()> task) override;

    /// Runs the next task, if there is one. Returns whether it did.
    bool runOnce();
    /// Runs tasks, also those posted meanwhile, until there is none. Returns how many.
    std::size_t runUntilEmpty();
    /// Waits for a task until the deadline and runs it. Returns whether it did.
    bool runNext(std::chrono::steady_clock::time_point deadline);

private:
    std::function<void()> take(std::unique_lock<std::mutex>& lock);

    std::mutex mutex;
    std::condition_variable posted;
    std::deque<std::function<void()>> tasks;
};

}  // namespace KelvaneSDK
