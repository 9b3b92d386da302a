#include <algorithm>

#include "Pictures/LayeredGraph.h"
#include "Pictures/Rows.h"

namespace kelvane {
namespace {

constexpr auto noGroup = LayoutRequest::none;

/// Sweeps over the layers, to and fro: each item goes where those that it is connected to stand on average.
class LayerOrdering {
public:
    explicit LayerOrdering(LayeredGraph& layered)
        : graph(layered),
          left(layered.items.size(), layered.segments.size(),
               [&](std::size_t i) { return layered.segments[i].to; }),
          right(layered.items.size(), layered.segments.size(),
                [&](std::size_t i) { return layered.segments[i].from; }),
          gaps(std::max<std::size_t>(layered.layers.size(), 1), layered.segments.size(),
               [&](std::size_t i) { return layered.items[layered.segments[i].from].layer; }),
          itemKey(layered.items.size()),
          groupKey(layered.request.groups.size()) {}

    void run() {
        startInReadingOrder();
        sortAll();
        auto best = graph.layers;
        auto fewest = crossings();
        const std::size_t sweeps = graph.segments.size() < 5000 ? 24 : graph.segments.size() < 50000 ? 10 : 4;
        for (std::size_t sweep = 0; sweep < sweeps && fewest > 0; ++sweep) {
            sweepOver(sweep % 2 == 0);
            const auto count = crossings();
            if (count >= fewest) continue;
            fewest = count;
            best = graph.layers;
        }
        graph.layers = std::move(best);
        for (const auto& layer : graph.layers) setPlaces(layer);
    }

private:
    double fraction(std::size_t item, double y) const {
        const auto box = graph.items[item].box;
        if (box == noGroup) return 0.5;
        return y / std::max(graph.request.boxes[box].height, 1.0);
    }
    double position(std::size_t item, double y) const {
        const auto size = graph.layers[graph.items[item].layer].size();
        return (static_cast<double>(graph.place[item]) + fraction(item, y)) / static_cast<double>(size);
    }

    // From the last results back to what feeds them, input by input: as one would read a formula.
    void startInReadingOrder() {
        std::vector<bool> isSeen(graph.items.size());
        std::vector<std::size_t> way;
        double next = 0;
        const auto visit = [&](std::size_t start) {
            way.push_back(start);
            while (!way.empty()) {
                const auto item = way.back();
                way.pop_back();
                if (isSeen[item]) continue;
                isSeen[item] = true;
                itemKey[item] = next++;
                const auto feeders = left.row(item);
                std::vector<std::size_t> order(feeders.begin(), feeders.end());
                std::stable_sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
                    return graph.segments[a].toY > graph.segments[b].toY;
                });
                for (const auto segment : order) way.push_back(graph.segments[segment].from);
            }
        };
        for (std::size_t i = 0; i < graph.items.size(); ++i)
            if (right.row(i).empty()) visit(i);
        for (std::size_t i = 0; i < graph.items.size(); ++i) visit(i);
    }

    void findGroupKeys() {
        std::vector<double> sum(groupKey.size()), count(groupKey.size());
        for (std::size_t i = 0; i < graph.items.size(); ++i) {
            const auto group = graph.items[i].group;
            if (group == noGroup) continue;
            sum[group] += itemKey[i];
            ++count[group];
        }
        for (std::size_t i = groupKey.size(); i-- > 0;) {
            groupKey[i] = count[i] > 0 ? sum[i] / count[i] : 0;
            const auto parent = graph.request.groups[i].parent;
            if (parent == noGroup) continue;
            sum[parent] += sum[i];
            count[parent] += count[i];
        }
    }

    std::size_t depthOf(std::size_t group) const { return group == noGroup ? 0 : graph.depth[group]; }

    // Compares what the two stand in side by side: groups, or themselves.
    bool goesBefore(std::size_t a, std::size_t b) const {
        auto groupA = graph.items[a].group, groupB = graph.items[b].group;
        auto withinA = noGroup, withinB = noGroup;
        const auto climb = [&](std::size_t& group, std::size_t& within) {
            within = group;
            group = graph.request.groups[group].parent;
        };
        while (depthOf(groupA) > depthOf(groupB)) climb(groupA, withinA);
        while (depthOf(groupB) > depthOf(groupA)) climb(groupB, withinB);
        while (groupA != groupB) {
            climb(groupA, withinA);
            climb(groupB, withinB);
        }
        const double keyA = withinA == noGroup ? itemKey[a] : groupKey[withinA];
        const double keyB = withinB == noGroup ? itemKey[b] : groupKey[withinB];
        if (keyA != keyB) return keyA < keyB;
        if ((withinA == noGroup) != (withinB == noGroup)) return withinA == noGroup;
        if (withinA != withinB) return withinA < withinB;
        return graph.place[a] < graph.place[b];
    }

    void setPlaces(const std::vector<std::size_t>& layer) {
        for (std::size_t i = 0; i < layer.size(); ++i) graph.place[layer[i]] = i;
    }
    void sortLayer(std::vector<std::size_t>& layer) {
        std::sort(layer.begin(), layer.end(), [&](std::size_t a, std::size_t b) { return goesBefore(a, b); });
        setPlaces(layer);
    }
    void sortAll() {
        findGroupKeys();
        for (auto& layer : graph.layers) sortLayer(layer);
    }

    void sweepOver(bool forward) {
        for (std::size_t i = 0; i < graph.items.size(); ++i) itemKey[i] = keyOf(i, forward);
        findGroupKeys();
        for (std::size_t k = 0; k < graph.layers.size(); ++k) {
            auto& layer = graph.layers[forward ? k : graph.layers.size() - 1 - k];
            for (const auto item : layer) itemKey[item] = keyOf(item, forward);
            sortLayer(layer);
        }
    }

    double keyOf(std::size_t item, bool forward) const {
        const auto segments = forward ? left.row(item) : right.row(item);
        if (segments.empty()) return position(item, 0.5);
        double sum = 0;
        for (const auto i : segments) {
            const auto& segment = graph.segments[i];
            sum += forward ? position(segment.from, segment.fromY) : position(segment.to, segment.toY);
        }
        return sum / static_cast<double>(segments.size());
    }

    std::size_t crossings() {
        std::size_t count = 0;
        for (std::size_t gap = 0; gap + 1 < graph.layers.size(); ++gap) {
            ends.clear();
            for (const auto i : gaps.row(gap)) {
                const auto& segment = graph.segments[i];
                ends.emplace_back(position(segment.from, segment.fromY), position(segment.to, segment.toY));
            }
            std::sort(ends.begin(), ends.end());
            targets.clear();
            for (const auto& end : ends) targets.push_back(end.second);
            merged.resize(targets.size());
            count += inversions();
        }
        return count;
    }

    // Merges ever longer runs of the targets, counting what passes before what.
    std::size_t inversions() {
        std::size_t count = 0;
        for (std::size_t run = 1; run < targets.size(); run *= 2) {
            for (std::size_t begin = 0; begin < targets.size(); begin += 2 * run) {
                const auto middle = std::min(begin + run, targets.size());
                const auto end = std::min(begin + 2 * run, targets.size());
                auto a = begin, b = middle;
                for (auto to = begin; to < end; ++to) {
                    const bool takesB = b < end && (a == middle || targets[b] < targets[a]);
                    if (takesB) count += middle - a;
                    merged[to] = targets[takesB ? b++ : a++];
                }
            }
            targets.swap(merged);
        }
        return count;
    }

    LayeredGraph& graph;
    const Rows left, right, gaps;
    std::vector<double> itemKey, groupKey;
    std::vector<std::pair<double, double>> ends;
    std::vector<double> targets, merged;
};

}  // namespace

void orderLayers(LayeredGraph& graph) { LayerOrdering(graph).run(); }

}  // namespace kelvane
