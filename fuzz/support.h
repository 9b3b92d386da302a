#pragma once

#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "KelvaneSDK/KelvaneSDK.h"
#include "KelvaneSDK/Operation.h"

namespace KelvaneFuzz {

/// A property that must hold whatever the input.
inline void require(bool holds, const char* property) {
    if (holds) return;
    std::fprintf(stderr, "property violated: %s\n", property);
    std::abort();
}

/// Silences the diagnostics.
inline void prepare() {
    KelvaneSDK::setDiagnosticSink([](std::string_view) {});
}

/// Runs a step and returns why it stopped; empty when it did not.
template <class Step>
std::string stopReason(Step step) {
    const auto stop = KelvaneSDK::reasonOfStop(step);
    return stop ? stop->text : std::string();
}

inline std::string_view textOf(const std::uint8_t* data, std::size_t size) {
    return {reinterpret_cast<const char*>(data), size};
}

}  // namespace KelvaneFuzz
