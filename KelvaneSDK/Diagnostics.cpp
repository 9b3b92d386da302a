#include "KelvaneSDK/Diagnostics.h"

#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <utility>

#include "KelvaneSDK/Operation.h"

namespace KelvaneSDK {

namespace {

struct Hooks {
    std::mutex mutex;
    DiagnosticSink sink;
    StopHandler stopHandler;
};

/// Thrown by a stop within a trial.
struct TrialStopped {
    std::string reason;
};

thread_local const DiagnosticSink* isTrial = nullptr;

Hooks& hooks() {
    // Never destroyed: background work may still print while the process exits.
    static Hooks* const instance = new Hooks;
    return *instance;
}

void writeLine(std::FILE* file, std::string_view line) {
    std::fwrite(line.data(), 1, line.size(), file);
    std::fputc('\n', file);
    std::fflush(file);
}

}  // namespace

DiagnosticSink setDiagnosticSink(DiagnosticSink sink) {
    const std::lock_guard lock(hooks().mutex);
    return std::exchange(hooks().sink, std::move(sink));
}

void printDiagnostic(std::string_view line) {
    if (isTrial) return (*isTrial)(line);
    const std::lock_guard lock(hooks().mutex);
    if (hooks().sink) {
        hooks().sink(line);
    } else {
        writeLine(stdout, line);
    }
}

StopHandler setStopHandler(StopHandler handler) {
    const std::lock_guard lock(hooks().mutex);
    return std::exchange(hooks().stopHandler, std::move(handler));
}

void stopProgram(std::string_view reason) {
    if (isTrial) throw TrialStopped{std::string(reason)};
    StopHandler handler;
    {
        const std::lock_guard lock(hooks().mutex);
        // Taken out, so that a handler that itself stops the program does not recurse.
        handler = std::exchange(hooks().stopHandler, {});
    }
    if (handler) handler(reason);
    std::fputs("FATAL: ", stderr);
    writeLine(stderr, reason);
    std::abort();
}

std::optional<StopReason> reasonOfStop(const std::function<void()>& work, const DiagnosticSink& lines) {
    struct Trial {
        Trial(const DiagnosticSink* l) { isTrial = l; }
        ~Trial() { isTrial = nullptr; }
    };
    const Trial inProgress(&lines);
    try {
        work();
    } catch (TrialStopped& stopped) {
        return StopReason{std::move(stopped.reason), {}};
    }
    return std::nullopt;
}

}  // namespace KelvaneSDK
