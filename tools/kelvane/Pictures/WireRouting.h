#pragma once

#include <string>
#include <unordered_map>
#include <vector>

#include "Pictures/Geometry.h"

namespace kelvane {

/// A path through points as a layered layout gives them: level pieces, joined by curves.
std::string curvedPath(const std::vector<Point>& points);

/// Finds ways for wires around boxes.
class WireRouter {
public:
    explicit WireRouter(std::vector<Box> obstacles);

    /// Wires do not run along the border of a frame.
    void keepOff(const Box& frame);

    /// The path from the right of a box to the left of another: a curve, if it is clear of boxes, or, where
    /// `goesAround`, level and upright pieces. Where there is no clear way, a curve all the same.
    std::string route(Point from, Point to, bool goesAround);

    /// Around the boxes and all ways that have been found.
    const Box& extent() const { return all; }

private:
    struct CellRange {
        long left, right, top, bottom;
    };
    CellRange cellsOf(const Box& area) const;
    bool isClear(const Box& area);
    bool isCurveClear(Point from, Point to);
    bool isWayClear(Point from, double out, double lane, double in, Point to);

    std::vector<Box> boxes;
    /// The pieces of wires that have been routed, and borders of frames.
    std::vector<Box> levels, uprights;
    std::size_t routed = 0;
    /// Boxes by the cells of a grid.
    std::unordered_map<long, std::vector<std::size_t>> cells;
    double cellWidth = 1, cellHeight = 1;
    std::vector<double> lanes;
    Box all;
    double lowestLane = 0;
    /// Cells that may still be looked into: what a picture without a clear way costs has an end.
    long patience = 20'000'000;
};

}  // namespace kelvane
