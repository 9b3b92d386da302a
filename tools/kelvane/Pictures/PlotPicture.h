#pragma once

#include <optional>
#include <string>

#include "Pictures/PlotData.h"
#include "Pictures/Theme.h"

namespace kelvane {

struct PlotOptions {
    Theme theme = Theme::automatic;
    /// Empty: the names of the files.
    std::string title;
    double width = 960;
    /// Absent: as much as the panels need.
    std::optional<double> height;
    /// The ends of the time axis; absent: of the values.
    std::optional<double> from, to;
};

/// The series as an SVG document: a panel for each name, one below the other, on one time axis. Numbers are
/// lines, booleans bands, texts labelled stretches; of the same name in several files, lines lie over each
/// other, and bands below each other.
std::string plotPicture(const PlotData& data, const PlotOptions& options);

}  // namespace kelvane
