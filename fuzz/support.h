#pragma once

#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "KelvaneSDK/KelvaneSDK.h"

namespace KelvaneFuzz {

/// A property that must hold whatever the input.
inline void require(bool holds, const char* property) {
    if (holds) return;
    std::fprintf(stderr, "property violated: %s\n", property);
    std::abort();
}

/// Thrown out of the library where it would end the program, so that fuzzing goes on; the engine is then
/// dropped.
struct Stopped {
    std::string reason;
};

/// Silences the diagnostics and turns stops into exceptions; for every input anew, since a stop takes the
/// handler out.
inline void prepare() {
    KelvaneSDK::setDiagnosticSink([](std::string_view) {});
    KelvaneSDK::setStopHandler([](std::string_view reason) { throw Stopped{std::string(reason)}; });
}

/// Runs a step and answers why it stopped; empty when it did not.
template <class Step>
std::string stopReason(Step step) {
    prepare();
    try {
        step();
    } catch (const Stopped& stopped) {
        return stopped.reason;
    }
    return {};
}

inline std::string_view textOf(const std::uint8_t* data, std::size_t size) {
    return {reinterpret_cast<const char*>(data), size};
}

}  // namespace KelvaneFuzz
