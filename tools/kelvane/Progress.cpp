#include "Progress.h"

#include <unistd.h>

#include <array>
#include <cmath>
#include <cstdio>
#include <string>

#include "Messages.h"

namespace kelvane {

namespace {

/// "12 s", "3 min"
std::string duration(double seconds) {
    return seconds < 100 ? std::to_string(std::lround(seconds)) + " s"
                         : std::to_string(std::lround(seconds / 60)) + " min";
}

std::string shortened(double number) {
    std::array<char, 32> text{};
    const bool isMillions = number >= 1e6;
    std::snprintf(text.data(), text.size(), "%.3g %s", number / (isMillions ? 1e6 : 1e3),
                  isMillions ? "M" : "k");
    return text.data();
}

}  // namespace

Progress::Progress(const ReadAhead& input, bool isWanted)
    : recording(input), isShown(isWanted && ::isatty(STDERR_FILENO) != 0) {}

Progress::~Progress() {
    if (isShown) showOnTerminal({});
}

void Progress::show(std::size_t updates) {
    if (!isShown || Clock::now() < next) return;
    next = Clock::now() + std::chrono::milliseconds(200);
    const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
    std::string line = recording.name() + ": " + counted(updates, "update") + ", " +
                       shortened(static_cast<double>(updates) / seconds) + " a second";
    if (const double share = recording.share(); share > 0) {
        line += ", " + std::to_string(static_cast<int>(100 * share)) + " %, " +
                duration(seconds * (1 - share) / share) + " left";
    }
    showOnTerminal(line);
}

}  // namespace kelvane
