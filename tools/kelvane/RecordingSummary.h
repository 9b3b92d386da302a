#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "KelvaneSDK/FileProcessing/InputRecording.h"

namespace kelvane {

/// How often something was met, and the line, from 1, of the first time.
struct Occurrences {
    std::size_t count = 0;
    std::size_t firstLine = 0;

    void add(std::size_t line) {
        if (count++ == 0) firstLine = line;
    }
};

/// The times between a stream's values, in classes that are an eighth of an octave wide, so that memory does
/// not grow with their number.
class Intervals {
public:
    struct Gaps {
        std::size_t count = 0;
        double longest = 0;
        double after = 0;  ///< the time at which the longest one begins
    };

    void add(double interval, double begin);
    /// Values per second where there are no gaps; absent without an interval.
    std::optional<double> rate() const;
    /// Those of more than three times the median.
    Gaps gaps() const;

private:
    struct Class {
        std::size_t count = 0;
        double sum = 0;
    };
    struct Division {
        Class usual, gaps;
    };

    Division divided() const;

    std::map<std::uint64_t, Class> classes;
    double longest = 0, longestBegin = 0;
};

/// What was counted of one stream.
struct StreamSummary {
    /// The least and the most of a component of the values; empty when there was none.
    struct Range {
        double least = 0, most = 0;
    };

    std::string name;
    /// Updates by the type of their value, those without one included.
    std::map<KelvaneSDK::ValueType, std::size_t> types;
    std::size_t count = 0;
    Occurrences withoutValue, repeatedTimes, backwardTimes;
    double first = 0, last = 0;
    /// The type of the first value.
    std::optional<KelvaneSDK::ValueType> firstType;
    /// Of the values of that type: a number's, a truth's (0 or 1), a vector's or an orientation's
    /// components, or how many elements or bytes a list, sequence or text has.
    std::vector<Range> ranges;
    Intervals intervals;

    void add(const KelvaneSDK::RecordedUpdate& update);

private:
    void addRange(const KelvaneSDK::Value& value);
};

/// What was counted of a recording, update by update. Memory does not grow with its length: of more streams
/// than anybody reads about, only the updates are counted.
class RecordingSummary {
public:
    void add(const KelvaneSDK::RecordedUpdate& update);

    /// In the order in which they came up.
    const std::vector<StreamSummary>& streams() const { return known; }
    std::size_t updates() const { return updateCount; }
    /// Neighbouring updates of one time.
    std::size_t batches() const { return batchCount; }
    /// Updates of streams that are not listed.
    std::size_t updatesOfOthers() const { return others; }
    const Occurrences& backwardTimes() const { return backward; }
    double least() const { return earliest; }
    double most() const { return latest; }

private:
    static constexpr std::size_t mostStreams = 10'000, mostNameBytes = 16 << 20;

    StreamSummary* find(std::string_view name);

    std::vector<StreamSummary> known;
    std::map<std::string, std::size_t, std::less<>> places;
    std::size_t nameBytes = 0;
    std::size_t updateCount = 0, batchCount = 0, others = 0;
    double earliest = 0, latest = 0, previous = 0;
    Occurrences backward;
};

/// As a table for people, or as JSON; `name` is the recording's.
std::string textOf(const RecordingSummary& summary, const std::string& name);
std::string jsonOf(const RecordingSummary& summary, const std::string& name);

}  // namespace kelvane
