#pragma once

#include <algorithm>
#include <vector>

#include "Pictures/DrawnDiagram.h"
#include "Pictures/Rows.h"

namespace kelvane {

/// Calls `begin(frame)` and `end(frame)` around what stands in each frame, and `visit(node)` for each node,
/// last for those in no frame.
template <class Begin, class End, class Visit>
void forEachFrame(const DrawnDiagram& diagram, Begin begin, End end, Visit visit) {
    const auto count = diagram.frames.size();
    const Rows members(count + 1, diagram.nodes.size(),
                       [&](std::size_t i) { return std::min(diagram.nodes[i].frame, count); });
    std::vector<std::size_t> open;
    // Frames come in the order in which they begin.
    for (std::size_t i = 0; i < count; ++i) {
        while (!open.empty() && open.back() != diagram.frames[i].parent) {
            end(open.back());
            open.pop_back();
        }
        begin(i);
        open.push_back(i);
        for (const auto node : members.row(i)) visit(node);
    }
    for (; !open.empty(); open.pop_back()) end(open.back());
    for (const auto node : members.row(count)) visit(node);
}

}  // namespace kelvane
