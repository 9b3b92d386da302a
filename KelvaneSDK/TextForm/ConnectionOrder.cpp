#include "KelvaneSDK/TextForm/ConnectionOrder.h"

#include <functional>
#include <queue>

#include "KelvaneSDK/Kelvane/KeyOrder.h"

namespace KelvaneSDK {

namespace {

// The place of each node when every node comes behind those that feed it, and else in the present order; in a
// ring the first node comes first.
std::vector<std::size_t> dependencyRanks(std::size_t nodeCount, std::span<const TextWire> wires) {
    std::vector<std::size_t> feeders(nodeCount), firstOut(nodeCount + 1), targets(wires.size());
    for (const auto& wire : wires) {
        ++feeders[wire.to];
        ++firstOut[wire.from + 1];
    }
    for (std::size_t i = 0; i < nodeCount; ++i) firstOut[i + 1] += firstOut[i];
    auto next = firstOut;
    for (const auto& wire : wires) targets[next[wire.from]++] = wire.to;

    constexpr std::size_t unknown = static_cast<std::size_t>(-1);
    std::vector<std::size_t> ranks(nodeCount, unknown);
    std::priority_queue<std::size_t, std::vector<std::size_t>, std::greater<>> ready;
    for (std::size_t i = 0; i < nodeCount; ++i) {
        if (feeders[i] == 0) ready.push(i);
    }
    std::size_t firstInRing = 0;
    for (std::size_t rank = 0; rank < nodeCount; ++rank) {
        if (ready.empty()) {
            while (ranks[firstInRing] != unknown) ++firstInRing;
            ready.push(firstInRing);
        }
        const std::size_t node = ready.top();
        ready.pop();
        ranks[node] = rank;
        for (std::size_t out = firstOut[node]; out < firstOut[node + 1]; ++out) {
            const std::size_t target = targets[out];
            if (--feeders[target] == 0 && ranks[target] == unknown) ready.push(target);
        }
    }
    return ranks;
}

}  // namespace

std::vector<std::size_t> connectionOrder(ConnectionOrder order, std::size_t nodeCount,
                                         std::span<const TextWire> wires) {
    if (order == ConnectionOrder::byTarget) return orderBy(wires.size(), [](std::size_t) { return 0; });
    const auto ranks = dependencyRanks(nodeCount, wires);
    const auto byRank = orderBy(wires.size(), [&](std::size_t i) { return ranks[wires[i].to]; });
    if (order == ConnectionOrder::byDependency) return byRank;
    auto result = orderBy(wires.size(), [&](std::size_t i) { return wires[byRank[i]].from; });
    for (auto& place : result) place = byRank[place];
    return result;
}

}  // namespace KelvaneSDK
