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

void writeLine(std::FILE* file, std::string_view line) {
    std::fwrite(line.data(), 1, line.size(), file);
    std::fputc('\n', file);
    std::fflush(file);
}

}  // namespace

constinit thread_local const Operation* Operation::current = nullptr;

const DiagnosticSink* Operation::sink() {
    for (const auto* operation = current; operation != nullptr; operation = operation->outer) {
        if (operation->lines != nullptr && *operation->lines) return operation->lines;
    }
    return nullptr;
}

bool Operation::catchesStops() {
    if (current == nullptr) return false;
    if (current->behavior == StopBehavior::failCall) return true;
    const auto* operation = current;
    while (operation != nullptr && !operation->isTrial) operation = operation->outer;
    return operation != nullptr;
}

DiagnosticSink setDiagnosticSink(DiagnosticSink sink) {
    const std::lock_guard lock(common().mutex);
    return std::exchange(common().sink, std::move(sink));
}

std::string wrongTypeLine(std::string_view streamLabel) {
    return "ERROR: trying to set input stream '" + std::string(streamLabel) + "' with wrong type!";
}

void printDiagnostic(std::string_view line) {
    if (const auto* sink = Operation::sink()) return (*sink)(line);
    const std::lock_guard lock(common().mutex);
    if (common().sink) {
        common().sink(line);
    } else {
        writeLine(stdout, line);
    }
}

void stopProgram(std::string_view reason, std::optional<std::int64_t> nodeId) {
    if (Operation::catchesStops()) {
        throw Operation::Stopped{{std::string(reason), nodeId}};
    }
    std::fputs("FATAL: ", stderr);
    writeLine(stderr, reason);
    std::abort();
}

}  // namespace KelvaneSDK
