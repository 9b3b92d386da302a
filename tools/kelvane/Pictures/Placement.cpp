#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

#include "Pictures/DrawnDiagram.h"
#include "Pictures/LayeredLayout.h"
#include "Pictures/NodeSizes.h"
#include "Pictures/Rows.h"
#include "Pictures/WireRouting.h"

namespace kelvane {
namespace {

constexpr double betweenParts = 40;

// Constants beside their readers

/// Constants that feed one input alone stand beside it, unless another frame holds them.
void chooseConstantsBeside(DrawnDiagram& diagram, bool onlyUnplaced) {
    const auto& wires = diagram.wires;
    const Rows out(diagram.nodes.size(), wires.size(), [&](std::size_t i) { return wires[i].from; });
    const Rows in(diagram.nodes.size(), wires.size(), [&](std::size_t i) { return wires[i].to; });
    for (std::size_t i = 0; i < diagram.nodes.size(); ++i) {
        auto& node = diagram.nodes[i];
        if (node.kind != NodeKind::constant || out.row(i).size() != 1 || (onlyUnplaced && node.given))
            continue;
        const auto& wire = wires[out.row(i).front()];
        const auto frame = diagram.nodes[wire.to].frame;
        if (node.frame != frame && node.frame != nothing) continue;
        const auto feeders = in.row(wire.to);
        const auto others = std::count_if(feeders.begin(), feeders.end(),
                                          [&](std::size_t k) { return wires[k].input == wire.input; });
        if (others != 1) continue;
        node.reader = wire.to;
        node.frame = frame;
        node.readerInput = wire.input;
    }
}

/// What they take at the left of each node.
std::vector<double> marginsOf(const DrawnDiagram& diagram) {
    std::vector<double> margins(diagram.nodes.size());
    for (const auto& node : diagram.nodes) {
        if (node.reader == nothing) continue;
        auto& own = margins[node.reader];
        own = std::max(own, node.box.width + NodeSizes::besideGap);
    }
    return margins;
}

void placeConstantsBeside(DrawnDiagram& diagram) {
    for (auto& node : diagram.nodes) {
        if (node.reader == nothing) continue;
        const auto& reader = diagram.nodes[node.reader];
        node.box.x = reader.box.x - NodeSizes::besideGap - node.box.width;
        node.box.y = reader.box.y + reader.inputs[node.readerInput].place.y - node.box.height / 2;
    }
}

// Where the document has the nodes

/// How far the document's places must be stretched so that no boxes overlap; absent where that gives no
/// picture: places are missing, or so near to one another that the rest is far away then.
std::optional<double> documentScale(const DrawnDiagram& diagram, const std::vector<double>& margin) {
    const auto& nodes = diagram.nodes;
    if (nodes.empty()) return std::nullopt;
    double area = 0, left = 0, right = 0, top = 0, bottom = 0;
    for (const auto& node : nodes) {
        if (node.reader != nothing) continue;
        if (!node.given || std::abs(node.given->x) > 1e9 || std::abs(node.given->y) > 1e9)
            return std::nullopt;
        if (area == 0) {
            left = right = node.given->x;
            top = bottom = node.given->y;
        }
        area += (node.box.width + 60) * (node.box.height + 30);
        left = std::min(left, node.given->x);
        right = std::max(right, node.given->x);
        top = std::min(top, node.given->y);
        bottom = std::max(bottom, node.given->y);
    }
    double scale = 0.05;
    const auto keepApart = [&](std::size_t first, std::size_t second) {
        const auto &a = nodes[first], &b = nodes[second];
        const double dx = b.given->x - a.given->x, dy = b.given->y - a.given->y;
        const double wide = (dx > 0 ? a : b).box.width + 60 + margin[dx > 0 ? second : first],
                     high = (dy > 0 ? a : b).box.height + 24;
        scale = std::max(scale, std::min(wide / std::abs(dx), high / std::abs(dy)));
    };
    // Among many, only neighbours in either direction can come too near.
    const std::size_t window = nodes.size() <= 3000 ? nodes.size() : 300;
    std::vector<std::size_t> order;
    for (std::size_t i = 0; i < nodes.size(); ++i)
        if (nodes[i].reader == nothing) order.push_back(i);
    for (const auto coordinate : {&Point::x, &Point::y}) {
        std::stable_sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
            return (*nodes[a].given).*coordinate < (*nodes[b].given).*coordinate;
        });
        for (std::size_t i = 0; i < order.size(); ++i)
            for (std::size_t k = i + 1; k < order.size() && k - i <= window; ++k)
                keepApart(order[i], order[k]);
        if (window == nodes.size()) break;
    }
    const double spread = ((right - left) * scale + 100) * ((bottom - top) * scale + 100);
    return std::isfinite(scale) && spread < 40 * area ? std::optional(scale) : std::nullopt;
}

void placeAsGiven(DrawnDiagram& diagram, double scale) {
    for (auto& node : diagram.nodes) {
        if (node.reader != nothing) continue;
        node.box.x = node.given->x * scale;
        node.box.y = node.given->y * scale;
    }
}

// In layers

/// The parts of a diagram that neither wires nor frames join, each laid out by itself.
class LayeredPlacement {
public:
    LayeredPlacement(DrawnDiagram& target, double gap)
        : diagram(target), between(gap), partOf(target.nodes.size()), margin(marginsOf(target)) {}

    void place() {
        findParts();
        const Rows nodes(partCount, diagram.nodes.size(), [&](std::size_t i) { return partOf[i]; });
        const Rows wires(partCount, diagram.wires.size(),
                         [&](std::size_t i) { return partOf[diagram.wires[i].from]; });
        paths.resize(diagram.wires.size());
        for (std::size_t part = 0; part < partCount; ++part) placePart(nodes.row(part), wires.row(part));
        putSideBySide();
        for (std::size_t i = 0; i < diagram.wires.size(); ++i)
            if (!paths[i].empty()) diagram.wires[i].path = curvedPath(paths[i]);
    }

private:
    struct Part {
        std::vector<std::size_t> nodes, wires;
        Box box;
    };

    std::size_t leader(std::size_t node) {
        while (partOf[node] != node) node = partOf[node] = partOf[partOf[node]];
        return node;
    }

    void findParts() {
        const auto& frames = diagram.frames;
        std::iota(partOf.begin(), partOf.end(), std::size_t{0});
        const auto join = [&](std::size_t a, std::size_t b) {
            a = leader(a);
            b = leader(b);
            partOf[std::max(a, b)] = std::min(a, b);
        };
        for (const auto& wire : diagram.wires) join(wire.from, wire.to);
        std::vector<std::size_t> outermost(frames.size()), member(frames.size(), nothing);
        for (std::size_t i = 0; i < frames.size(); ++i)
            outermost[i] = frames[i].parent == nothing ? i : outermost[frames[i].parent];
        for (std::size_t i = 0; i < diagram.nodes.size(); ++i) {
            if (diagram.nodes[i].frame == nothing) continue;
            auto& first = member[outermost[diagram.nodes[i].frame]];
            if (first == nothing) first = i;
            join(first, i);
        }
        std::vector<std::size_t> number(diagram.nodes.size(), nothing);
        for (std::size_t i = 0; i < diagram.nodes.size(); ++i) {
            const auto first = leader(i);
            if (number[first] == nothing) number[first] = partCount++;
        }
        std::vector<std::size_t> numbered(diagram.nodes.size());
        for (std::size_t i = 0; i < numbered.size(); ++i) numbered[i] = number[leader(i)];
        partOf = std::move(numbered);
        frameIn.assign(frames.size(), nothing);
        index.assign(diagram.nodes.size(), nothing);
    }

    std::size_t groupOf(std::size_t frame, LayoutRequest& request) {
        if (frame == nothing) return LayoutRequest::none;
        if (frameIn[frame] != nothing) return frameIn[frame];
        const auto parent = groupOf(diagram.frames[frame].parent, request);
        request.groups.push_back({parent});
        return frameIn[frame] = request.groups.size() - 1;
    }

    void placePart(std::span<const std::size_t> nodes, std::span<const std::size_t> wires) {
        LayoutRequest request;
        request.gap = between;
        std::vector<std::size_t> placed;
        for (const auto i : nodes) {
            const auto& node = diagram.nodes[i];
            if (node.reader != nothing) continue;
            index[i] = placed.size();
            placed.push_back(i);
            request.boxes.push_back({node.box.width + margin[i], node.box.height,
                                     groupOf(node.frame, request), node.kind == NodeKind::stream});
        }
        std::vector<std::size_t> laid;
        for (const auto i : wires) {
            const auto& wire = diagram.wires[i];
            if (diagram.nodes[wire.from].reader != nothing) continue;
            if (wire.isFeedback) {
                // A stream that is fed back stands where it is read.
                request.boxes[index[wire.to]].isFirst = false;
                continue;
            }
            laid.push_back(i);
            request.edges.push_back({index[wire.from], index[wire.to],
                                     diagram.nodes[wire.from].output->place.y,
                                     diagram.nodes[wire.to].inputs[wire.input].place.y, false});
        }
        auto layout = layeredLayout(request);
        Part part{placed, laid, {}};
        for (std::size_t i = 0; i < placed.size(); ++i) {
            auto& box = diagram.nodes[placed[i]].box;
            box.x = layout.places[i].x + margin[placed[i]];
            box.y = layout.places[i].y;
        }
        for (std::size_t i = 0; i < laid.size(); ++i) {
            auto& path = layout.paths[i];
            const auto& target = diagram.nodes[diagram.wires[laid[i]].to];
            if (!path.empty()) path.push_back({target.box.x, path.back().y});
            paths[laid[i]] = std::move(path);
        }
        part.box = extentOf(placed);
        parts.push_back(std::move(part));
    }

    Box extentOf(const std::vector<std::size_t>& nodes) const {
        Box extent;
        for (const auto i : nodes) {
            const auto& node = diagram.nodes[i];
            const double depth =
                node.frame == nothing ? 0 : static_cast<double>(diagram.frames[node.frame].depth + 1);
            const double side = framePadding * depth, above = (frameTitleHeight + 6) * depth;
            const Box around{node.box.x - margin[i] - side, node.box.y - above,
                             node.box.width + margin[i] + 2 * side, node.box.height + above + side};
            extent = i == nodes.front() ? around : extent.with(around);
        }
        return extent;
    }

    // In rows, no wider than the widest part or a square would be.
    void putSideBySide() {
        double widest = 0, area = 0;
        for (const auto& part : parts) {
            widest = std::max(widest, part.box.width);
            area += (part.box.width + betweenParts) * (part.box.height + betweenParts);
        }
        widest = std::max(widest, std::sqrt(area) * 1.2);
        double x = 0, y = 0, rowHeight = 0;
        for (const auto& part : parts) {
            if (x > 0 && x + part.box.width > widest) {
                x = 0;
                y += rowHeight + betweenParts;
                rowHeight = 0;
            }
            const double dx = x - part.box.x, dy = y - part.box.y;
            for (const auto i : part.nodes) {
                diagram.nodes[i].box.x += dx;
                diagram.nodes[i].box.y += dy;
            }
            for (const auto i : part.wires) {
                for (auto& point : paths[i]) {
                    point.x += dx;
                    point.y += dy;
                }
            }
            x += part.box.width + betweenParts;
            rowHeight = std::max(rowHeight, part.box.height);
        }
    }

    DrawnDiagram& diagram;
    const double between;
    std::vector<std::size_t> partOf;
    const std::vector<double> margin;
    std::size_t partCount = 0;
    std::vector<std::size_t> frameIn, index;
    std::vector<Part> parts;
    std::vector<std::vector<Point>> paths;
};

void placeFrames(DrawnDiagram& diagram) {
    std::vector<bool> isSet(diagram.frames.size());
    const auto include = [&](std::size_t frame, const Box& box) {
        auto& own = diagram.frames[frame].box;
        const Box around{box.x - framePadding, box.y - frameTitleHeight - 6, box.width + 2 * framePadding,
                         box.height + frameTitleHeight + 6 + framePadding};
        own = isSet[frame] ? own.with(around) : around;
        isSet[frame] = true;
    };
    for (const auto& node : diagram.nodes)
        if (node.frame != nothing) include(node.frame, node.box);
    for (std::size_t i = diagram.frames.size(); i-- > 0;)
        if (diagram.frames[i].parent != nothing) include(diagram.frames[i].parent, diagram.frames[i].box);
}

void routeWires(DrawnDiagram& diagram) {
    std::vector<Box> obstacles;
    for (const auto& node : diagram.nodes) obstacles.push_back(node.box);
    for (const auto& frame : diagram.frames)
        if (!frame.title.empty())
            obstacles.push_back({frame.box.x + 8, frame.box.y + 2, std::min(frame.box.width - 16, 160.0),
                                 frameTitleHeight - 4});
    WireRouter router(std::move(obstacles));
    for (const auto& frame : diagram.frames) router.keepOff(frame.box);
    for (auto& wire : diagram.wires) {
        if (!wire.path.empty()) continue;
        const auto& source = diagram.nodes[wire.from];
        const auto& target = diagram.nodes[wire.to];
        if (source.reader != nothing) {
            const double y = source.box.y + source.box.height / 2;
            wire.path = curvedPath({{source.box.right(), y}, {target.box.x, y}});
            continue;
        }
        const auto out =
            source.output ? source.output->place : Point{source.box.width, source.box.height / 2};
        const auto in = wire.isFeedback ? Point{0, target.box.height / 2} : target.inputs[wire.input].place;
        wire.path = router.route({source.box.x + out.x, source.box.y + out.y},
                                 {target.box.x + in.x, target.box.y + in.y}, wire.isFeedback);
    }
    diagram.extent = router.extent();
}

}  // namespace

void placeDiagram(DrawnDiagram& diagram, double roomForValues) {
    chooseConstantsBeside(diagram, true);
    measureNodes(diagram);
    if (const auto scale = documentScale(diagram, marginsOf(diagram))) {
        placeAsGiven(diagram, *scale);
    } else {
        chooseConstantsBeside(diagram, false);
        measureNodes(diagram);
        LayeredPlacement(diagram, 44 + roomForValues).place();
    }
    placeConstantsBeside(diagram);
    placeFrames(diagram);
    routeWires(diagram);
}

}  // namespace kelvane
