#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Commands.h"
#include "DataFile.h"
#include "Files.h"
#include "KelvaneSDK/FileProcessing/InputRecording.h"

// Forms in which measurements are stored, each a file beside this one: an input reads it update by update, an
// output writes it. Both keep little in memory, and throw a `Failure` that says which file, and where in it.

namespace kelvane {

/// One update of a stream, on its way from one form to another.
struct Update {
    double timestamp = 0;
    /// The same time exactly, where the input says it so.
    std::optional<std::int64_t> nanoseconds = {};
    std::string name = {};
    /// The value's type, or that of the one that is missing.
    KelvaneSDK::ValueType type = KelvaneSDK::ValueType::Float;
    /// Absent for a measurement that gave no number.
    std::optional<KelvaneSDK::Value> value = {};

    /// Becomes what a line of a recording says.
    void take(const KelvaneSDK::RecordedUpdate& line);
};

class UpdateInput {
public:
    virtual ~UpdateInput() = default;
    /// The next update; false at the end.
    virtual bool next(Update& update) = 0;
};

class UpdateOutput {
public:
    virtual ~UpdateOutput() = default;
    virtual void take(const Update& update) = 0;
    /// After the last update.
    virtual void finish() = 0;
};

struct Format {
    std::string_view name;
    /// With their dots; the first one is the usual one.
    std::vector<std::string_view> extensions;
    std::unique_ptr<UpdateInput> (*open)(std::unique_ptr<DataFile> file, const ConvertOptions& options);
    /// Null: the form is only read.
    std::unique_ptr<UpdateOutput> (*create)(PendingText& text, const ConvertOptions& options);
};

/// "recording", "csv", "mcap", "gpx", "edf".
const std::vector<Format>& formats();
/// By its name, which an option gave; refuses others.
const Format& formatNamed(const std::string& option, const std::string& name);
/// By the name's extension, compressed or not; null when it says nothing.
const Format* formatOfName(const std::string& path);
/// By how the file begins.
const Format& formatOfContent(DataFile& file);

std::unique_ptr<UpdateInput> openRecording(std::unique_ptr<DataFile> file, const ConvertOptions& options);
std::unique_ptr<UpdateInput> openCsv(std::unique_ptr<DataFile> file, const ConvertOptions& options);
std::unique_ptr<UpdateInput> openMcap(std::unique_ptr<DataFile> file, const ConvertOptions& options);
std::unique_ptr<UpdateInput> openGpx(std::unique_ptr<DataFile> file, const ConvertOptions& options);
std::unique_ptr<UpdateInput> openEdf(std::unique_ptr<DataFile> file, const ConvertOptions& options);

std::unique_ptr<UpdateOutput> createRecording(PendingText& text, const ConvertOptions& options);
std::unique_ptr<UpdateOutput> createCsv(PendingText& text, const ConvertOptions& options);
std::unique_ptr<UpdateOutput> createMcap(PendingText& text, const ConvertOptions& options);

/// Several inputs as one: always the earliest of their next updates.
std::unique_ptr<UpdateInput> mergedByTime(std::vector<std::unique_ptr<UpdateInput>> inputs);

/// The last part of a path without its extensions: "walk" of "data/walk.csv.gz".
std::string stemOf(const std::string& path);

}  // namespace kelvane
