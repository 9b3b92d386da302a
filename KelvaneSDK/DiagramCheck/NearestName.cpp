#include "KelvaneSDK/DiagramCheck/DiagramCheck.h"

#include <algorithm>
#include <array>

namespace KelvaneSDK {

namespace {

constexpr std::size_t longestName = 64;
using HalfEdits = std::size_t;

char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

HalfEdits substitution(char a, char b) {
    if (a == b) return 0;
    return lower(a) == lower(b) ? 1 : 2;
}

bool differsInCaseOnly(std::string_view a, std::string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char x, char y) { return lower(x) == lower(y); });
}

// Edit distance with adjacent letters swapped as one edit, in half edits; at least `limit` when it is not
// below.
HalfEdits distance(std::string_view a, std::string_view b, HalfEdits limit) {
    std::array<std::array<HalfEdits, longestName + 1>, 3> rows{};
    for (std::size_t j = 0; j <= b.size(); ++j) rows[0][j] = 2 * j;
    HalfEdits leastBefore = 0;
    for (std::size_t i = 1; i <= a.size(); ++i) {
        const auto& beforePrevious = rows[(i + 1) % 3];
        const auto& previous = rows[(i + 2) % 3];
        auto& current = rows[i % 3];
        HalfEdits least = current[0] = 2 * i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            current[j] = std::min(
                {previous[j] + 2, current[j - 1] + 2, previous[j - 1] + substitution(a[i - 1], b[j - 1])});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1]) {
                current[j] = std::min(current[j], beforePrevious[j - 2] + 2);
            }
            least = std::min(least, current[j]);
        }
        // Two rows, since a swap reaches across one.
        if (std::min(least, leastBefore) >= limit) return limit;
        leastBefore = least;
    }
    return rows[a.size() % 3][b.size()];
}

}  // namespace

std::string_view nearestName(std::string_view name, std::span<const std::string_view> candidates) {
    if (name.empty() || name.size() > longestName) return {};
    const HalfEdits limit = 2 * std::clamp<std::size_t>(name.size() / 4, 1, 3);
    std::string_view nearest;
    HalfEdits best = limit + 1;
    for (const auto candidate : candidates) {
        const std::size_t longer = std::max(name.size(), candidate.size());
        const std::size_t shorter = std::min(name.size(), candidate.size());
        if (candidate.size() > longestName || 2 * (longer - shorter) >= best) continue;
        const HalfEdits edits = differsInCaseOnly(name, candidate) ? 1 : distance(name, candidate, best);
        if (edits < best) {
            best = edits;
            nearest = candidate;
        }
    }
    return nearest;
}

}  // namespace KelvaneSDK
