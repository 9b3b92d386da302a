#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

#include "Pictures/LayeredGraph.h"
#include "Pictures/Rows.h"

namespace kelvane {
namespace {

constexpr auto noItem = LayoutRequest::none;
constexpr double infinity = std::numeric_limits<double>::infinity();

/// What stands in a layer, from above: items, and the edges of frames.
struct LayerToken {
    enum Kind { item, top, bottom } kind;
    /// An item's, or a group's.
    std::size_t index;
};

/// Finds the y of everything: passages of one edge share theirs as far as nothing is in the way, so that the
/// edge is straight; between what stands side by side there is a least distance; within these, each goes
/// where its edges are level.
class HeightSearch {
public:
    explicit HeightSearch(const LayeredGraph& layered) : graph(layered) {
        for (const auto& layer : graph.layers) tokens.push_back(tokensOf(layer));
        chooseVariables();
        collectDistances();
    }

    LayerHeights find() && {
        y.assign(variableCount, 0);
        const Rows after(variableCount, distances.size(), [&](std::size_t i) { return distances[i].above; });
        const Rows before(variableCount, distances.size(), [&](std::size_t i) { return distances[i].below; });
        next = &after;
        previous = &before;
        sortVariables();
        collectPulls();
        std::vector<double> wanted(variableCount, -infinity);
        y = pushedDown(wanted);
        for (std::size_t i = 0; i < variableCount; ++i)
            if (!std::isfinite(y[i])) y[i] = 0;
        relax();
        straighten();
        LayerHeights result;
        for (std::size_t i = 0; i < graph.items.size(); ++i) result.ofItem.push_back(y[variableOf[i]]);
        return result;
    }

private:
    struct Distance {
        std::size_t above, below;
        double least;
    };
    /// The edge is level where the variable is at the other's y and this far below.
    struct Pull {
        std::size_t variable, other;
        double offset;
        bool isFeeder;
    };

    std::size_t topOf(std::size_t group) const { return firstFrame + 2 * group; }
    bool isFrame(std::size_t variable) const { return variable >= firstFrame; }

    std::vector<LayerToken> tokensOf(const std::vector<std::size_t>& layer) const {
        std::vector<LayerToken> result;
        std::vector<std::size_t> open, wanted;
        const auto closeTo = [&](std::size_t depth) {
            for (; open.size() > depth; open.pop_back()) result.push_back({LayerToken::bottom, open.back()});
        };
        for (const auto item : layer) {
            wanted.clear();
            for (auto group = graph.items[item].group; group != noItem;
                 group = graph.request.groups[group].parent)
                wanted.push_back(group);
            std::reverse(wanted.begin(), wanted.end());
            const auto same = std::mismatch(open.begin(), open.end(), wanted.begin(), wanted.end()).first;
            closeTo(static_cast<std::size_t>(same - open.begin()));
            for (std::size_t i = open.size(); i < wanted.size(); ++i) {
                open.push_back(wanted[i]);
                result.push_back({LayerToken::top, wanted[i]});
            }
            result.push_back({LayerToken::item, item});
        }
        closeTo(0);
        return result;
    }

    void chooseVariables() {
        variableOf.resize(graph.items.size());
        std::iota(variableOf.begin(), variableOf.end(), std::size_t{0});
        std::vector<std::size_t> nextPassage(graph.items.size(), noItem);
        for (const auto& passages : graph.passages)
            for (std::size_t i = 1; i < passages.size(); ++i) nextPassage[passages[i - 1]] = passages[i];
        for (std::size_t layer = 0; layer + 1 < tokens.size(); ++layer) shareBetween(layer, nextPassage);
        variableCount = firstFrame = graph.items.size();
        variableCount += 2 * graph.request.groups.size();
    }

    // Passages that keep their place among one another and among frames go on straight: as many as can.
    void shareBetween(std::size_t layer, const std::vector<std::size_t>& nextPassage) {
        const auto spansBoth = [&](const LayerToken& token) {
            return token.kind != LayerToken::item && graph.firstLayer[token.index] <= layer &&
                   graph.lastLayer[token.index] > layer;
        };
        // Of each item in the next layer: its token, and how many edges of frames stand above it.
        std::vector<std::pair<std::size_t, std::size_t>> places(graph.layers[layer + 1].size());
        std::size_t edges = 0;
        for (std::size_t i = 0; i < tokens[layer + 1].size(); ++i) {
            const auto& token = tokens[layer + 1][i];
            if (token.kind == LayerToken::item)
                places[graph.place[token.index]] = {i, edges};
            else
                edges += spansBoth(token);
        }
        struct Candidate {
            std::size_t item, target;
        };
        std::vector<Candidate> candidates;
        edges = 0;
        for (const auto& token : tokens[layer]) {
            if (token.kind != LayerToken::item) {
                edges += spansBoth(token);
                continue;
            }
            const auto following = nextPassage[token.index];
            if (following == noItem) continue;
            const auto [target, edgesThere] = places[graph.place[following]];
            if (edgesThere == edges) candidates.push_back({token.index, target});
        }
        // The longest rising sequence of targets.
        std::vector<std::size_t> ends, before(candidates.size(), noItem);
        for (std::size_t i = 0; i < candidates.size(); ++i) {
            const auto place = std::lower_bound(
                ends.begin(), ends.end(), candidates[i].target,
                [&](std::size_t end, std::size_t target) { return candidates[end].target < target; });
            if (place != ends.begin()) before[i] = *(place - 1);
            if (place == ends.end())
                ends.push_back(i);
            else
                *place = i;
        }
        for (auto i = ends.empty() ? noItem : ends.back(); i != noItem; i = before[i]) {
            const auto item = candidates[i].item;
            variableOf[nextPassage[item]] = variableOf[item];
        }
    }

    std::size_t variableOfToken(const LayerToken& token) const {
        if (token.kind == LayerToken::item) return variableOf[token.index];
        return topOf(token.index) + (token.kind == LayerToken::bottom ? 1 : 0);
    }

    double distanceBetween(const LayerToken& above, const LayerToken& below) const {
        const auto isBox = [&](const LayerToken& token) {
            return token.kind == LayerToken::item && graph.items[token.index].box != noItem;
        };
        double distance = 0;
        if (isBox(above)) distance += graph.request.boxes[graph.items[above.index].box].height;
        if (above.kind == LayerToken::top) return frameTitleHeight + (below.kind == LayerToken::item ? 6 : 4);
        if (below.kind == LayerToken::bottom) return distance + framePadding;
        if (isBox(above) && isBox(below)) return distance + 20;
        if (above.kind == LayerToken::item && below.kind == LayerToken::item)
            return distance + (isBox(above) || isBox(below) ? 14 : 9);
        return distance + 16;
    }

    void collectDistances() {
        for (const auto& layer : tokens) {
            for (std::size_t i = 1; i < layer.size(); ++i)
                distances.push_back({variableOfToken(layer[i - 1]), variableOfToken(layer[i]),
                                     distanceBetween(layer[i - 1], layer[i])});
        }
    }

    // Each after those above it.
    void sortVariables() {
        std::vector<std::size_t> waiting(variableCount);
        for (const auto& distance : distances) ++waiting[distance.below];
        for (std::size_t i = 0; i < variableCount; ++i)
            if (waiting[i] == 0) order.push_back(i);
        for (std::size_t i = 0; i < order.size(); ++i)
            for (const auto distance : next->row(order[i]))
                if (--waiting[distances[distance].below] == 0) order.push_back(distances[distance].below);
    }

    void collectPulls() {
        for (const auto& segment : graph.segments) {
            const auto from = variableOf[segment.from], to = variableOf[segment.to];
            if (from == to) continue;
            pulls.push_back({from, to, segment.toY - segment.fromY, false});
            pulls.push_back({to, from, segment.fromY - segment.toY, true});
        }
    }

    double least(std::size_t variable, const std::vector<double>& at) const {
        double bound = -infinity;
        for (const auto i : previous->row(variable))
            bound = std::max(bound, at[distances[i].above] + distances[i].least);
        return bound;
    }
    double most(std::size_t variable, const std::vector<double>& at) const {
        double bound = infinity;
        for (const auto i : next->row(variable))
            bound = std::min(bound, at[distances[i].below] - distances[i].least);
        return bound;
    }

    std::vector<double> pushedDown(const std::vector<double>& wanted) const {
        auto at = wanted;
        for (const auto variable : order) {
            at[variable] = std::max(wanted[variable], least(variable, at));
            if (!isFrame(variable) && at[variable] == -infinity) at[variable] = 0;
        }
        return at;
    }
    std::vector<double> pushedUp(const std::vector<double>& wanted) const {
        auto at = wanted;
        for (auto i = order.rbegin(); i != order.rend(); ++i) at[*i] = std::min(wanted[*i], most(*i, at));
        return at;
    }

    // The mean of two placements that keep all distances keeps them, too.
    void relax() {
        const std::size_t rounds = distances.size() < 20000 ? 60 : 16;
        std::vector<double> down(variableCount), up(variableCount), sum(variableCount), count(variableCount);
        for (std::size_t round = 0; round < rounds; ++round) {
            std::fill(sum.begin(), sum.end(), 0);
            std::fill(count.begin(), count.end(), 0);
            for (const auto& pull : pulls) {
                sum[pull.variable] += y[pull.other] + pull.offset;
                ++count[pull.variable];
            }
            for (std::size_t i = 0; i < variableCount; ++i) {
                if (isFrame(i)) {
                    down[i] = -infinity;
                    up[i] = infinity;
                } else {
                    down[i] = up[i] = count[i] > 0 ? (y[i] + sum[i] / count[i]) / 2 : y[i];
                }
            }
            const auto lower = pushedDown(down), upper = pushedUp(up);
            for (std::size_t i = 0; i < firstFrame; ++i) y[i] = (lower[i] + upper[i]) / 2;
        }
    }

    // As wide as what stands outside lets them be, or as tight as what stands inside.
    void setFrames(bool isTight) {
        const auto set = [&](std::size_t variable) {
            const bool isTop = (variable - firstFrame) % 2 == 0;
            const double bound = isTop == isTight ? most(variable, y) : least(variable, y);
            y[variable] = std::isfinite(bound) ? bound : isTop ? -1e9 : 1e9;
        };
        const auto setAll = [&](bool tops, auto begin, auto end) {
            for (auto i = begin; i != end; ++i)
                if (isFrame(*i) && ((*i - firstFrame) % 2 == 0) == tops) set(*i);
        };
        if (isTight) {
            setAll(true, order.rbegin(), order.rend());
            setAll(false, order.begin(), order.end());
        } else {
            setAll(true, order.begin(), order.end());
            setAll(false, order.rbegin(), order.rend());
        }
    }

    // One by one, each goes to where one of its edges is quite level, if there is room.
    void straighten() {
        const Rows pullsOf(variableCount, pulls.size(), [&](std::size_t i) { return pulls[i].variable; });
        std::vector<std::size_t> sequence;
        for (const auto& layer : graph.layers)
            for (const auto item : layer)
                if (variableOf[item] == item) sequence.push_back(item);
        std::vector<double> wanted;
        setFrames(true);
        const int rounds = distances.size() < 20000 ? 12 : 4;
        for (int round = 0; round <= rounds; ++round) {
            setFrames(false);
            for (const auto variable : sequence) {
                wanted.clear();
                // In the end, by what feeds it alone, so that chains are level from their beginning.
                for (const auto i : pullsOf.row(variable))
                    if (round < rounds || pulls[i].isFeeder)
                        wanted.push_back(y[pulls[i].other] + pulls[i].offset);
                if (wanted.empty()) continue;
                const auto middle = wanted.begin() + static_cast<std::ptrdiff_t>((wanted.size() - 1) / 2);
                std::nth_element(wanted.begin(), middle, wanted.end());
                const double low = least(variable, y), high = most(variable, y);
                y[variable] = std::max(low, std::min(*middle, high));
            }
            setFrames(true);
            std::reverse(sequence.begin(), sequence.end());
        }
    }

    const LayeredGraph& graph;
    std::vector<std::vector<LayerToken>> tokens;
    std::vector<std::size_t> variableOf;
    std::size_t variableCount = 0, firstFrame = 0;
    std::vector<Distance> distances;
    std::vector<Pull> pulls;
    const Rows* next = nullptr;
    const Rows* previous = nullptr;
    std::vector<std::size_t> order;
    std::vector<double> y;
};

}  // namespace

LayerHeights layerHeights(const LayeredGraph& graph) { return HeightSearch(graph).find(); }

}  // namespace kelvane
