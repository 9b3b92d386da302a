#pragma once

#include <cstddef>
#include <vector>

#include "Pictures/Geometry.h"

namespace kelvane {

// Boxes in layers from left to right, each after those that feed it.

struct LayoutBox {
    double width = 0, height = 0;
    /// The innermost group that it belongs to, or `none`.
    std::size_t group;
    /// Stands in the first layer; others that nothing feeds stand just before what they feed.
    bool isFirst = false;
};

struct LayoutEdge {
    std::size_t from, to;
    /// Where it leaves and reaches the boxes, from their tops.
    double fromY, toY;
    /// Leads back, whatever the rest: the layers do not follow it.
    bool isBack = false;
};

struct LayoutGroup {
    /// An earlier one, or `none`. Groups nest some dozens deep at most.
    std::size_t parent;
};

struct LayoutRequest {
    static constexpr std::size_t none = ~std::size_t{0};

    std::vector<LayoutBox> boxes;
    std::vector<LayoutEdge> edges;
    std::vector<LayoutGroup> groups;
    /// The least space between layers.
    double gap = 60;
};

struct LayeredLayout {
    std::vector<Point> places;
    /// For each edge, the points that it passes, from port to port: between two of them it is level, or it
    /// crosses the gap between two layers. Empty for edges that lead back, or too far to keep a lane free in
    /// each layer: they are left to routing.
    std::vector<std::vector<Point>> paths;
};

/// What frames take around their boxes.
inline constexpr double framePadding = 12, frameTitleHeight = 22;

/// Lays out boxes so that no two overlap, and that around those of a group, with those of the groups in it,
/// a frame holds no others. Time grows little faster than the request.
LayeredLayout layeredLayout(const LayoutRequest& request);

}  // namespace kelvane
