#pragma once

// Internal: collects the updates of a batch as its lines come.

#include <cstdint>
#include <memory>
#include <memory_resource>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "KelvaneSDK/Kelvane/LabelledValues.h"

namespace KelvaneSDK {

/// The names of a recording's streams, stored once for as long as a batch refers to them.
class StreamNames {
public:
    struct Name {
        std::string_view text;
        std::uint64_t beginning = 0;  ///< the first eight bytes; ordered as the names are, where they differ
        std::size_t follower = 0;     ///< the name that came after this one last time
        std::uint64_t batch = 0;      ///< the batch that had the name last, and where in it
        std::size_t position = 0;
    };

    StreamNames() { forget(); }

    Name& operator[](std::size_t index) { return names[index]; }
    std::size_t size() const { return names.size(); }
    std::size_t indexOf(std::string_view text);
    const std::shared_ptr<const void>& owner() const { return storage; }
    /// Begins anew; batches keep the names that they refer to.
    void forget();

private:
    std::size_t add(std::string_view text);

    std::shared_ptr<const void> storage;
    std::pmr::monotonic_buffer_resource* memory = nullptr;
    std::vector<Name> names;
    std::unordered_map<std::string_view, std::size_t> indices;
    std::size_t previous = 0;
};

/// The updates of one timestamp, in the order of their lines.
class RecordingBatch {
public:
    double timestamp() const { return time; }
    bool isEmpty() const { return count == 0; }
    void begin(double timestamp) { time = timestamp; }
    /// Where the next update's value may be put.
    Value& spare() {
        if (count == values.size()) values.emplace_back(0.0);
        return values[count];
    }
    /// Adds the spare value under a name, or replaces that of the same name: then false.
    bool takeSpare(std::string_view name);
    /// Hands the updates over, sorted, and leaves the batch empty but for the spare value. Nothing happens
    /// when memory runs out.
    void moveTo(KelvaneInput& input);

private:
    struct Place {
        std::uint64_t beginning;
        std::size_t name, position;
    };

    double time = 0;
    std::uint64_t number = 1;
    StreamNames names;
    std::size_t count = 0, previousCount = 0;
    std::vector<Value> values;  // those of the batch, and behind them the spare one
    std::vector<Place> places;
};

}  // namespace KelvaneSDK
