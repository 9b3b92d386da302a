#pragma once

// Internal: how an engine's operations keep stops and memory that runs out inside.

#include "KelvaneSDK/Kelvane/Kelvane.h"
#include "KelvaneSDK/MemoryGuard.h"
#include "KelvaneSDK/Operation.h"

namespace KelvaneSDK {

/// Runs the work of an operation. False when it failed, with the reason in failure().
template <class Work>
bool Kelvane::perform(const Work& work) const {
    const Operation operation(stopBehavior, &diagnosticSink);
    try {
        if (withinMemory([&] { return work(), true; })) return true;
        failed = {outOfMemoryReason, std::nullopt};
        printDiagnostic(outOfMemoryLine);
    } catch (Operation::Stopped& stopped) {
        if (stopBehavior == StopBehavior::endProgram) throw;
        failed = std::move(stopped.reason);
    }
    return false;
}

}  // namespace KelvaneSDK
