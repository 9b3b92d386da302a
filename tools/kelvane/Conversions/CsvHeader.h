#pragma once

#include <optional>
#include <string>
#include <vector>

#include "KelvaneSDK/Value.h"

namespace kelvane {

/// A stream of a table with a column for each number.
struct CsvStream {
    std::string label;
    /// One, or those of x, y and z, and of w of an orientation.
    std::vector<std::size_t> columns;
    /// Of several columns: a vector or an orientation.
    std::optional<KelvaneSDK::ValueType> type = {};
};

/// The streams of the columns of a table but that of the times, in the order of their first columns. Columns
/// whose titles differ in a last x, y and z are one vector, and with a w one orientation: "acc.x", "Acc X
/// (g)", "acc_x", "accX". Titles that are nothing else ("x", "X (m/s^2)") are the vector that `unnamed`
/// calls. Other columns have their title as label, or "column 3".
std::vector<CsvStream> streamsOf(const std::vector<std::string>& titles, std::size_t timeColumn,
                                 const std::string& unnamed);

}  // namespace kelvane
