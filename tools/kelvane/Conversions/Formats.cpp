#include "Formats.h"

#include <algorithm>
#include <filesystem>
#include <queue>
#include <utility>

#include "Diagram.h"
#include "Messages.h"
#include "ValueText.h"

namespace kelvane {

void Update::take(const KelvaneSDK::RecordedUpdate& line) {
    timestamp = line.timestamp;
    nanoseconds.reset();
    name = line.name;
    type = line.type;
    value.reset();
    if (line.value != nullptr) value = *line.value;
}

namespace {

/// The name without the ending of a compressed file, in small letters.
std::string plainName(const std::string& path) {
    auto name = inSmallLetters(std::filesystem::path(path).filename().string());
    for (const std::string_view ending : {".gz", ".zst"}) {
        if (name.ends_with(ending)) name.resize(name.size() - ending.size());
    }
    return name;
}

class MergedInput final : public UpdateInput {
public:
    explicit MergedInput(std::vector<std::unique_ptr<UpdateInput>> merged)
        : inputs(std::move(merged)), heads(inputs.size()) {
        for (std::size_t i = 0; i < inputs.size(); ++i) advance(i);
    }

    bool next(Update& update) override {
        if (waiting.empty()) return false;
        const auto [timestamp, place] = waiting.top();
        waiting.pop();
        std::swap(update, heads[place]);
        advance(place);
        return true;
    }

private:
    using Head = std::pair<double, std::size_t>;

    void advance(std::size_t place) {
        if (inputs[place]->next(heads[place])) waiting.emplace(heads[place].timestamp, place);
    }

    std::vector<std::unique_ptr<UpdateInput>> inputs;
    std::vector<Update> heads;
    std::priority_queue<Head, std::vector<Head>, std::greater<>> waiting;
};

}  // namespace

const std::vector<Format>& formats() {
    static const std::vector<Format> all{
        {"recording", {".jsonl", ".ndjson"}, openRecording, createRecording},
        {"csv", {".csv", ".tsv", ".txt"}, openCsv, createCsv},
        {"mcap", {".mcap"}, openMcap, createMcap},
        {"gpx", {".gpx"}, openGpx, nullptr},
        {"edf", {".edf"}, openEdf, nullptr},
    };
    return all;
}

const Format& formatNamed(const std::string& option, const std::string& name) {
    std::vector<std::string> names;
    for (const auto& format : formats()) {
        if (format.name == name) return format;
        names.emplace_back(format.name);
    }
    refuseOption(option + " " + name, "one of " + joined(names) + " was expected");
}

const Format* formatOfName(const std::string& path) {
    const auto name = plainName(path);
    for (const auto& format : formats()) {
        for (const auto extension : format.extensions) {
            if (name.ends_with(extension)) return &format;
        }
    }
    return nullptr;
}

const Format& formatOfContent(DataFile& file) {
    constexpr std::size_t most = 1 << 20;
    const std::string line(file.firstLine(most));
    const auto first = line.find_first_not_of(" \t\r\xef\xbb\xbf");
    const auto begins = [&](std::string_view beginning) { return line.starts_with(beginning); };
    const auto& all = formats();
    if (begins("\x89MCAP")) return all[2];
    if (begins("0       ")) return all[4];
    if (first != std::string::npos && line[first] == '<') return all[3];
    return first == std::string::npos || line[first] == '{' ? all[0] : all[1];
}

std::unique_ptr<UpdateInput> mergedByTime(std::vector<std::unique_ptr<UpdateInput>> inputs) {
    if (inputs.size() == 1) return std::move(inputs.front());
    return std::make_unique<MergedInput>(std::move(inputs));
}

std::string stemOf(const std::string& path) {
    std::filesystem::path name = std::filesystem::path(path).filename();
    if (name.extension() == ".gz" || name.extension() == ".zst") name = name.stem();
    return name.stem();
}

}  // namespace kelvane
