#include "KelvaneSDK/Kelvane/BackgroundRuns.h"

#include "KelvaneSDK/Diagnostics.h"
#include "KelvaneSDK/Kelvane/BackgroundWorker.h"
#include "KelvaneSDK/Kelvane/EngineOperation.h"

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
    const bool isSubmitted = perform([&] {
        BackgroundWorker::shared().submit(
            [this, inputs = std::move(diagramInputs)] { processInBackground(inputs); });
    });
    if (!isSubmitted) backgroundRuns->leave();
}

void Kelvane::processInBackground(const std::vector<KelvaneInput>& inputs) {
    // The engine may be destroyed as soon as the run is left, so nothing of it is touched afterwards.
    const auto runs = backgroundRuns;
    perform([&] {
        auto results = std::make_shared<std::vector<KelvaneOutput>>();
        for (const auto& input : inputs) {
            auto output = evaluate(input);
            if (failed) break;
            if (output.outputs.empty()) continue;
            if (!perform([&] { results->push_back(std::move(output)); })) break;
        }
        auto deliver = [this, receiver = updatesReceiver, runs, results] {
            if (const auto target = receiver.lock()) {
                target->allUpdatesProcessed(*results);
            } else if (runs->engineExists()) {
                perform([] { stopProgram("the receiver of a background run's results is gone"); });
            }
        };
        const auto queue = mainQueue;
        queue->post(std::move(deliver));
    });
    runs->leave();
}

}  // namespace KelvaneSDK
