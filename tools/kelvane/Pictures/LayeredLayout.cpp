#include "Pictures/LayeredLayout.h"

#include <algorithm>
#include <cmath>

#include "Pictures/LayeredGraph.h"

namespace kelvane {
namespace {

/// Where each layer begins, and how wide it is.
struct LayerColumns {
    std::vector<double> x, width;
    double right(std::size_t layer) const { return x[layer] + width[layer]; }
};

// How many frames begin in the first layer of each group, one around the other; or end in its last.
std::vector<double> nestedEdges(const LayeredGraph& graph, const std::vector<std::size_t>& layerOfEdge) {
    const auto& groups = graph.request.groups;
    std::vector<double> levels(groups.size(), 1), most(graph.layers.size());
    for (std::size_t i = groups.size(); i-- > 0;) {
        const auto layer = layerOfEdge[i], parent = groups[i].parent;
        if (layer >= most.size()) continue;
        most[layer] = std::max(most[layer], levels[i]);
        if (parent != LayoutRequest::none && layerOfEdge[parent] == layer)
            levels[parent] = std::max(levels[parent], levels[i] + 1);
    }
    return most;
}

LayerColumns columnsOf(const LayeredGraph& graph, const LayerHeights& heights) {
    const auto count = graph.layers.size();
    LayerColumns columns{std::vector<double>(count), std::vector<double>(count)};
    std::vector<double> steepest(count);
    for (std::size_t i = 0; i < graph.request.boxes.size(); ++i) {
        auto& width = columns.width[graph.layerOf[i]];
        width = std::max(width, graph.request.boxes[i].width);
    }
    for (const auto& segment : graph.segments) {
        auto& rise = steepest[graph.items[segment.from].layer];
        rise = std::max(rise, std::abs(heights.ofItem[segment.from] + segment.fromY -
                                       heights.ofItem[segment.to] - segment.toY));
    }
    const auto begins = nestedEdges(graph, graph.firstLayer), ends = nestedEdges(graph, graph.lastLayer);
    for (std::size_t i = 1; i < count; ++i) {
        const double slope = std::min(70.0, steepest[i - 1] * 0.1);
        columns.x[i] =
            columns.right(i - 1) + graph.request.gap + slope + framePadding * (ends[i - 1] + begins[i]);
    }
    return columns;
}

}  // namespace

LayeredLayout layeredLayout(const LayoutRequest& request) {
    auto graph = layeredGraph(request);
    orderLayers(graph);
    const auto heights = layerHeights(graph);
    const auto columns = columnsOf(graph, heights);
    LayeredLayout layout;
    for (std::size_t i = 0; i < request.boxes.size(); ++i) {
        const auto layer = graph.layerOf[i];
        layout.places.push_back(
            {columns.x[layer] + (columns.width[layer] - request.boxes[i].width) / 2, heights.ofItem[i]});
    }
    layout.paths.resize(request.edges.size());
    for (std::size_t i = 0; i < request.edges.size(); ++i) {
        if (!graph.isLaid[i]) continue;
        const auto& edge = request.edges[i];
        const auto from = layout.places[edge.from], to = layout.places[edge.to];
        auto& path = layout.paths[i];
        const double begin = from.y + edge.fromY, end = to.y + edge.toY;
        path.push_back({from.x + request.boxes[edge.from].width, begin});
        path.push_back({columns.right(graph.layerOf[edge.from]), begin});
        for (const auto item : graph.passages[i]) {
            const auto layer = graph.items[item].layer;
            path.push_back({columns.x[layer], heights.ofItem[item]});
            path.push_back({columns.right(layer), heights.ofItem[item]});
        }
        path.push_back({columns.x[graph.layerOf[edge.to]], end});
        path.push_back({to.x, end});
    }
    return layout;
}

}  // namespace kelvane
