#pragma once

#include "KelvaneSDK/Value.h"

namespace KelvaneSDK {

/// -1, 0 or 1; 0 for NaN.
inline int signOf(double v) { return (v > 0) - (v < 0); }

/// The area under the line from sample `a` to sample `b`, by which the integral functions grow.
inline double areaBetween(const Sample& a, const Sample& b) {
    const double dt = b.t - a.t;
    if (signOf(a.f) == signOf(b.f)) return 0.5 * dt * (a.f + b.f);
    // As existing diagrams expect it: c is an absolute time, and its ratio divides by b.f - a.f.
    const double c = a.t + (a.f / (b.f - a.f)) * dt;
    return 0.5 * (a.f * c + b.f * (dt - c));
}

}  // namespace KelvaneSDK
