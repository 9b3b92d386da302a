#pragma once

#include <cstdio>
#include <cstdlib>
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
struct Stopped {};

/// Silences the diagnostics and turns stops into exceptions; call once.
inline void prepare() {
    static const bool prepared = [] {
        KelvaneSDK::setDiagnosticSink([](std::string_view) {});
        return true;
    }();
    static_cast<void>(prepared);
    // Installed anew for every input: a stop takes the handler out.
    KelvaneSDK::setStopHandler([](std::string_view) { throw Stopped(); });
}

inline std::string_view textOf(const std::uint8_t* data, std::size_t size) {
    return {reinterpret_cast<const char*>(data), size};
}

}  // namespace KelvaneFuzz
