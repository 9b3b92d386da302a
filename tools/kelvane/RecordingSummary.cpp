#include "RecordingSummary.h"

#include <algorithm>
#include <bit>
#include <cstdio>

#include "KelvaneSDK/KelvaneSDK.h"
#include "Messages.h"
#include "Table.h"

namespace kelvane {

using namespace KelvaneSDK;

void Intervals::add(double interval, double begin) {
    constexpr int bitsWithinClass = 49;
    auto& found = classes[std::bit_cast<std::uint64_t>(interval) >> bitsWithinClass];
    ++found.count;
    found.sum += interval;
    if (interval <= longest) return;
    longest = interval;
    longestBegin = begin;
}

Intervals::Division Intervals::divided() const {
    std::size_t total = 0;
    for (const auto& [key, found] : classes) total += found.count;
    Division division;
    std::size_t seen = 0;
    std::optional<double> median;
    for (const auto& [key, found] : classes) {
        const double mean = found.sum / static_cast<double>(found.count);
        auto& side = median && mean > 3 * *median ? division.gaps : division.usual;
        side.count += found.count;
        side.sum += found.sum;
        seen += found.count;
        if (!median && 2 * seen >= total) median = mean;
    }
    return division;
}

std::optional<double> Intervals::rate() const {
    const auto usual = divided().usual;
    return usual.count == 0 ? std::nullopt : std::optional(static_cast<double>(usual.count) / usual.sum);
}

Intervals::Gaps Intervals::gaps() const {
    const auto count = divided().gaps.count;
    return count == 0 ? Gaps() : Gaps{count, longest, longestBegin};
}

void StreamSummary::add(const RecordedUpdate& update) {
    if (count == 0) {
        first = update.timestamp;
    } else if (update.timestamp == last) {
        repeatedTimes.add(update.line + 1);
    } else if (update.timestamp < last) {
        backwardTimes.add(update.line + 1);
    } else {
        intervals.add(update.timestamp - last, last);
    }
    last = update.timestamp;
    ++count;
    ++types[update.type];
    if (update.value == nullptr) return withoutValue.add(update.line + 1);
    if (!firstType) firstType = update.type;
    if (update.type == *firstType) addRange(*update.value);
}

void StreamSummary::addRange(const Value& value) {
    std::array<double, 4> components{static_cast<double>(value.elementCount())};
    std::size_t number = 1;
    switch (value.type()) {
        case ValueType::Float:
            components[0] = value.as<double>();
            break;
        case ValueType::Integer:
            components[0] = static_cast<double>(value.as<std::int64_t>());
            break;
        case ValueType::Boolean:
            components[0] = value.as<bool>() ? 1 : 0;
            break;
        case ValueType::Vector: {
            const auto v = value.as<Vector>();
            components = {v.x, v.y, v.z};
            number = 3;
            break;
        }
        case ValueType::Orientation: {
            const auto q = value.as<Orientation>();
            components = {q.x, q.y, q.z, q.w};
            number = 4;
            break;
        }
        default:
            break;
    }
    const bool isFirst = ranges.empty();
    if (isFirst) ranges.resize(number);
    for (std::size_t i = 0; i < number; ++i) {
        auto& [least, most] = ranges[i];
        least = isFirst ? components[i] : std::min(least, components[i]);
        most = isFirst ? components[i] : std::max(most, components[i]);
    }
}

void RecordingSummary::add(const RecordedUpdate& update) {
    const bool isFirst = updateCount++ == 0;
    if (isFirst || update.timestamp != previous) ++batchCount;
    if (!isFirst && update.timestamp < previous) backward.add(update.line + 1);
    earliest = isFirst ? update.timestamp : std::min(earliest, update.timestamp);
    latest = isFirst ? update.timestamp : std::max(latest, update.timestamp);
    previous = update.timestamp;
    if (auto* const stream = find(update.name)) {
        stream->add(update);
    } else {
        ++others;
    }
}

StreamSummary* RecordingSummary::find(std::string_view name) {
    const auto place = places.find(name);
    if (place != places.end()) return &known[place->second];
    if (known.size() == mostStreams || nameBytes + name.size() > mostNameBytes) return nullptr;
    nameBytes += name.size();
    places.emplace(name, known.size());
    known.emplace_back().name = name;
    return &known.back();
}

namespace {

/// Four digits are enough for what is an estimate.
std::string shortText(double x) {
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%.4g", x);
    return text.data();
}

std::string typesOf(const StreamSummary& stream) {
    std::vector<std::string> names;
    for (const auto& [type, count] : stream.types) names.emplace_back(valueTypeName(type));
    return joined(names);
}

std::string rangeText(const StreamSummary& stream) {
    if (stream.ranges.empty()) return {};
    const auto type = *stream.firstType;
    const auto& [least, most] = stream.ranges.front();
    if (type == ValueType::Boolean) return least == most ? (least == 0 ? "false" : "true") : "false and true";
    if (stream.ranges.size() == 1) {
        if (type == ValueType::Float) return getValueString(least) + " to " + getValueString(most);
        const auto text = shortText(least) + " to " + shortText(most);
        return type == ValueType::Integer ? text
                                          : text + (type == ValueType::String ? " bytes" : " elements");
    }
    std::string low, high;
    for (const auto& range : stream.ranges) {
        low += (low.empty() ? "(" : ", ") + shortText(range.least);
        high += (high.empty() ? "(" : ", ") + shortText(range.most);
    }
    return low + ") to " + high + ")";
}

void remark(std::string& text, const Occurrences& occurrences, std::string_view noun, std::string_view what) {
    if (occurrences.count == 0) return;
    text += "    " + counted(occurrences.count, noun) + std::string(what) + ", first in line " +
            std::to_string(occurrences.firstLine) + "\n";
}

std::string remarksOn(const StreamSummary& stream) {
    std::string text;
    const auto gaps = stream.intervals.gaps();
    if (gaps.count > 0) {
        text += "    " + counted(gaps.count, "gap") + ", the longest " + shortText(gaps.longest) +
                " s, behind " + getValueString(gaps.after) + "\n";
    }
    remark(text, stream.repeatedTimes, "repeated time", "");
    remark(text, stream.backwardTimes, "time", " before the one in front of it");
    remark(text, stream.withoutValue, "update", " without a value");
    return text;
}

void write(JsonWriter& json, std::string_view key, const Occurrences& occurrences) {
    json.key(key);
    json.beginObject();
    json.member("count", static_cast<std::int64_t>(occurrences.count));
    if (occurrences.count > 0) json.member("firstLine", static_cast<std::int64_t>(occurrences.firstLine));
    json.endObject();
}

void write(JsonWriter& json, const StreamSummary& stream) {
    json.beginObject();
    json.member("name", std::string_view(stream.name));
    json.key("types");
    json.beginObject();
    for (const auto& [type, count] : stream.types)
        json.member(valueTypeName(type), static_cast<std::int64_t>(count));
    json.endObject();
    json.member("count", static_cast<std::int64_t>(stream.count));
    json.member("first", stream.first);
    json.member("last", stream.last);
    if (const auto rate = stream.intervals.rate()) json.member("rate", *rate);
    json.key("range");
    json.beginArray();
    for (const auto& [least, most] : stream.ranges) {
        json.beginObject();
        json.member("least", least);
        json.member("most", most);
        json.endObject();
    }
    json.endArray();
    const auto gaps = stream.intervals.gaps();
    json.key("gaps");
    json.beginObject();
    json.member("count", static_cast<std::int64_t>(gaps.count));
    if (gaps.count > 0) {
        json.member("longest", gaps.longest);
        json.member("after", gaps.after);
    }
    json.endObject();
    write(json, "repeatedTimes", stream.repeatedTimes);
    write(json, "backwardTimes", stream.backwardTimes);
    write(json, "withoutValue", stream.withoutValue);
    json.endObject();
}

}  // namespace

std::string textOf(const RecordingSummary& summary, const std::string& name) {
    std::string text = name + ": " + counted(summary.updates(), "update") + " of " +
                       counted(summary.streams().size(), "stream") + " in " +
                       counted(summary.batches(), "batch");
    if (summary.updates() == 0) return text + "\n";
    text += ", " + shortText(summary.most() - summary.least()) + " s from " +
            getValueString(summary.least()) + " to " + getValueString(summary.most()) + ", ";
    const auto& backward = summary.backwardTimes();
    if (backward.count == 0) {
        text += "in the order of time\n";
    } else {
        text += "time goes back " + counted(backward.count, "time") + ", first in line " +
                std::to_string(backward.firstLine) + "\n";
    }
    Table table({{"stream"}, {"type"}, {"updates", true}, {"rate", true}, {"range"}}, "  ");
    for (const auto& stream : summary.streams()) {
        const auto rate = stream.intervals.rate();
        table.add({stream.name, typesOf(stream), std::to_string(stream.count),
                   rate ? shortText(*rate) + " Hz" : "", rangeText(stream)},
                  remarksOn(stream));
    }
    text += table.text();
    if (summary.updatesOfOthers() > 0)
        text += "  and " + counted(summary.updatesOfOthers(), "update") + " of further streams\n";
    return text;
}

std::string jsonOf(const RecordingSummary& summary, const std::string& name) {
    std::string text;
    JsonWriter json(text, JsonWriter::Layout::pretty);
    json.beginObject();
    json.member("recording", std::string_view(name));
    json.member("updates", static_cast<std::int64_t>(summary.updates()));
    json.member("batches", static_cast<std::int64_t>(summary.batches()));
    if (summary.updates() > 0) {
        json.member("least", summary.least());
        json.member("most", summary.most());
    }
    write(json, "backwardTimes", summary.backwardTimes());
    json.key("streams");
    json.beginArray();
    for (const auto& stream : summary.streams()) write(json, stream);
    json.endArray();
    json.member("updatesOfOthers", static_cast<std::int64_t>(summary.updatesOfOthers()));
    json.endObject();
    return text + "\n";
}

}  // namespace kelvane
