#include "KelvaneSDK/Kelvane/BackgroundWorker.h"

#include <new>
#include <utility>

namespace KelvaneSDK {

BackgroundWorker& BackgroundWorker::shared() {
    static BackgroundWorker worker;
    return worker;
}

BackgroundWorker::~BackgroundWorker() {
    {
        const std::lock_guard lock(mutex);
        ending = true;
    }
    submitted.notify_all();
    if (thread.get_id() == std::this_thread::get_id()) {
        // A stop handler exits the process on the worker's own thread.
        thread.detach();
    } else if (thread.joinable()) {
        thread.join();
    }
}

void BackgroundWorker::submit(std::function<void()> task) {
    const std::lock_guard lock(mutex);
    tasks.push_back(std::move(task));
    try {
        if (!thread.joinable()) thread = std::thread([this] { run(); });
    } catch (...) {
        tasks.pop_back();
        // The system has no room for a thread.
        throw std::bad_alloc();
    }
    // Under the lock, so that a task that ends the process finds nobody in here.
    submitted.notify_one();
}

void BackgroundWorker::run() {
    std::unique_lock lock(mutex);
    for (;;) {
        submitted.wait(lock, [this] { return ending || !tasks.empty(); });
        if (tasks.empty()) return;
        const auto task = std::move(tasks.front());
        tasks.pop_front();
        lock.unlock();
        task();
        lock.lock();
    }
}

}  // namespace KelvaneSDK
