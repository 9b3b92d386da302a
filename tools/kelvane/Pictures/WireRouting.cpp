#include "Pictures/WireRouting.h"

#include <algorithm>
#include <cmath>

#include "Pictures/Markup.h"

namespace kelvane {
namespace {

constexpr double clearance = 5;
constexpr std::size_t mostLanesTried = 160;

std::string pointText(Point point) { return pictureNumber(point.x) + " " + pictureNumber(point.y); }

std::string curveText(Point control1, Point control2, Point to) {
    return "C" + pointText(control1) + " " + pointText(control2) + " " + pointText(to);
}

double reach(Point from, Point to) {
    const double across = to.x - from.x;
    return across > 0 ? std::max(across / 2, std::min(30.0, across)) : std::min(180.0, 40 - across / 3);
}

// Level and upright pieces, with round corners.
std::string roundedPath(const std::vector<Point>& points) {
    std::string path = "M" + pointText(points.front());
    for (std::size_t i = 1; i + 1 < points.size(); ++i) {
        const auto before = points[i - 1], corner = points[i], after = points[i + 1];
        const double in = std::hypot(corner.x - before.x, corner.y - before.y);
        const double out = std::hypot(after.x - corner.x, after.y - corner.y);
        const double radius = std::min({10.0, in / 2, out / 2});
        if (radius < 0.1) continue;
        const auto towards = [&](Point other, double length, double share) {
            return Point{corner.x + (other.x - corner.x) / length * share,
                         corner.y + (other.y - corner.y) / length * share};
        };
        path += "L" + pointText(towards(before, in, radius)) +
                curveText(towards(before, in, radius * 0.45), towards(after, out, radius * 0.45),
                          towards(after, out, radius));
    }
    return path + "L" + pointText(points.back());
}

}  // namespace

std::string curvedPath(const std::vector<Point>& points) {
    std::string path = "M" + pointText(points.front());
    for (std::size_t i = 1; i < points.size(); ++i) {
        const auto from = points[i - 1], to = points[i];
        const bool isLevel = std::abs(from.y - to.y) < 0.01;
        // Level pieces that follow one another are one.
        if (isLevel && i + 1 < points.size() && std::abs(points[i + 1].y - to.y) < 0.01) continue;
        const double middle = (from.x + to.x) / 2;
        path += isLevel ? "L" + pointText(to) : curveText({middle, from.y}, {middle, to.y}, to);
    }
    return path;
}

WireRouter::WireRouter(std::vector<Box> obstacles) : boxes(std::move(obstacles)) {
    if (boxes.empty()) return;
    for (const auto& box : boxes) {
        cellWidth += box.width;
        cellHeight += box.height;
    }
    cellWidth = cellWidth / static_cast<double>(boxes.size()) + 40;
    cellHeight = cellHeight / static_cast<double>(boxes.size()) + 20;
    all = boxes.front();
    for (std::size_t i = 0; i < boxes.size(); ++i) {
        const auto& box = boxes[i];
        all = all.with(box);
        for (const double distance : {10.0, 18.0, 26.0}) {
            lanes.push_back(box.y - distance);
            lanes.push_back(box.bottom() + distance);
        }
        const auto range = cellsOf(box);
        for (long x = range.left; x <= range.right; ++x)
            for (long y = range.top; y <= range.bottom; ++y) cells[x * 1'000'003 + y].push_back(i);
    }
    lowestLane = all.bottom() + 6;
    std::sort(lanes.begin(), lanes.end());
    lanes.erase(std::unique(lanes.begin(), lanes.end(), [](double a, double b) { return b - a < 3; }),
                lanes.end());
}

void WireRouter::keepOff(const Box& frame) {
    levels.push_back({frame.x, frame.y, frame.width, 1});
    levels.push_back({frame.x, frame.bottom(), frame.width, 1});
    uprights.push_back({frame.x, frame.y, 1, frame.height});
    uprights.push_back({frame.right(), frame.y, 1, frame.height});
}

WireRouter::CellRange WireRouter::cellsOf(const Box& area) const {
    const auto cell = [](double at, double size) { return std::lround(std::floor(at / size)); };
    return {cell(area.x, cellWidth), cell(area.right(), cellWidth), cell(area.y, cellHeight),
            cell(area.bottom(), cellHeight)};
}

bool WireRouter::isClear(const Box& area) {
    const auto range = cellsOf(area);
    for (long x = range.left; x <= range.right; ++x) {
        for (long y = range.top; y <= range.bottom; ++y) {
            if (--patience < 0) return false;
            const auto cell = cells.find(x * 1'000'003 + y);
            if (cell == cells.end()) continue;
            patience -= static_cast<long>(cell->second.size());
            for (const auto i : cell->second)
                if (boxes[i].overlaps(area)) return false;
        }
    }
    return true;
}

bool WireRouter::isCurveClear(Point from, Point to) {
    if (to.x - from.x < 30) return false;
    constexpr int steps = 32;
    const double middle = reach(from, to);
    Point last = from;
    for (int i = 1; i <= steps; ++i) {
        const double t = static_cast<double>(i) / steps, u = 1 - t;
        const Point point{u * u * u * from.x + 3 * u * u * t * (from.x + middle) +
                              3 * u * t * t * (to.x - middle) + t * t * t * to.x,
                          (u * u * u + 3 * u * u * t) * from.y + (3 * u * t * t + t * t * t) * to.y};
        // The ends are at boxes themselves.
        Box area{std::max(std::min(last.x, point.x), from.x + 1), std::min(last.y, point.y) - clearance, 0,
                 std::abs(last.y - point.y) + 2 * clearance};
        area.width = std::min(std::max(last.x, point.x), to.x - 1) - area.x;
        if (area.width > 0 && !isClear(area)) return false;
        last = point;
    }
    return true;
}

bool WireRouter::isWayClear(Point from, double out, double lane, double in, Point to) {
    const auto upright = [&](double x, double a, double b) {
        return Box{x, std::min(a, b), 0, std::abs(a - b)}.grown(clearance);
    };
    const auto level = Box{std::min(out, in), lane, std::abs(out - in), 0}.grown(clearance);
    const auto leaving = upright(out, from.y, lane), reaching = upright(in, lane, to.y);
    patience -= static_cast<long>(levels.size());
    // Wires may cross, but not run along one another.
    const auto isFree = [](const std::vector<Box>& taken, const Box& area) {
        const Box inner = area.grown(-3);
        return std::none_of(taken.begin(), taken.end(), [&](const Box& box) { return box.overlaps(inner); });
    };
    return isFree(levels, level) && isFree(uprights, leaving) && isFree(uprights, reaching) &&
           isClear(level) && isClear(leaving) && isClear(reaching) &&
           isClear({from.x + 1, from.y - 3, out - from.x - 1, 6}) &&
           isClear({in, to.y - 3, to.x - in - 1, 6});
}

std::string WireRouter::route(Point from, Point to, bool goesAround) {
    const double middle = reach(from, to);
    const auto curve =
        "M" + pointText(from) + curveText({from.x + middle, from.y}, {to.x - middle, to.y}, to);
    if (patience <= 0 || (!goesAround && isCurveClear(from, to)) || ++routed > 1500) return curve;
    const auto way = [&](double out, double lane, double in) {
        levels.push_back({std::min(out, in), lane - 0.5, std::abs(out - in), 1});
        uprights.push_back({out - 0.5, std::min(from.y, lane), 1, std::abs(from.y - lane)});
        uprights.push_back({in - 0.5, std::min(to.y, lane), 1, std::abs(to.y - lane)});
        all = all.with(levels.back());
        return roundedPath({from, {out, from.y}, {out, lane}, {in, lane}, {in, to.y}, to});
    };
    // From the height of the ends up and down: the nearest lanes come first.
    auto below = std::lower_bound(lanes.begin(), lanes.end(), (from.y + to.y) / 2);
    auto above = below;
    for (std::size_t tried = 0; tried < mostLanesTried; ++tried) {
        const bool hasBelow = below != lanes.end(), hasAbove = above != lanes.begin();
        if (!hasBelow && !hasAbove) break;
        const auto cost = [&](double lane) { return std::abs(lane - from.y) + std::abs(lane - to.y); };
        const bool takesBelow = hasBelow && (!hasAbove || cost(*below) <= cost(*(above - 1)));
        const double lane = takesBelow ? *below++ : *--above;
        for (const double stub : {16.0, 24.0, 32.0, 40.0})
            if (isWayClear(from, from.x + stub, lane, to.x - stub, to))
                return way(from.x + stub, lane, to.x - stub);
    }
    for (const double stub : {16.0, 22.0, 28.0, 34.0, 40.0, 46.0}) {
        if (!isWayClear(from, from.x + stub, lowestLane + 8, to.x - stub, to)) continue;
        lowestLane += 8;
        return way(from.x + stub, lowestLane, to.x - stub);
    }
    return curve;
}

}  // namespace kelvane
