#pragma once

#include <algorithm>

namespace kelvane {

// Coordinates of pictures: y grows downwards, and a unit is a pixel of a picture at its own size.

struct Point {
    double x = 0, y = 0;

    friend bool operator==(const Point&, const Point&) = default;
};

struct Box {
    double x = 0, y = 0, width = 0, height = 0;

    double right() const { return x + width; }
    double bottom() const { return y + height; }
    bool overlaps(const Box& other) const {
        return x < other.right() && other.x < right() && y < other.bottom() && other.y < bottom();
    }
    /// The smallest box around both.
    Box with(const Box& other) const {
        const double left = std::min(x, other.x), top = std::min(y, other.y);
        return {left, top, std::max(right(), other.right()) - left, std::max(bottom(), other.bottom()) - top};
    }
    Box grown(double by) const { return {x - by, y - by, width + 2 * by, height + 2 * by}; }
};

}  // namespace kelvane
