#include "Pictures/PlotData.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "KelvaneSDK/Value.h"

namespace kelvane {

using namespace KelvaneSDK;

namespace {

constexpr std::size_t mostNamesMet = 10'000;
// Longer texts are not seen in full, and more of them are not told apart.
constexpr std::size_t longestText = 200, mostTexts = 10'000;

constexpr double noNumber = std::numeric_limits<double>::quiet_NaN();

bool isSequence(ValueType type) { return type == ValueType::Sequence || type == ValueType::SampleArray; }

std::size_t componentsOf(ValueType type) {
    return type == ValueType::Vector ? 3 : type == ValueType::Orientation ? 4 : 1;
}

bool isSame(const Sample& a, const Sample& b) {
    return a.t == b.t && (a.f == b.f || (std::isnan(a.f) && std::isnan(b.f)));
}

}  // namespace

void PlotData::beginFile(std::string name) {
    fileNames.push_back(std::move(name));
    places.clear();
    sequences.clear();
    textPlaces.clear();
}

bool PlotData::isChosen(std::string_view name) {
    if (const auto known = met.find(name); known != met.end()) return known->second;
    const bool isNamed = choice.names.empty() ||
                         std::find(choice.names.begin(), choice.names.end(), name) != choice.names.end();
    if (isNamed || met.size() < mostNamesMet) met.emplace(name, isNamed);
    return isNamed;
}

PlotSeries& PlotData::seriesOf(const RecordedUpdate& update) {
    const auto known = places.find(update.name);
    if (known != places.end()) return all[known->second];
    places.emplace(update.name, all.size());
    auto& series = all.emplace_back();
    series.name = update.name;
    series.type = update.type;
    series.file = fileNames.size() - 1;
    series.components.resize(componentsOf(update.type));
    return series;
}

void PlotData::add(const RecordedUpdate& update) {
    earliest = std::min(earliest, update.timestamp);
    latest = std::max(latest, update.timestamp);
    if (!isChosen(update.name)) return;
    if (!isSequence(update.type) && (update.timestamp < choice.from || update.timestamp > choice.to)) return;
    auto& series = seriesOf(update);
    auto& components = series.components;
    const bool isOther = update.type != series.type;
    series.ofOtherTypes += isOther ? 1 : 0;
    if (!isOther && update.value != nullptr && isSequence(series.type))
        return addSamples(series, *update.value);
    series.times.push_back(update.timestamp);
    if (isOther || update.value == nullptr) {
        series.missing += isOther ? 0 : 1;
        for (auto& column : components) column.push_back(noNumber);
        return;
    }
    const auto& value = *update.value;
    switch (series.type) {
        case ValueType::Float:
            components[0].push_back(value.as<double>());
            break;
        case ValueType::Integer:
            components[0].push_back(static_cast<double>(value.as<std::int64_t>()));
            break;
        case ValueType::Boolean:
            components[0].push_back(value.as<bool>() ? 1 : 0);
            break;
        case ValueType::Vector: {
            const auto vector = value.as<Vector>();
            components[0].push_back(vector.x);
            components[1].push_back(vector.y);
            components[2].push_back(vector.z);
            break;
        }
        case ValueType::Orientation: {
            const auto rotation = value.as<Orientation>();
            components[0].push_back(rotation.w);
            components[1].push_back(rotation.x);
            components[2].push_back(rotation.y);
            components[3].push_back(rotation.z);
            break;
        }
        case ValueType::String:
            components[0].push_back(placeOf(series, value.as<String>().view()));
            break;
        default:
            components[0].push_back(static_cast<double>(value.elementCount()));
    }
    const bool isFinite = std::all_of(components.begin(), components.end(),
                                      [](const auto& column) { return std::isfinite(column.back()); });
    series.missing += isFinite ? 0 : 1;
}

// Of windows that slide over a signal, what the one before had is drawn once.
void PlotData::addSamples(PlotSeries& series, const Value& value) {
    const auto samples = value.items<Sample>();
    auto& before = sequences.try_emplace(places.find(series.name)->second, Sequence()).first->second;
    const auto old = before.items<Sample>();
    std::size_t shared = 0;
    if (!samples.empty()) {
        const auto* const begin =
            std::find_if(old.data(), old.data() + old.size(),
                         [&](const Sample& sample) { return isSame(sample, samples.front()); });
        shared = static_cast<std::size_t>(old.data() + old.size() - begin);
        if (shared > samples.size() || !std::equal(begin, begin + shared, samples.begin(), isSame))
            shared = 0;
    }
    for (const auto& [t, f] : samples.subspan(shared)) {
        earliest = std::min(earliest, t);
        latest = std::max(latest, t);
        if (!(t >= choice.from && t <= choice.to)) continue;
        series.times.push_back(t);
        series.components[0].push_back(f);
        series.missing += std::isfinite(f) ? 0 : 1;
    }
    before = value;
}

double PlotData::placeOf(PlotSeries& series, std::string_view text) {
    auto& known = textPlaces[places.find(series.name)->second];
    text = text.substr(0, longestText);
    if (const auto found = known.find(text); found != known.end()) return found->second;
    if (series.texts.size() == mostTexts) return static_cast<double>(mostTexts - 1);
    const auto place = static_cast<double>(series.texts.size());
    series.texts.emplace_back(text);
    known.emplace(text, place);
    return place;
}

}  // namespace kelvane
