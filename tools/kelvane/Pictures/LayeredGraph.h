#pragma once

#include <cstdint>
#include <vector>

#include "Pictures/LayeredLayout.h"

namespace kelvane {

/// What stands in a layer: a box, the passage of an edge that leads on, or what keeps a group's place where
/// it has neither.
struct LayerItem {
    std::size_t layer;
    std::size_t group;
    std::size_t box = LayoutRequest::none, edge = LayoutRequest::none;
};

/// A piece of an edge, between items of neighbouring layers.
struct LayerSegment {
    std::size_t from, to;
    double fromY, toY;
};

/// The request with each edge cut into pieces from layer to layer.
struct LayeredGraph {
    const LayoutRequest& request;
    std::vector<std::size_t> layerOf;
    /// The first are the boxes.
    std::vector<LayerItem> items;
    std::vector<LayerSegment> segments;
    /// The passages of each edge, one after the other; `isLaid` of those that lead on at all.
    std::vector<std::vector<std::size_t>> passages;
    std::vector<bool> isLaid;
    /// Of groups: the layers that they span, and how deep they are within others.
    std::vector<std::size_t> firstLayer, lastLayer, depth;
    /// Items by layers, from above; and the place of each in its layer.
    std::vector<std::vector<std::size_t>> layers;
    std::vector<std::size_t> place;
};

/// Finds the layers: the longest path to each box, without the edges that would close a ring.
LayeredGraph layeredGraph(const LayoutRequest& request);

/// Orders the items in each layer so that few edges cross; groups stay together, in one order everywhere.
void orderLayers(LayeredGraph& graph);

/// The y of each box, and of each passage.
struct LayerHeights {
    std::vector<double> ofItem;
};
LayerHeights layerHeights(const LayeredGraph& graph);

}  // namespace kelvane
