#include "Pictures/LayeredGraph.h"

#include <algorithm>

#include "Pictures/Rows.h"

namespace kelvane {
namespace {

constexpr auto none = LayoutRequest::none;

/// Takes a request apart, step by step.
class GraphBuilder {
public:
    explicit GraphBuilder(const LayoutRequest& chosen)
        : request(chosen),
          graph{chosen, {}, {}, {}, {}, {}, {}, {}, {}, {}, {}},
          out(chosen.boxes.size(), chosen.edges.size(), [&](std::size_t i) { return chosen.edges[i].from; }),
          in(chosen.boxes.size(), chosen.edges.size(), [&](std::size_t i) { return chosen.edges[i].to; }) {
        for (const auto& edge : request.edges) graph.isLaid.push_back(!edge.isBack && edge.from != edge.to);
    }

    LayeredGraph build() && {
        leaveOutRings();
        findLayers();
        pullSourcesToReaders();
        findSpans();
        addItems();
        keepPlacesOfGroups();
        for (std::size_t i = 0; i < graph.items.size(); ++i) {
            graph.place.push_back(graph.layers[graph.items[i].layer].size());
            graph.layers[graph.items[i].layer].push_back(i);
        }
        return std::move(graph);
    }

private:
    // An edge that leads to a box on the way there closes a ring.
    void leaveOutRings() {
        enum : std::uint8_t { unseen, open, done };
        std::vector<std::uint8_t> state(request.boxes.size(), unseen);
        std::vector<std::pair<std::size_t, std::size_t>> way;
        const auto visit = [&](std::size_t start) {
            if (state[start] != unseen) return;
            way.emplace_back(start, 0);
            state[start] = open;
            while (!way.empty()) {
                auto& [box, next] = way.back();
                const auto edges = out.row(box);
                if (next == edges.size()) {
                    state[box] = done;
                    finished.push_back(box);
                    way.pop_back();
                    continue;
                }
                const auto edge = edges[next++];
                if (!graph.isLaid[edge]) continue;
                const auto target = request.edges[edge].to;
                if (state[target] == open) graph.isLaid[edge] = false;
                if (state[target] != unseen) continue;
                state[target] = open;
                way.emplace_back(target, 0);
            }
        };
        for (std::size_t i = 0; i < request.boxes.size(); ++i)
            if (request.boxes[i].isFirst || in.row(i).empty()) visit(i);
        for (std::size_t i = 0; i < request.boxes.size(); ++i) visit(i);
    }

    void findLayers() {
        graph.layerOf.assign(request.boxes.size(), 0);
        for (auto box = finished.rbegin(); box != finished.rend(); ++box) {
            for (const auto edge : out.row(*box)) {
                if (!graph.isLaid[edge]) continue;
                auto& layer = graph.layerOf[request.edges[edge].to];
                layer = std::max(layer, graph.layerOf[*box] + 1);
            }
        }
    }

    void pullSourcesToReaders() {
        std::vector<bool> isFree(request.boxes.size());
        for (auto box = finished.rbegin(); box != finished.rend(); ++box) {
            const auto feeders = in.row(*box);
            isFree[*box] = !request.boxes[*box].isFirst &&
                           std::all_of(feeders.begin(), feeders.end(), [&](std::size_t edge) {
                               return !graph.isLaid[edge] || isFree[request.edges[edge].from];
                           });
        }
        for (const auto box : finished) {
            if (!isFree[box]) continue;
            std::size_t nearest = none;
            for (const auto edge : out.row(box))
                if (graph.isLaid[edge]) nearest = std::min(nearest, graph.layerOf[request.edges[edge].to]);
            if (nearest != none) graph.layerOf[box] = nearest - 1;
        }
        std::size_t layers = 0;
        for (const auto layer : graph.layerOf) layers = std::max(layers, layer + 1);
        graph.layers.resize(layers);
    }

    void findSpans() {
        const auto& groups = request.groups;
        graph.firstLayer.assign(groups.size(), none);
        graph.lastLayer.assign(groups.size(), 0);
        graph.depth.assign(groups.size(), 0);
        const auto extend = [&](std::size_t group, std::size_t from, std::size_t to) {
            if (group == none) return;
            graph.firstLayer[group] = std::min(graph.firstLayer[group], from);
            graph.lastLayer[group] = std::max(graph.lastLayer[group], to);
        };
        for (std::size_t i = 0; i < request.boxes.size(); ++i)
            extend(request.boxes[i].group, graph.layerOf[i], graph.layerOf[i]);
        for (std::size_t i = groups.size(); i-- > 0;)
            if (graph.firstLayer[i] != none)
                extend(groups[i].parent, graph.firstLayer[i], graph.lastLayer[i]);
        for (std::size_t i = 0; i < groups.size(); ++i)
            graph.depth[i] = groups[i].parent == none ? 1 : graph.depth[groups[i].parent] + 1;
    }

    // The innermost group around the box that spans the layer.
    std::size_t groupAt(std::size_t box, std::size_t layer) const {
        auto group = request.boxes[box].group;
        while (group != none && (layer < graph.firstLayer[group] || layer > graph.lastLayer[group]))
            group = request.groups[group].parent;
        return group;
    }
    std::size_t depthOf(std::size_t group) const { return group == none ? 0 : graph.depth[group]; }

    void addItems() {
        for (std::size_t i = 0; i < request.boxes.size(); ++i)
            graph.items.push_back({graph.layerOf[i], request.boxes[i].group, i, none});
        // The longest edges give way where all together would need too many passages.
        std::vector<std::size_t> order;
        for (std::size_t i = 0; i < request.edges.size(); ++i)
            if (graph.isLaid[i]) order.push_back(i);
        const auto span = [&](std::size_t i) {
            return graph.layerOf[request.edges[i].to] - graph.layerOf[request.edges[i].from];
        };
        std::stable_sort(order.begin(), order.end(),
                         [&](std::size_t a, std::size_t b) { return span(a) < span(b); });
        std::size_t room = 60000 + 8 * request.boxes.size();
        graph.passages.resize(request.edges.size());
        for (const auto i : order) {
            if (span(i) - 1 > room) {
                graph.isLaid[i] = false;
                continue;
            }
            room -= span(i) - 1;
            addPassages(i);
        }
    }

    void addPassages(std::size_t i) {
        const auto& edge = request.edges[i];
        std::size_t last = edge.from;
        double lastY = edge.fromY;
        for (auto layer = graph.layerOf[edge.from] + 1; layer < graph.layerOf[edge.to]; ++layer) {
            const auto before = groupAt(edge.from, layer), after = groupAt(edge.to, layer);
            graph.passages[i].push_back(graph.items.size());
            graph.segments.push_back({last, graph.items.size(), lastY, 0});
            last = graph.items.size();
            lastY = 0;
            graph.items.push_back({layer, depthOf(before) > depthOf(after) ? before : after, none, i});
        }
        graph.segments.push_back({last, edge.to, lastY, edge.toY});
    }

    void keepPlacesOfGroups() {
        std::vector<std::vector<bool>> isThere(request.groups.size());
        std::size_t room = 60000 + 8 * request.boxes.size();
        for (std::size_t i = 0; i < request.groups.size(); ++i) {
            const auto span = graph.firstLayer[i] == none ? 0 : graph.lastLayer[i] - graph.firstLayer[i] + 1;
            if (span > room) continue;
            room -= span;
            isThere[i].resize(span);
        }
        for (const auto& item : graph.items) {
            for (auto group = item.group; group != none; group = request.groups[group].parent)
                if (!isThere[group].empty()) isThere[group][item.layer - graph.firstLayer[group]] = true;
        }
        for (std::size_t i = request.groups.size(); i-- > 0;) {
            for (std::size_t k = 0; k < isThere[i].size(); ++k) {
                if (isThere[i][k]) continue;
                const auto layer = graph.firstLayer[i] + k;
                graph.items.push_back({layer, i});
                for (auto group = request.groups[i].parent; group != none;
                     group = request.groups[group].parent)
                    if (!isThere[group].empty()) isThere[group][layer - graph.firstLayer[group]] = true;
            }
        }
    }

    const LayoutRequest& request;
    LayeredGraph graph;
    const Rows out, in;
    /// Each box after those that it feeds.
    std::vector<std::size_t> finished;
};

}  // namespace

LayeredGraph layeredGraph(const LayoutRequest& request) { return GraphBuilder(request).build(); }

}  // namespace kelvane
