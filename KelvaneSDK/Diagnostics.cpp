#include "KelvaneSDK/Diagnostics.h"

#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <utility>

#include "KelvaneSDK/Operation.h"

namespace KelvaneSDK {

namespace {

struct CommonSink {
    std::mutex mutex;
    DiagnosticSink sink;
};

CommonSink& common() {
    // Never destroyed: background work may still print while the process exits.
    static CommonSink* const instance = new CommonSink;
    return *instance;
}

thread_local const Operation* currentOperation = nullptr;

void writeLine(std::FILE* file, std::string_view line) {
    std::fwrite(line.data(), 1, line.size(), file);
    std::fputc('\n', file);
    std::fflush(file);
}

}  // namespace

Operation::Operation(StopBehavior stopBehavior, const DiagnosticSink* sink)
    : behavior(stopBehavior), lines(sink), outer(currentOperation) {
    currentOperation = this;
}

Operation::~Operation() { currentOperation = outer; }

const Operation* Operation::current() { return currentOperation; }

DiagnosticSink setDiagnosticSink(DiagnosticSink sink) {
    const std::lock_guard lock(common().mutex);
    return std::exchange(common().sink, std::move(sink));
}

void printDiagnostic(std::string_view line) {
    if (currentOperation != nullptr && currentOperation->lines != nullptr && *currentOperation->lines) {
        return (*currentOperation->lines)(line);
    }
    const std::lock_guard lock(common().mutex);
    if (common().sink) {
        common().sink(line);
    } else {
        writeLine(stdout, line);
    }
}

void stopProgram(std::string_view reason, std::optional<std::int64_t> nodeId) {
    if (currentOperation != nullptr && currentOperation->behavior == StopBehavior::failCall) {
        throw Operation::Stopped{{std::string(reason), nodeId}};
    }
    std::fputs("FATAL: ", stderr);
    writeLine(stderr, reason);
    std::abort();
}

}  // namespace KelvaneSDK
