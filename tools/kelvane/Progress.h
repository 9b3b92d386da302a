#pragma once

#include <chrono>
#include <cstddef>

#include "ReadAhead.h"

namespace kelvane {

/// A line on a terminal that says how far a long run is; nothing elsewhere, and nothing in the first second.
class Progress {
public:
    /// `isWanted` keeps it back where false.
    Progress(const ReadAhead& input, bool isWanted);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// After so many updates.
    void show(std::size_t updates);

private:
    using Clock = std::chrono::steady_clock;

    const ReadAhead& recording;
    const bool isShown;
    const Clock::time_point start = Clock::now();
    Clock::time_point next = start + std::chrono::seconds(1);
};

}  // namespace kelvane
