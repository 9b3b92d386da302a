#include "Progress.h"

#include <unistd.h>

#include <array>
#include <cmath>
#include <cstdio>
#include <utility>

#include "Messages.h"

namespace kelvane {

namespace {

/// "12 s", "3 min"
std::string duration(double seconds) {
    return seconds < 100 ? std::to_string(std::lround(seconds)) + " s"
                         : std::to_string(std::lround(seconds / 60)) + " min";
}

/// ", 2.5 M a second"; nothing where it is slow.
std::string rate(double number) {
    if (number < 1e3) return {};
    std::array<char, 32> text{};
    const bool isMillions = number >= 1e6;
    std::snprintf(text.data(), text.size(), ", %.3g %s a second", number / (isMillions ? 1e6 : 1e3),
                  isMillions ? "M" : "k");
    return text.data();
}

}  // namespace

Progress::Progress(std::string chosenName, std::string_view chosenNoun, std::function<double()> share,
                   bool isWanted)
    : name(std::move(chosenName)),
      noun(chosenNoun),
      shareDone(std::move(share)),
      isShown(isWanted && ::isatty(STDERR_FILENO) != 0) {}

Progress::~Progress() {
    if (isShown) showOnTerminal({});
}

void Progress::show(std::size_t count) {
    if (!isShown || Clock::now() < next) return;
    next = Clock::now() + std::chrono::milliseconds(200);
    const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
    std::string line = name + ": " + counted(count, noun) + rate(static_cast<double>(count) / seconds);
    if (const double share = shareDone(); share > 0) {
        line += ", " + std::to_string(static_cast<int>(100 * share)) + " %, " +
                duration(seconds * (1 - share) / share) + " left";
    }
    showOnTerminal(line);
}

bool isTerminal(const std::string& output) { return output == "-" && ::isatty(STDOUT_FILENO) != 0; }

}  // namespace kelvane
