#include <condition_variable>
#include <deque>
#include <mutex>
#include <utility>

#include "KelvaneSDK/Kelvane/Kelvane.h"

namespace KelvaneSDK {

class DrainedMainQueue::Tasks {
public:
    void append(std::function<void()> task) {
        {
            const std::lock_guard lock(mutex);
            waiting.push_back(std::move(task));
        }
        posted.notify_one();
    }
    /// Runs the next one. False when there is none until the deadline.
    bool run(std::chrono::steady_clock::time_point deadline) {
        std::unique_lock lock(mutex);
        if (!posted.wait_until(lock, deadline, [this] { return !waiting.empty(); })) return false;
        const auto task = std::move(waiting.front());
        waiting.pop_front();
        lock.unlock();
        task();
        return true;
    }

private:
    std::mutex mutex;
    std::condition_variable posted;
    std::deque<std::function<void()>> waiting;
};

DrainedMainQueue::DrainedMainQueue() : tasks(std::make_unique<Tasks>()) {}
DrainedMainQueue::~DrainedMainQueue() = default;

const std::shared_ptr<DrainedMainQueue>& DrainedMainQueue::standard() {
    static const auto queue = std::make_shared<DrainedMainQueue>();
    return queue;
}

void DrainedMainQueue::post(std::function<void()> task) { tasks->append(std::move(task)); }

bool DrainedMainQueue::runOnce() { return tasks->run({}); }

std::size_t DrainedMainQueue::runUntilEmpty() {
    std::size_t count = 0;
    while (runOnce()) ++count;
    return count;
}

bool DrainedMainQueue::runNext(std::chrono::steady_clock::time_point deadline) {
    return tasks->run(deadline);
}

}  // namespace KelvaneSDK
