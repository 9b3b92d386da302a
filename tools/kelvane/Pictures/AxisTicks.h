#pragma once

#include <string>
#include <vector>

namespace kelvane {

struct AxisTick {
    double place;
    std::string label;
};

/// The marks along an axis, and what stands beside it: "×10⁶", "seconds", "UTC, 2024-05-01".
struct AxisTicks {
    std::vector<AxisTick> ticks;
    std::string caption;
};

/// Round numbers between two, 1, 2 or 5 times a power of ten apart and at most so many; `least` is below
/// `most`, both are finite.
AxisTicks numberTicks(double least, double most, double mostTicks);

/// Round times between two in seconds: seconds, minutes, hours or days after zero, or dates and times of day
/// where the times look like seconds since 1970.
AxisTicks timeTicks(double from, double to, double mostTicks);
/// Whether they do.
bool areDates(double from, double to);

}  // namespace kelvane
