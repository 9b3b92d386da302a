#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "KelvaneSDK/Value.h"
#include "Report/ChunkWriter.h"

namespace kelvane {

/// A value for people: a text, list or sequence that is long without its end, "[1.0, 2.0, … 100000 values]".
std::string valueExcerpt(const KelvaneSDK::Value& value);

/// Every value that one node gave, in the order of a run's batches. Memory is in proportion to the values; of
/// texts and lists, only excerpts are kept.
class ValueSeries {
public:
    /// How the values are stored: components of doubles, integers, bytes of 0 and 1, texts.
    enum class Encoding { numbers, integers, booleans, texts };

    /// `batch` counts from 0 and never falls.
    void add(std::uint32_t batch, const KelvaneSDK::Value& value);

    std::size_t count() const { return valueCount; }
    /// Of the first value; meaningless without one, as all that follows.
    KelvaneSDK::ValueType type() const { return firstType; }
    Encoding encoding() const { return storedAs; }
    /// "float", "integer", "boolean" or "text".
    std::string_view encodingName() const;
    /// How many numbers a value has, and what they are called: nothing where it is one.
    std::vector<std::string_view> componentNames() const;
    /// Value i is of batch i.
    bool isDense() const { return batches.empty(); }

    /// Whether both are of the same batches and values, bit by bit.
    bool hasSameColumns(const ValueSeries& other) const;
    /// Writes the columns one behind the other: the batches, unless it is dense, and the values.
    void write(ChunkWriter& chunk) const;

private:
    void start(const KelvaneSDK::Value& value);
    void becomeTexts();
    void appendText(std::string_view text);

    std::size_t valueCount = 0;
    KelvaneSDK::ValueType firstType = KelvaneSDK::ValueType::Float;
    Encoding storedAs = Encoding::numbers;
    std::vector<std::uint32_t> batches;
    std::array<std::vector<double>, 4> components;
    std::vector<std::int64_t> integers;
    std::vector<std::uint8_t> booleans;
    std::vector<std::uint32_t> lengths;
    std::string texts;
};

}  // namespace kelvane
