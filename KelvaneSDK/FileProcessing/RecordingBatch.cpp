#include "KelvaneSDK/FileProcessing/RecordingBatch.h"

#include <algorithm>
#include <utility>

namespace KelvaneSDK {

namespace {

std::uint64_t beginningOf(std::string_view text) {
    std::uint64_t beginning = 0;
    for (std::size_t i = 0; i < 8; ++i) {
        beginning = beginning << 8 | (i < text.size() ? static_cast<unsigned char>(text[i]) : 0U);
    }
    return beginning;
}

}  // namespace

void StreamNames::forget() {
    auto fresh = std::make_shared<std::pmr::monotonic_buffer_resource>();
    names.clear();
    indices.clear();
    previous = 0;
    memory = fresh.get();
    storage = std::move(fresh);
}

// Streams mostly come in one order, so the name that followed last time is tried first.
std::size_t StreamNames::indexOf(std::string_view text) {
    if (!names.empty()) {
        const std::size_t expected = names[previous].follower;
        if (names[expected].text == text) return previous = expected;
    }
    const auto known = indices.find(text);
    const std::size_t index = known == indices.end() ? add(text) : known->second;
    names[previous].follower = index;
    return previous = index;
}

std::size_t StreamNames::add(std::string_view text) {
    const std::size_t index = names.size();
    auto* const bytes = static_cast<char*>(memory->allocate(text.size(), 1));
    std::copy(text.begin(), text.end(), bytes);
    const std::string_view stored(bytes, text.size());
    names.push_back({stored, beginningOf(stored)});
    try {
        indices.emplace(stored, index);
    } catch (...) {
        names.pop_back();
        throw;
    }
    return index;
}

bool RecordingBatch::takeSpare(std::string_view name) {
    // Ever new names must not fill the memory.
    constexpr std::size_t mostUnused = 4096;
    if (count == 0 && names.size() > mostUnused + 2 * previousCount) names.forget();
    const auto index = names.indexOf(name);
    auto& known = names[index];
    if (known.batch == number) {
        values[known.position] = std::move(values[count]);
        return false;
    }
    places.push_back({known.beginning, index, count});
    known.batch = number;
    known.position = count++;
    return true;
}

void RecordingBatch::moveTo(KelvaneInput& input) {
    input.updates.refill(names.owner());
    input.updates.reserve(count);
    input.timestamp = time;
    std::sort(places.begin(), places.end(), [this](const Place& a, const Place& b) {
        return a.beginning != b.beginning ? a.beginning < b.beginning
                                          : names[a.name].text < names[b.name].text;
    });
    for (const auto& [beginning, name, position] : places) {
        input.updates.append(names[name].text, std::move(values[position]));
    }
    if (count > 0 && count < values.size()) values.front() = std::move(values[count]);
    places.clear();
    previousCount = std::exchange(count, 0);
    ++number;
}

}  // namespace KelvaneSDK
