#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <deque>
#include <functional>
#include <queue>
#include <set>
#include <utility>

#include "ByteReader.h"
#include "Formats.h"
#include "Messages.h"
#include "ValueText.h"

namespace kelvane {

using namespace KelvaneSDK;

namespace {

// The European Data Format: a header of texts of fixed lengths, and records of the same duration, each with
// so many samples of every signal, of 16 bits. EDF+ has annotations in a signal of their own, and says in
// them at which time each record begins.

constexpr std::size_t mostSignals = 4096, longestRecord = 64 << 20;
/// In seconds.
constexpr double latest = 1e12;
constexpr std::string_view annotationLabel = "EDF Annotations";

struct Signal {
    std::string label;
    double physicalLeast = 0, physicalMost = 0;
    std::int64_t digitalLeast = 0, digitalMost = 0;
    std::size_t samples = 0;
    bool hasAnnotations = false;
    /// Where its samples begin in a record, and how many of them have been taken.
    std::size_t offset = 0, next = 0;

    double physical(std::int64_t digital) const {
        return physicalLeast + static_cast<double>(digital - digitalLeast) * (physicalMost - physicalLeast) /
                                   static_cast<double>(digitalMost - digitalLeast);
    }
};

class EdfInput final : public UpdateInput {
public:
    explicit EdfInput(std::unique_ptr<DataFile> file) : bytes(std::move(file)) { readHeader(); }

    bool next(Update& update) override {
        while (heads.empty() && annotations.empty()) {
            if (!readRecord()) return false;
        }
        if (heads.empty() || (!annotations.empty() && annotations.front().first < heads.top().first)) {
            takeAnnotation(update);
        } else {
            takeSample(update);
        }
        return true;
    }

private:
    std::string field(std::size_t length) { return std::string(withoutBlanks(bytes.take(length))); }

    template <class Number>
    Number numberField(std::size_t length, const std::string& meaning) {
        const auto begin = bytes.offset();
        const auto text = field(length);
        const auto number = numberOf(text);
        if (!number)
            bytes.failAt(begin, inQuotes(text) + " is no number, which " + meaning + " was expected to be");
        if constexpr (std::is_integral_v<Number>) {
            constexpr double most = 1e9;
            if (*number != std::floor(*number) || std::abs(*number) > most)
                bytes.failAt(
                    begin, inQuotes(text) + " is no whole number, which " + meaning + " was expected to be");
        }
        return static_cast<Number>(*number);
    }

    void readHeader() {
        if (field(8) != "0") bytes.failAt(0, "this is no EDF file of version 0");
        bytes.skip(160 + 16);
        const auto headerSize = numberField<std::int64_t>(8, "the size of the header");
        bytes.skip(44);
        recordCount = numberField<std::int64_t>(8, "the number of records");
        const auto place = bytes.offset();
        duration = numberField<double>(8, "the duration of a record");
        if (duration < 0 || duration > latest)
            bytes.failAt(place, "the duration of a record is " + numberText(duration) + " seconds");
        const auto count = numberField<std::int64_t>(4, "the number of signals");
        if (count < 1 || static_cast<std::size_t>(count) > mostSignals)
            bytes.fail("the header says to have " + std::to_string(count) + " signals; 1 to " +
                       std::to_string(mostSignals) + " were expected");
        if (headerSize != 256 * (count + 1))
            bytes.fail("the header says to have " + std::to_string(headerSize) + " bytes, and with " +
                       counted(static_cast<std::size_t>(count), "signal") + " has " +
                       std::to_string(256 * (count + 1)));
        signals.resize(static_cast<std::size_t>(count));
        readSignals();
    }

    void readSignals() {
        std::set<std::string> labels;
        for (auto& signal : signals) {
            signal.label = field(16);
            if (signal.label.empty()) signal.label = "signal";
            signal.hasAnnotations = signal.label == annotationLabel;
            // Two electrodes may be called the same.
            for (int i = 2; !signal.hasAnnotations && !labels.insert(signal.label).second; ++i)
                signal.label = signal.label.substr(0, signal.label.rfind(" #")) + " #" + std::to_string(i);
        }
        bytes.skip((80 + 8) * signals.size());
        for (auto& signal : signals) signal.physicalLeast = numberField<double>(8, "a physical minimum");
        for (auto& signal : signals) signal.physicalMost = numberField<double>(8, "a physical maximum");
        for (auto& signal : signals) signal.digitalLeast = numberField<std::int64_t>(8, "a digital minimum");
        for (auto& signal : signals) signal.digitalMost = numberField<std::int64_t>(8, "a digital maximum");
        bytes.skip(80 * signals.size());
        std::size_t samples = 0;
        for (auto& signal : signals) {
            const auto count = numberField<std::int64_t>(8, "the number of samples in a record");
            if (count < 0) bytes.fail("the number of samples in a record is negative");
            signal.samples = static_cast<std::size_t>(count);
            signal.offset = 2 * samples;
            samples += signal.samples;
            if (samples > longestRecord / 2)
                bytes.fail("a record is longer than the limit of " + std::to_string(longestRecord) +
                           " bytes");
            if (signal.digitalLeast == signal.digitalMost && !signal.hasAnnotations)
                bytes.fail("signal " + inQuotes(signal.label) +
                           " has one number as digital minimum and maximum");
        }
        if (samples == 0) bytes.fail("the signals have no samples");
        bytes.skip(32 * signals.size());
        recordSize = 2 * samples;
        const bool hasSamples = std::any_of(signals.begin(), signals.end(), [](const Signal& signal) {
            return !signal.hasAnnotations && signal.samples > 0;
        });
        if (duration == 0 && hasSamples) bytes.fail("the records have samples, and the duration 0");
    }

    bool readRecord() {
        if (recordCount >= 0 && static_cast<std::int64_t>(records) == recordCount) return false;
        if (bytes.peek() == ByteReader::atEnd) {
            // -1: the recorder did not live to enter their number.
            if (recordCount < 0) return false;
            bytes.fail("the file ends after " + counted(records, "record") + " of " +
                       std::to_string(recordCount));
        }
        content = bytes.take(recordSize);
        start = static_cast<double>(records) * duration;
        readAnnotations();
        for (std::size_t i = 0; i < signals.size(); ++i) {
            signals[i].next = 0;
            if (!signals[i].hasAnnotations && signals[i].samples > 0) heads.push({start, i});
        }
        ++records;
        return true;
    }

    /// The samples of a record come by time, and those of one time in the order of the signals.
    void takeSample(Update& update) {
        const auto [time, place] = heads.top();
        heads.pop();
        auto& signal = signals[place];
        const auto at = signal.offset + 2 * signal.next;
        const auto low = static_cast<unsigned char>(content[at]);
        const auto high = static_cast<unsigned char>(content[at + 1]);
        update = {time,
                  {},
                  signal.label,
                  ValueType::Float,
                  signal.physical(static_cast<std::int16_t>(high << 8 | low))};
        if (++signal.next == signal.samples) return;
        const double within =
            static_cast<double>(signal.next) * duration / static_cast<double>(signal.samples);
        heads.push({start + within, place});
    }

    /// Lists of "+onset[\x15duration]\x14text\x14...\x14\0". A first one without a text says when the record
    /// begins.
    void readAnnotations() {
        bool isFirst = true;
        for (const auto& signal : signals) {
            auto lists = std::string_view(content).substr(signal.offset, 2 * signal.samples);
            while (signal.hasAnnotations && !lists.empty()) {
                auto list = lists.substr(0, lists.find('\0'));
                lists.remove_prefix(std::min(list.size() + 1, lists.size()));
                if (list.empty()) continue;
                const auto times = list.substr(0, list.find('\x14'));
                list.remove_prefix(std::min(times.size() + 1, list.size()));
                const auto onset = numberOf(times.substr(0, times.find('\x15')));
                if (!onset || std::abs(*onset) > latest)
                    bytes.fail("the record that ends here has an annotation without a time");
                if (std::exchange(isFirst, false) && (list.empty() || list.front() == '\x14')) start = *onset;
                while (!list.empty()) {
                    const auto text = list.substr(0, list.find('\x14'));
                    list.remove_prefix(std::min(text.size() + 1, list.size()));
                    if (!text.empty()) annotations.emplace_back(*onset, text);
                }
            }
        }
        std::stable_sort(annotations.begin(), annotations.end(),
                         [](const auto& a, const auto& b) { return a.first < b.first; });
    }

    void takeAnnotation(Update& update) {
        update = {annotations.front().first,
                  {},
                  std::string(annotationLabel),
                  ValueType::String,
                  Value(annotations.front().second)};
        annotations.pop_front();
    }

    ByteReader bytes;
    std::vector<Signal> signals;
    std::int64_t recordCount = 0;
    double duration = 0, start = 0;
    std::size_t recordSize = 0, records = 0;
    std::string content;  // of the record in progress
    using Head = std::pair<double, std::size_t>;
    /// The time of each signal's next sample, and which signal.
    std::priority_queue<Head, std::vector<Head>, std::greater<>> heads;
    std::deque<std::pair<double, std::string>> annotations;
};

}  // namespace

std::unique_ptr<UpdateInput> openEdf(std::unique_ptr<DataFile> file, const ConvertOptions&) {
    return std::make_unique<EdfInput>(std::move(file));
}

}  // namespace kelvane
