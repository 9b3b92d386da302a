#pragma once

#include <cstddef>
#include <span>
#include <vector>

namespace kelvane {

/// Indices of things, in rows by what they belong to; in their order.
class Rows {
public:
    /// `rowOf(i)` is the row that thing i belongs to.
    template <class RowOf>
    Rows(std::size_t rowCount, std::size_t count, RowOf rowOf) : starts(rowCount + 1), indices(count) {
        for (std::size_t i = 0; i < count; ++i) ++starts[rowOf(i) + 1];
        for (std::size_t row = 0; row < rowCount; ++row) starts[row + 1] += starts[row];
        auto next = starts;
        for (std::size_t i = 0; i < count; ++i) indices[next[rowOf(i)]++] = i;
    }

    std::span<const std::size_t> row(std::size_t index) const {
        return std::span(indices).subspan(starts[index], starts[index + 1] - starts[index]);
    }

private:
    std::vector<std::size_t> starts, indices;
};

}  // namespace kelvane
