#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// The tool's commands, one source file each. A command returns its exit status, or throws a `Failure`. A path
// "-" is the standard stream.

namespace kelvane {

struct RunOptions {
    std::string diagram;
    /// Files, folders and "@LIST"; none: standard input.
    std::vector<std::string> recordings;
    std::string output = "-";
    /// Where each recording's results have a file of their own; empty: they have one stream.
    std::string outputFolder;
    /// Recordings that are evaluated at a time.
    std::optional<std::int64_t> jobs;
    /// Passes over the recordings whose results are newer than themselves and the diagram.
    bool resumes = false;
    /// "LABEL=TEXT"
    std::vector<std::string> constants;
    /// "LABEL=TEXT", for input streams: fed once, in the first batch.
    std::vector<std::string> initial;
    /// Where the diagram with these constants is written; empty: nowhere.
    std::string save;
    std::vector<std::string> hidden;
    bool withoutInputs = false;
    /// Invalid lines of the recording are reported and skipped.
    bool keepsGoing = false;
    bool withStatistics = false;
    /// Without the warnings at the end.
    bool isQuiet = false;
    /// Nodes whose values are added to the results: a label, or "#id".
    std::vector<std::string> taps;
    /// Reports the time that nodes take; and the file that has it as JSON, if there is one.
    bool withProfile = false;
    std::string profile;
    /// The file of trace events; empty: none.
    std::string trace;
    /// Results come without waiting for the next timestamp, after so many seconds in which nothing arrives.
    bool isLive = false;
    double liveWait = 0.1;
    /// What an evaluation may use up before the run ends.
    std::int64_t maxElements = 10'000'000;
    double maxBatchSeconds = 10;
    /// Bytes, with a unit; empty: half of the machine's memory.
    std::string maxMemory;
};
/// Writes, beside the results, what went wrong, and for several recordings a line for each.
int run(const RunOptions& options);

struct WhyOptions {
    std::string diagram, recording;
    /// A label, or "#id"; empty: all that are silent.
    std::string node;
    /// The time of the one batch to be shown, in seconds.
    std::optional<double> at;
    bool asJson = false;
    /// As those of a run.
    std::vector<std::string> constants, initial;
};
/// Writes why nodes stay silent.
int why(const WhyOptions& options);

struct ReportOptions {
    /// The diagram, its settings and limits, and where the page is written.
    RunOptions run;
    std::string recording = "-";
    /// Shows the page in a browser.
    bool opens = false;
    /// Without the warnings, which are in the page.
    bool isQuiet = false;
};
/// Writes a page that shows what a diagram does with a recording.
int makeReport(const ReportOptions& options);

struct PlotCommandOptions {
    /// Results or recordings; none: standard input.
    std::vector<std::string> results;
    std::string output = "-";
    /// What is drawn; empty: everything.
    std::vector<std::string> names;
    /// The first and the last time, in seconds.
    std::optional<double> from, to;
    /// In pixels.
    double width = 960;
    std::optional<double> height;
    std::string theme = "auto", title;
};
/// Draws values over time.
int plot(const PlotCommandOptions& options);

/// How far numbers may be apart and count as equal; none of the two: not at all.
struct ToleranceOptions {
    std::optional<double> absolute, relative;
};

struct DiffOptions {
    std::string first, second;
    ToleranceOptions tolerance;
    /// The differences that are listed.
    std::int64_t mostListed = 10;
};
/// Compares two results; the status says whether they are equal.
int diff(const DiffOptions& options);

struct TestOptions {
    /// Cases, or folders that hold some; none: the current one.
    std::vector<std::string> folders;
    /// Writes the results as expected ones where they differ.
    bool blesses = false;
    /// Writes the outcome in the Test Anything Protocol, instead of lines for people.
    bool asTap = false;
    /// Where the outcome is written as JUnit's XML besides; empty: nowhere.
    std::string junit;
    std::int64_t jobs = 1;
};
/// Runs cases and compares their results with the expected ones.
int test(const TestOptions& options);

struct DrawOptions {
    std::string diagram, output = "-";
    /// "svg", "dot" or "mermaid"; empty: as the output's name says.
    std::string format;
    std::string theme = "auto";
    /// Labels, or "#id".
    std::vector<std::string> highlighted;
    /// The recording whose values are written, and the time at which; empty: none, absent: its end.
    std::string values;
    std::optional<double> at;
    /// As those of a run.
    std::vector<std::string> constants, initial;
};
/// Draws a diagram.
int draw(const DrawOptions& options);

struct CheckOptions {
    std::vector<std::string> diagrams;
    /// Empty: none.
    std::string recording;
    bool asJson = false;
    /// Warnings count as errors.
    bool isStrict = false;
    /// Instead of a check, lists the kinds of findings.
    bool listsCodes = false;
};
int check(const CheckOptions& options);

struct InfoOptions {
    /// A diagram or a recording.
    std::string path;
    bool asJson = false;
};
int info(const InfoOptions& options);

struct ConvertOptions {
    /// Files; none: standard input.
    std::vector<std::string> inputs;
    std::string output = "-";
    /// Names of formats; empty: as the names of the files, or what is in them, say.
    std::string from, to;
    /// Of tables: the title of the column that has the times, and their unit; empty: as they are found.
    std::string timeColumn, timeUnit;
    /// Of tables without times: rows per second; 0: there are times.
    double rate = 0;
    /// "wide", "long" or empty: as the titles say, and wide where a table is written.
    std::string layout;
    /// "LABEL=TYPE"
    std::vector<std::string> types;
    /// "OLD=NEW"
    std::vector<std::string> names;
    /// What stands for the line of titles, which the file does not have; empty: it does.
    std::string header;
    std::int64_t skippedLines = 0;
    std::string separator;
    /// Times are counted from the first one.
    bool fromZero = false;
};
/// Writes measurements in another form.
int convert(const ConvertOptions& options);

struct ExportOptions {
    std::string diagram;
};
int exportDiagram(const ExportOptions& options);

struct FormatOptions {
    std::string diagram;
    /// "text" or "json"; empty: the form that the document has.
    std::string form;
};
int format(const FormatOptions& options);

struct EditOptions {
    std::string diagram;
    /// Replaces the file, instead of writing to standard output.
    bool isInPlace = false;
    /// What the command is about first, and the rest of its arguments.
    std::string name;
    std::vector<std::string> list;
};
/// `list`: "LABEL=TEXT"
int setConstants(const EditOptions& options);
/// `name` becomes `list[0]`.
int renameNode(const EditOptions& options);
/// `name` is to feed the input `list[0]`.
int connectNodes(const EditOptions& options);
/// `name` no longer feeds the input `list[0]`; alone, it is an input that nothing feeds any more.
int disconnectNodes(const EditOptions& options);
/// `name` is a node class, `list` the labels of new nodes.
int addNodes(const EditOptions& options);
/// `list`: nodes
int removeNodes(const EditOptions& options);

struct FunctionsOptions {
    /// Empty: all functions.
    std::string name;
    bool asJson = false;
};
int functions(const FunctionsOptions& options);

struct SchemaOptions {};
/// Writes the JSON Schema of diagram documents.
int schema(const SchemaOptions& options);

}  // namespace kelvane
