#pragma once

// Internal: keeps exceptions inside the library.

#include <new>
#include <optional>
#include <stdexcept>
#include <string_view>

#include "KelvaneSDK/Diagnostics.h"

namespace KelvaneSDK {

/// The reason in records of failures; short enough for a string to hold it without an allocation.
inline constexpr const char* outOfMemoryReason = "out of memory";
inline constexpr std::string_view outOfMemoryLine = "ERROR: out of memory!";

/// The result of `work`, or absent when memory ran out in it, or when it asked for more than an address space
/// holds.
template <class Work>
auto withinMemory(const Work& work) -> std::optional<decltype(work())> {
    try {
        return work();
    } catch (const std::bad_alloc&) {
    } catch (const std::length_error&) {
    }
    return std::nullopt;
}

/// The same, and prints an ERROR line when memory ran out.
template <class Work>
auto withinMemoryOrError(const Work& work) {
    auto result = withinMemory(work);
    if (!result) printDiagnostic(outOfMemoryLine);
    return result;
}

}  // namespace KelvaneSDK
