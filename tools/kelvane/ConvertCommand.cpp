#include <algorithm>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <utility>
#include <vector>

#include "Commands.h"
#include "Conversions/CsvTypes.h"
#include "Conversions/Formats.h"
#include "Conversions/TimeText.h"
#include "Files.h"
#include "Interruption.h"
#include "Messages.h"
#include "Progress.h"

namespace kelvane {

namespace {

/// Times are counted from the first one, exactly where both are whole nanoseconds.
class Shift {
public:
    void apply(Update& update) {
        if (!std::exchange(hasOrigin, true)) {
            origin = update.timestamp;
            originNanoseconds = update.nanoseconds;
        }
        std::int64_t difference = 0;
        const bool isExact = originNanoseconds && update.nanoseconds &&
                             !__builtin_sub_overflow(*update.nanoseconds, *originNanoseconds, &difference);
        update.timestamp = isExact ? secondsOf(difference) : update.timestamp - origin;
        update.nanoseconds = isExact ? std::optional(difference) : std::nullopt;
    }

private:
    bool hasOrigin = false;
    double origin = 0;
    std::optional<std::int64_t> originNanoseconds;
};

/// Gives streams other names.
class Renaming {
public:
    explicit Renaming(const std::vector<std::string>& settings) {
        for (const auto& setting : settings) {
            const auto equals = setting.find('=');
            if (equals == std::string::npos) refuseOption("--rename " + setting, "OLD=NEW was expected");
            names[setting.substr(0, equals)] = setting.substr(equals + 1);
        }
    }

    void apply(Update& update) const {
        if (names.empty()) return;
        const auto found = names.find(update.name);
        if (found != names.end()) update.name = found->second;
    }
    const std::map<std::string, std::string>& all() const { return names; }

private:
    std::map<std::string, std::string> names;
};

/// The streams that options name, as long as no update was of them.
class Expected {
public:
    void add(const std::string& option, const std::string& name) { options.emplace(name, option); }
    /// A stream that is there.
    void take(const std::string& name) {
        if (options.empty()) return;
        options.erase(name);
        constexpr std::size_t mostNames = 1000;
        if (seen.size() < mostNames) seen.insert(name);
    }
    /// Reports those that never came; true when there are none.
    bool report() const {
        const std::vector<std::string> names(seen.begin(), seen.end());
        for (const auto& [name, option] : options) {
            kelvane::report("kelvane: " + option + ": " +
                            withHint("no stream is called " + inQuotes(name), nearestNameHint(name, names)));
        }
        return options.empty();
    }

private:
    std::map<std::string, std::string> options;
    std::set<std::string> seen;
};

struct Inputs {
    std::vector<std::unique_ptr<UpdateInput>> inputs;
    /// Theirs, which live as long as they.
    std::vector<const DataFile*> files;
    bool areRecordings = true;
};

/// How much has been read, on average; 0 where a file has no end.
double shareOf(const std::vector<const DataFile*>& files) {
    double sum = 0;
    for (const auto* file : files) {
        const double share = file->share();
        if (share == 0) return 0;
        sum += share;
    }
    return sum / static_cast<double>(files.size());
}

Inputs openAll(const std::vector<std::string>& paths, const ConvertOptions& options) {
    Inputs opened;
    for (const auto& path : paths) {
        auto file = std::make_unique<DataFile>(path);
        const auto* format = options.from.empty() ? formatOfName(path) : &formatNamed("--from", options.from);
        if (format == nullptr) format = &formatOfContent(*file);
        opened.areRecordings &= format == &formats().front();
        opened.files.push_back(file.get());
        opened.inputs.push_back(format->open(std::move(file), options));
    }
    return opened;
}

const Format& outputFormat(const ConvertOptions& options, bool areRecordings) {
    const auto* format = options.to.empty() ? nullptr : &formatNamed("--to", options.to);
    if (format == nullptr && options.output != "-") format = formatOfName(options.output);
    if (format == nullptr) format = areRecordings ? &formatNamed("--to", "csv") : &formats().front();
    if (format->create != nullptr) return *format;
    std::vector<std::string> names;
    for (const auto& known : formats()) {
        if (known.create != nullptr) names.emplace_back(known.name);
    }
    throw Failure{ExitStatus::wrongUsage, "kelvane: " + std::string(format->name) +
                                              " is only read; there are " + joined(names) + " to write"};
}

}  // namespace

int convert(const ConvertOptions& options) {
    const auto paths = options.inputs.empty() ? std::vector<std::string>{"-"} : options.inputs;
    if (std::count(paths.begin(), paths.end(), "-") > 1)
        throw Failure{ExitStatus::wrongUsage, "kelvane: standard input can be read once only"};
    const CsvTypes types(options.types);
    const Renaming renaming(options.names);
    auto opened = openAll(paths, options);
    const auto& format = outputFormat(options, opened.areRecordings);
    const auto input = mergedByTime(std::move(opened.inputs));
    ResultOutput file(options.output, paths);
    const auto output = format.create(file, options);
    Shift shift;
    Expected expected;
    for (const auto& [label, type] : types.all()) expected.add("--types", label);
    for (const auto& [old, name] : renaming.all()) expected.add("--rename", old);
    Progress progress(
        paths.size() == 1 ? nameOf(paths.front()) : counted(paths.size(), "file"), "update",
        [&] { return shareOf(opened.files); }, !isTerminal(options.output));
    constexpr std::size_t updatesPerLook = 4096;
    try {
        std::size_t updates = 0;
        for (Update update; input->next(update);) {
            expected.take(update.name);
            renaming.apply(update);
            if (options.fromZero) shift.apply(update);
            output->take(update);
            if (++updates % updatesPerLook == 0) progress.show(updates);
        }
    } catch (const Failure&) {
        // What stands before a fault is right.
        file.flush();
        throw;
    }
    output->finish();
    file.finish();
    return expected.report() ? ExitStatus::done : ExitStatus::failed;
}

}  // namespace kelvane
