#include <algorithm>
#include <memory>
#include <optional>
#include <set>
#include <utility>

#include "Commands.h"
#include "Conversions/CsvTypes.h"
#include "Conversions/Formats.h"
#include "Conversions/TimeText.h"
#include "Files.h"
#include "Interruption.h"
#include "Messages.h"

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

struct Inputs {
    std::vector<std::unique_ptr<UpdateInput>> inputs;
    bool areRecordings = true;
};

Inputs openAll(const std::vector<std::string>& paths, const ConvertOptions& options) {
    Inputs opened;
    for (const auto& path : paths) {
        auto file = std::make_unique<DataFile>(path);
        const auto* format = options.from.empty() ? formatOfName(path) : &formatNamed("--from", options.from);
        if (format == nullptr) format = &formatOfContent(*file);
        opened.areRecordings &= format == &formats().front();
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
    auto [inputs, areRecordings] = openAll(paths, options);
    const auto& format = outputFormat(options, areRecordings);
    const auto input = mergedByTime(std::move(inputs));
    ResultOutput file(options.output, paths);
    const auto output = format.create(file, options);
    Shift shift;
    std::set<std::string> unused;
    for (const auto& [label, type] : types.all()) unused.insert(label);
    try {
        for (Update update; input->next(update);) {
            if (!unused.empty()) unused.erase(update.name);
            if (options.fromZero) shift.apply(update);
            output->take(update);
        }
    } catch (const Failure&) {
        // What stands before a fault is right.
        file.flush();
        throw;
    }
    output->finish();
    file.finish();
    for (const auto& label : unused) report("kelvane: --types: no values are called " + inQuotes(label));
    return unused.empty() ? ExitStatus::done : ExitStatus::failed;
}

}  // namespace kelvane
