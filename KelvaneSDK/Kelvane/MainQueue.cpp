#include "KelvaneSDK/Kelvane/MainQueue.h"

#include <utility>

namespace KelvaneSDK {

const std::shared_ptr<DrainedMainQueue>& DrainedMainQueue::standard() {
    static const auto queue = std::make_shared<DrainedMainQueue>();
    return queue;
}

void DrainedMainQueue::post(std::function<void()> task) {
    {
        const std::lock_guard lock(mutex);
        tasks.push_back(std::move(task));
    }
    posted.notify_one();
}

std::function<void()> DrainedMainQueue::take(std::unique_lock<std::mutex>& lock) {
    auto task = std::move(tasks.front());
    tasks.pop_front();
    lock.unlock();
    return task;
}

bool DrainedMainQueue::runOnce() {
    std::unique_lock lock(mutex);
    if (tasks.empty()) return false;
    take(lock)();
    return true;
}

std::size_t DrainedMainQueue::runUntilEmpty() {
    std::size_t count = 0;
    while (runOnce()) ++count;
    return count;
}

bool DrainedMainQueue::runNext(std::chrono::steady_clock::time_point deadline) {
    std::unique_lock lock(mutex);
    if (!posted.wait_until(lock, deadline, [this] { return !tasks.empty(); })) return false;
    take(lock)();
    return true;
}

}  // namespace KelvaneSDK
