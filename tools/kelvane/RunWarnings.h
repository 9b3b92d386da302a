#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "KelvaneSDK/KelvaneSDK.h"

namespace kelvane {

/// Notes, beside a run, what stays silent although it could have spoken and what is lost on the way. Costs
/// next to nothing as long as batches bear the names of the ones before.
class RunWarnings {
public:
    explicit RunWarnings(const KelvaneSDK::Kelvane& engine);

    /// A batch before its evaluation, and its result.
    void take(const KelvaneSDK::KelvaneInput& batch);
    void take(const KelvaneSDK::KelvaneOutput& result);
    /// A line that the library printed within the batch.
    void take(std::string_view line);
    /// What the reader dropped.
    void take(const KelvaneSDK::RecordingLosses& readLosses) { losses = readLosses; }

    /// After the whole run: each warning as a line, the gravest first. `command` is what asks why an output
    /// is silent: "kelvane why walk.kelvane walk.jsonl".
    void give(const std::function<void(const std::string&)>& takeLine, const std::string& command) const;

private:
    /// What the recording has under a name, or a stream refuses, or a result brings.
    struct Count {
        std::uint64_t count = 0;
        double first = 0;
        KelvaneSDK::ValueType type = KelvaneSDK::ValueType::Float;

        void add(double time) {
            if (count++ == 0) first = time;
        }
    };
    using Counts = std::map<std::string, Count, std::less<>>;

    Count* countOf(const KelvaneSDK::LabelledValues::Entry& update);
    std::vector<std::string> silentStreams() const;
    /// The names that no stream reads.
    std::vector<std::string> unreadNames() const;
    std::string nearestTo(const KelvaneSDK::Node& stream, const std::vector<std::string>& unread) const;
    std::vector<std::string> silentOutputs() const;

    const KelvaneSDK::Kelvane& engine;
    Counts names;
    /// Beyond so many names the rest is only counted.
    static constexpr std::size_t mostNames = 10000;
    /// Of the latest batch, by place.
    struct Guess {
        std::string_view name;
        Count* count;
    };
    std::vector<Guess> guesses;
    /// The library's line about a refused value, and the stream that it names.
    std::map<std::string, std::pair<std::string, Count>, std::less<>> refusals;
    std::set<std::string, std::less<>> cameOut;
    std::uint64_t resultSet = 0;
    Counts notNumbers;
    KelvaneSDK::RecordingLosses losses;
    struct Backward {
        std::uint64_t count = 0;
        double from = 0, to = 0;
    } backward;
    std::uint64_t updates = 0;
    double now = 0;
};

}  // namespace kelvane
