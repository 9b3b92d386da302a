#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "Commands.h"
#include "Files.h"
#include "Interruption.h"
#include "Messages.h"
#include "Pictures/PlotData.h"
#include "Pictures/PlotPicture.h"
#include "Progress.h"
#include "Recording.h"

namespace kelvane {

using namespace KelvaneSDK;

namespace {

std::string fileNameOf(const std::string& path) { return path.substr(path.rfind('/') + 1); }

/// True when all of the file was read; what was not is reported.
bool readInto(PlotData& data, const std::string& path, bool showsProgress) {
    Recording recording(path);
    data.beginFile(fileNameOf(recording.name()));
    Progress progress(
        recording.name(), "update", [&] { return recording.share(); }, showsProgress);
    std::size_t updates = 0;
    while (recording.readPiece()) {
        for (; const auto* update = recording.nextUpdate(); ++updates) data.add(*update);
        progress.show(updates);
    }
    if (interruption() != 0) throw Failure{128 + interruption(), {}};
    const auto failure = recording.failure();
    if (!failure.empty()) report(failure);
    return failure.empty();
}

void refuseUnknownNames(const PlotData& data, const PlotCommandOptions& options) {
    std::vector<std::string> known;
    for (const auto& [name, isChosen] : data.namesMet()) known.push_back(name);
    for (const auto& name : options.names) {
        if (data.namesMet().contains(name)) continue;
        refuseOption("--name " + name,
                     withHint("no values are called " + inQuotes(name), nearestNameHint(name, known)));
    }
}

}  // namespace

int plot(const PlotCommandOptions& options) {
    const auto paths = options.results.empty() ? std::vector<std::string>{"-"} : options.results;
    if (std::count(paths.begin(), paths.end(), "-") > 1)
        throw Failure{ExitStatus::wrongUsage, "kelvane: standard input can be read once only"};
    PlotOptions picture;
    picture.theme = themeNamed(options.theme);
    picture.title = options.title;
    picture.width = options.width;
    picture.height = options.height;
    picture.from = options.from;
    picture.to = options.to;
    PlotChoice choice{options.names};
    choice.from = options.from.value_or(choice.from);
    choice.to = options.to.value_or(choice.to);
    if (!(choice.from < choice.to)) refuseOption("--from", "a time before that of --to was expected");
    ResultOutput output(options.output, paths);
    PlotData data(std::move(choice));
    bool isComplete = true;
    for (const auto& path : paths) isComplete &= readInto(data, path, !isTerminal(options.output));
    refuseUnknownNames(data, options);
    const auto hasValues = [](const PlotSeries& series) { return !series.times.empty(); };
    if (std::none_of(data.series().begin(), data.series().end(), hasValues)) {
        const bool isEmpty = data.firstTime() > data.lastTime();
        throw Failure{ExitStatus::failed,
                      isEmpty
                          ? "kelvane: there is nothing to draw: no updates were read"
                          : "kelvane: there is nothing to draw between these times: the values are "
                            "from t = " +
                                getValueString(data.firstTime()) + " to " + getValueString(data.lastTime())};
    }
    output.text() = plotPicture(data, picture);
    output.finish();
    return isComplete ? ExitStatus::done : ExitStatus::failed;
}

}  // namespace kelvane
