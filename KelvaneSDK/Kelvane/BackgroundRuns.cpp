#include "KelvaneSDK/Kelvane/BackgroundRuns.h"

#include "KelvaneSDK/Diagnostics.h"
#include "KelvaneSDK/Kelvane/BackgroundWorker.h"
#include "KelvaneSDK/Kelvane/EngineState.h"

namespace KelvaneSDK {

void BackgroundRuns::enter() {
    const std::lock_guard lock(mutex);
    ++pending;
}

void BackgroundRuns::leave() {
    {
        const std::lock_guard lock(mutex);
        --pending;
    }
    idle.notify_all();
}

void BackgroundRuns::waitAndClose() {
    std::unique_lock lock(mutex);
    idle.wait(lock, [this] { return pending == 0; });
    closed = true;
}

bool BackgroundRuns::engineExists() {
    const std::lock_guard lock(mutex);
    return !closed;
}

namespace {

void processInBackground(Kelvane& kelvane, const std::vector<KelvaneInput>& inputs) {
    EngineState& engine = EngineState::of(kelvane);
    // The engine may be destroyed as soon as the run is left, so nothing of it is touched afterwards.
    const auto runs = engine.backgroundRuns;
    engine.perform([&] {
        auto results = std::make_shared<std::vector<KelvaneOutput>>();
        for (const auto& input : inputs) {
            auto output = kelvane.evaluate(input);
            if (engine.failed) break;
            if (output.outputs.empty()) continue;
            if (!engine.perform([&] { results->push_back(std::move(output)); })) break;
        }
        auto deliver = [&engine, receiver = engine.updatesReceiver, runs, results] {
            if (const auto target = receiver.lock()) {
                target->allUpdatesProcessed(*results);
            } else if (runs->engineExists()) {
                engine.perform([] { stopProgram("the receiver of a background run's results is gone"); });
            }
        };
        const auto queue = engine.mainQueue;
        queue->post(std::move(deliver));
    });
    runs->leave();
}

}  // namespace

void Kelvane::processAllUpdates(std::vector<KelvaneInput> diagramInputs) {
    engine->backgroundRuns->enter();
    const bool isSubmitted = engine->perform([&] {
        BackgroundWorker::shared().submit(
            [this, inputs = std::move(diagramInputs)] { processInBackground(*this, inputs); });
    });
    if (!isSubmitted) engine->backgroundRuns->leave();
}

}  // namespace KelvaneSDK
