#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

#include "KelvaneSDK/Value.h"

namespace [[gnu::visibility("default")]] KelvaneSDK {

/// Values by label, in ascending byte order of the labels: a sorted array with the interface of a map, since
/// a batch has few labels, and mostly the same as the one before.
///
///     LabelledValues updates{{"temperature", 21.5}, {"open", false}};
///     updates["temperature"] = 22.0;
///     for (const auto& [label, value] : updates) std::cout << label << getValueString(value);
///
/// The labels' bytes have one shared owner per object, so that copying it copies no label. Labels that are
/// inserted are copied into storage of its own; a producer whose labels live elsewhere, such as an engine,
/// names their owner with refill() and appends entries that point there.
///
/// Iterators and references end with any change of the set of labels. The bytes of a label stay where they
/// are while entries are inserted, unless others were erased before. Reading from several threads is safe.
class LabelledValues {
public:
    /// A label and its value. The value may be changed in place, the label must not.
    struct Entry {
        std::string_view first;
        Value second;

        /// The label's bytes are not copied: they must stay where they are as long as the entry does.
        Entry(std::string_view label, const Value& value) : first(label), second(value) {}
        Entry(std::string_view label, Value&& value) noexcept : first(label), second(std::move(value)) {}

        friend bool operator==(const Entry&, const Entry&) = default;
    };
    // By the names that standard containers have for them.
    using value_type = Entry;
    using iterator = std::vector<Entry>::iterator;
    using const_iterator = std::vector<Entry>::const_iterator;

    /// Without entries; allocates nothing.
    LabelledValues() = default;
    /// Sorts and copies the labels; of entries of one label the first counts.
    LabelledValues(std::initializer_list<Entry> list);

    /// The entries in the order of their labels; values may be changed on the way.
    iterator begin() { return entries.begin(); }
    iterator end() { return entries.end(); }
    const_iterator begin() const { return entries.begin(); }
    const_iterator end() const { return entries.end(); }
    /// How many labels have a value.
    std::size_t size() const { return entries.size(); }
    bool empty() const { return entries.empty(); }

    /// The label's entry, or end(). Looks at log2(size()) labels.
    iterator find(std::string_view label);
    const_iterator find(std::string_view label) const;
    /// Whether the label has an entry.
    bool contains(std::string_view label) const { return find(label) != end(); }
    /// The label's value; a label that is not there stops the program: for labels that the diagram promises.
    Value& at(std::string_view label);
    const Value& at(std::string_view label) const;
    /// The label's value; a new label holds the Float 0. What the whole is made of new labels, one by one,
    /// is quickest in ascending order.
    Value& operator[](std::string_view label) { return try_emplace(label, 0.0).first->second; }

    /// Inserts an entry unless the label is there; the label's entry, and whether it is new. The label's
    /// bytes are copied, the value is moved.
    ///
    ///     if (!updates.try_emplace("heart rate", 71.0).second) log("two heart rates in one batch");
    std::pair<iterator, bool> try_emplace(std::string_view label, Value value);
    /// The same, by the name that maps have for it.
    std::pair<iterator, bool> emplace(std::string_view label, Value value) {
        return try_emplace(label, std::move(value));
    }
    /// Inserts an entry or replaces the value of the label's; the entry, and whether it is new.
    std::pair<iterator, bool> insert_or_assign(std::string_view label, Value value);
    /// Removes the label's entry; how many were there, 0 or 1. Takes time in proportion to what stands behind
    /// it.
    std::size_t erase(std::string_view label);
    /// Removes every entry and keeps the space for as many.
    void clear();
    /// Makes space for so many entries.
    void reserve(std::size_t count) { entries.reserve(count); }

    // For producers: an engine, a reader of recordings, an application with labels of its own.

    /// Begins anew with labels that live elsewhere: removes every entry, keeps the space for as many, and
    /// holds `owner` until the labels change hands again. Costs nothing when the owner stays the same.
    void refill(const std::shared_ptr<const void>& owner);
    /// Appends an entry, after refill(). The label must come after those before it, and its bytes must stay
    /// where they are as long as the owner lives.
    void append(std::string_view label, const Value& value);
    void append(std::string_view label, Value&& value);

    /// A number by which a set of labels is known again: equal numbers are equal labels. 0 is no such number;
    /// refill(), append() and clear() leave the set without one. An engine that is given batches of one set
    /// looks up no label, which is most of the cost of a small batch.
    std::uint64_t labelSet() const { return set; }
    /// For a producer that knows its batches to have the same labels as those of this number.
    void setLabelSet(std::uint64_t number) { set = number; }
    /// A number that was never given before in this process. Any thread.
    static std::uint64_t newLabelSet();

    /// The same labels with equal values, as Value compares them.
    friend bool operator==(const LabelledValues& a, const LabelledValues& b) {
        return a.entries == b.entries;
    }

private:
    class Storage;

    bool ownsLabels() const { return own != nullptr && labels.use_count() == 1; }
    std::string_view stored(std::string_view label);
    iterator insert(const_iterator place, std::string_view label, Value value);

    std::vector<Entry> entries;
    std::shared_ptr<const void> labels;
    // What `labels` holds when it is of this class's making. Copies of this object share it and do not write.
    Storage* own = nullptr;
    std::uint64_t set = 0;
};

/// One batch of input updates, as live feeds make them and recordings hold them: at `timestamp` each labelled
/// input stream takes a new value.
///
///     KelvaneInput batch{12.5, {{"acceleration", Vector{0, 0, 9.81}}, {"heart rate", 71.0}}};
struct KelvaneInput {
    /// In seconds, on the application's own time axis; the batches of a recording usually rise.
    double timestamp = 0;
    /// By the labels of input streams. Labels that no stream bears are passed over.
    LabelledValues updates;

    friend bool operator==(const KelvaneInput&, const KelvaneInput&) = default;
};

/// The results of one batch. What had no result in it is not there.
///
///     if (const auto steps = output.outputs.find("steps"); steps != output.outputs.end())
///         show(steps->second.as<std::int64_t>());
struct KelvaneOutput {
    /// The batch's.
    double timestamp = 0;
    /// By the labels of variable outputs, and of the input streams that forward their values.
    LabelledValues outputs;

    friend bool operator==(const KelvaneOutput&, const KelvaneOutput&) = default;
};

}  // namespace KelvaneSDK

#include "KelvaneSDK/Inline/LabelledValues.h"
