#pragma once

#include <cstddef>
#include <limits>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "KelvaneSDK/FileProcessing/InputRecording.h"

namespace kelvane {

/// The values of one name in one file, as numbers over time.
struct PlotSeries {
    std::string name;
    KelvaneSDK::ValueType type = KelvaneSDK::ValueType::Float;
    /// The place of its file among those that were read.
    std::size_t file = 0;
    /// In the order of the file, in which time may go back. Of a sequence, those of its samples.
    std::vector<double> times;
    /// A column for each component of a vector (x, y, z) or orientation (w, x, y, z), and one for all others:
    /// numbers as they are, 0 and 1 for booleans, how many elements an array has, and for a text its place
    /// in `texts`. NaN where the file has no value.
    std::vector<std::vector<double>> components;
    std::vector<std::string> texts;
    /// Values that are not there, or not finite, and those of another type than the first one's.
    std::size_t missing = 0, ofOtherTypes = 0;
};

/// What is drawn of files.
struct PlotChoice {
    /// Empty: all.
    std::vector<std::string> names;
    double from = -std::numeric_limits<double>::infinity(), to = std::numeric_limits<double>::infinity();
};

/// Collects series from updates; memory grows with the numbers that are drawn.
class PlotData {
public:
    explicit PlotData(PlotChoice chosen) : choice(std::move(chosen)) {}

    /// The updates that follow are of another file.
    void beginFile(std::string name);
    void add(const KelvaneSDK::RecordedUpdate& update);

    const std::vector<std::string>& files() const { return fileNames; }
    /// In the order in which their names came up.
    const std::vector<PlotSeries>& series() const { return all; }
    /// Every name that came up, chosen or not, as long as they are not too many.
    const std::map<std::string, bool, std::less<>>& namesMet() const { return met; }
    /// The first and last time of any update; the first is the larger one when there was none.
    double firstTime() const { return earliest; }
    double lastTime() const { return latest; }

private:
    bool isChosen(std::string_view name);
    PlotSeries& seriesOf(const KelvaneSDK::RecordedUpdate& update);
    void addSamples(PlotSeries& series, const KelvaneSDK::Value& value);
    double placeOf(PlotSeries& series, std::string_view text);

    PlotChoice choice;
    std::vector<std::string> fileNames;
    std::vector<PlotSeries> all;
    /// Of the file that is read, and of its series.
    std::map<std::string, std::size_t, std::less<>> places;
    std::map<std::size_t, KelvaneSDK::Value> sequences;
    std::map<std::size_t, std::map<std::string, double, std::less<>>> textPlaces;
    std::map<std::string, bool, std::less<>> met;
    double earliest = std::numeric_limits<double>::infinity(), latest = -earliest;
};

}  // namespace kelvane
