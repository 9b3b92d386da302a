#include "RecordingList.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <set>
#include <string_view>
#include <system_error>
#include <utility>

#include "Files.h"
#include "Messages.h"

namespace kelvane {

namespace {

constexpr std::string_view extension = ".jsonl";

/// The name without the ending of a compressed file.
std::string_view plainName(std::string_view name) {
    for (const std::string_view ending : {".gz", ".zst"}) {
        if (name.ends_with(ending)) return name.substr(0, name.size() - ending.size());
    }
    return name;
}

[[noreturn]] void failWithout(const std::string& place) {
    throw Failure{ExitStatus::failed, "kelvane: there are no recordings in " + place};
}

void addFolder(const std::string& folder, std::vector<ListedRecording>& recordings) {
    std::vector<std::string> names;
    std::error_code error;
    for (std::filesystem::directory_iterator entry(folder, error), end; !error && entry != end;
         entry.increment(error)) {
        const std::string name = entry->path().filename();
        if (!name.starts_with('.') && plainName(name).ends_with(extension) && !entry->is_directory(error))
            names.push_back(name);
    }
    if (error) {
        throw Failure{ExitStatus::failed, "kelvane: cannot read " + nameOf(folder) + ": " + error.message()};
    }
    if (names.empty()) failWithout(nameOf(folder) + " (*" + std::string(extension) + ")");
    std::sort(names.begin(), names.end());
    for (const auto& name : names) recordings.push_back({std::filesystem::path(folder) / name, {}});
}

[[noreturn]] void refuseStandardInput() {
    throw Failure{ExitStatus::wrongUsage,
                  "kelvane: standard input cannot be one of several recordings; @- reads their list from it"};
}

void add(const std::string& path, std::vector<ListedRecording>& recordings) {
    if (path == "-") refuseStandardInput();
    const auto status = statusOf(path);
    if (status && S_ISDIR(status->st_mode)) {
        addFolder(path, recordings);
    } else {
        // What cannot be read is reported in its turn.
        recordings.push_back({path, {}});
    }
}

void addList(const std::string& path, std::vector<ListedRecording>& recordings) {
    const auto text = readWholeFile(path);
    const auto before = recordings.size();
    for (std::string_view rest = text; !rest.empty();) {
        const auto line = rest.substr(0, rest.find('\n'));
        rest.remove_prefix(std::min(line.size() + 1, rest.size()));
        if (!line.empty()) add(std::string(line), recordings);
    }
    if (recordings.size() == before) failWithout(nameOf(path));
}

}  // namespace

std::vector<ListedRecording> listRecordings(const std::vector<std::string>& arguments) {
    if (arguments.empty()) refuseStandardInput();
    std::vector<ListedRecording> recordings;
    for (const auto& argument : arguments) {
        if (argument.starts_with('@')) {
            addList(argument.substr(1), recordings);
        } else {
            add(argument, recordings);
        }
    }
    return recordings;
}

void chooseResultPaths(std::vector<ListedRecording>& recordings, const std::string& folder,
                       const std::string& diagram) {
    std::map<std::string, std::string> recordingOf;
    std::set<std::pair<dev_t, ino_t>> inputs;
    const auto keep = [&](const std::string& path) {
        if (const auto status = statusOf(path)) inputs.emplace(status->st_dev, status->st_ino);
    };
    keep(diagram);
    for (auto& [path, resultPath] : recordings) {
        const std::string fileName = std::filesystem::path(path).filename();
        std::string name(plainName(fileName));
        if (!name.ends_with(extension)) name += extension;
        const auto [same, isNew] = recordingOf.emplace(name, path);
        if (!isNew) {
            throw Failure{ExitStatus::wrongUsage, "kelvane: the results of " + nameOf(same->second) +
                                                      " and " + nameOf(path) + " would both be called " +
                                                      inQuotes(name)};
        }
        resultPath = std::filesystem::path(folder) / name;
        keep(path);
    }
    for (const auto& recording : recordings) {
        const auto status = statusOf(recording.resultPath);
        if (!status || !inputs.contains({status->st_dev, status->st_ino})) continue;
        throw Failure{ExitStatus::wrongUsage, "kelvane: " + nameOf(recording.resultPath) +
                                                  " is a file that is read, and would be overwritten"};
    }
    std::error_code error;
    std::filesystem::create_directory(folder, error);
    if (error || !std::filesystem::is_directory(folder, error)) {
        throw Failure{ExitStatus::failed,
                      "kelvane: cannot make the folder " + nameOf(folder) + ": " +
                          (error ? error : std::make_error_code(std::errc::file_exists)).message()};
    }
}

}  // namespace kelvane
