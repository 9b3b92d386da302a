#include "KelvaneSDK/Kelvane/BackgroundRuns.h"

#include "KelvaneSDK/Diagnostics.h"
#include "KelvaneSDK/Kelvane/BackgroundWorker.h"
#include "KelvaneSDK/MemoryGuard.h"

namespace KelvaneSDK {

void Kelvane::BackgroundRuns::enter() {
    const std::lock_guard lock(mutex);
    ++pending;
}

void Kelvane::BackgroundRuns::leave() {
    {
        const std::lock_guard lock(mutex);
        --pending;
    }
    idle.notify_all();
}

void Kelvane::BackgroundRuns::waitAndClose() {
    std::unique_lock lock(mutex);
    idle.wait(lock, [this] { return pending == 0; });
    closed = true;
}

bool Kelvane::BackgroundRuns::engineExists() {
    const std::lock_guard lock(mutex);
    return !closed;
}

void Kelvane::processAllUpdates(std::vector<KelvaneInput> diagramInputs) {
    backgroundRuns->enter();
    const auto submitted = withinMemoryOrError([&] {
        BackgroundWorker::shared().submit(
            [this, inputs = std::move(diagramInputs)] { processInBackground(inputs); });
        return true;
    });
    if (!submitted) backgroundRuns->leave();
}

void Kelvane::processInBackground(const std::vector<KelvaneInput>& inputs) {
    // The engine may be destroyed as soon as the run is left, so nothing of it is touched afterwards.
    const auto runs = backgroundRuns;
    withinMemoryOrError([&] {
        auto results = std::make_shared<std::vector<KelvaneOutput>>();
        for (const auto& input : inputs) {
            auto output = evaluate(input);
            if (outOfMemory) break;
            if (output.outputs.empty()) continue;
            const auto kept =
                withinMemoryOrError([&] { return results->push_back(std::move(output)), true; });
            if (!kept) break;
        }
        auto deliver = [receiver = updatesReceiver, runs, results] {
            if (const auto target = receiver.lock()) {
                target->allUpdatesProcessed(*results);
            } else if (runs->engineExists()) {
                stopProgram("the receiver of a background run's results is gone");
            }
        };
        const auto queue = mainQueue;
        return queue->post(std::move(deliver)), true;
    });
    runs->leave();
}

}  // namespace KelvaneSDK
