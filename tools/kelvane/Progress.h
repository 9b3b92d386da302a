#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

namespace kelvane {

/// A line on a terminal that says how far long work is; nothing elsewhere, and nothing in the first second.
class Progress {
public:
    /// What is worked on, what is counted ("update"), and how much of it is done, from 0 to 1, or 0 where
    /// that is not known. `isWanted` keeps it back where false.
    Progress(std::string name, std::string_view noun, std::function<double()> share, bool isWanted);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// After so many of what is counted.
    void show(std::size_t count);

private:
    using Clock = std::chrono::steady_clock;

    const std::string name, noun;
    const std::function<double()> shareDone;
    const bool isShown;
    const Clock::time_point start = Clock::now();
    Clock::time_point next = start + std::chrono::seconds(1);
};

/// Whether what goes to a path comes to the terminal, where progress would stand between the lines.
bool isTerminal(const std::string& output);

}  // namespace kelvane
