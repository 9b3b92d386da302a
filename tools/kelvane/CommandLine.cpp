#include "CommandLine.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <charconv>
#include <new>
#include <sstream>
#include <utility>

#include "CommandDocs.h"
#include "Commands.h"
#include "Files.h"
#include "Messages.h"

namespace kelvane {

namespace {

/// Adds a command that sets `status` when it was named.
template <class Options>
CLI::App& addCommand(CLI::App& app, const char* name, const char* description, Options& options, int& status,
                     int (*command)(const Options&)) {
    auto& added = *app.add_subcommand(name, description);
    added.final_callback([&options, &status, command] { status = command(options); });
    return added;
}

/// An option that may be repeated and takes one text each time.
void addRepeatable(CLI::App& command, const char* name, std::vector<std::string>& texts,
                   const char* description, const char* argument) {
    command.add_option(name, texts, description)->type_name(argument)->allow_extra_args(false);
}

/// An option that takes a number from `least` on, a whole one where that is one.
template <class Target, class Number>
void addNumber(CLI::App& command, const std::string& name, Target& target, Number least,
               const char* description, const char* argument) {
    const auto refuseOthers = [=, longName = name.substr(name.find("--"))](const std::string& text) {
        Number number{};
        const char* const last = text.data() + text.size();
        const auto [end, error] = std::from_chars(text.data(), last, number);
        if (error == std::errc() && end == last && number >= least) return std::string();
        refuseOption(longName + " " + text,
                     std::string(std::is_integral_v<Number> ? "a whole number" : "a number") + " of " +
                         std::to_string(static_cast<int>(least)) + " or more was expected");
    };
    command.add_option(name, target, description)
        ->type_name(argument)
        ->check(CLI::Validator(refuseOthers, ""))
        ->capture_default_str();
}

/// An option that takes one of a few words.
void addChoice(CLI::App& command, const std::string& name, std::string& target, const char* description,
               const std::vector<std::string>& choices) {
    std::string words;
    for (const auto& choice : choices) words += (words.empty() ? "" : "|") + choice;
    const auto refuseOthers = [=](const std::string& text) {
        if (std::find(choices.begin(), choices.end(), text) != choices.end()) return std::string();
        refuseOption(name + " " + text, words + " was expected");
    };
    command.add_option(name, target, description)->type_name(words)->check(CLI::Validator(refuseOthers, ""));
}

void addDiagram(CLI::App& command, std::string& diagram) {
    command.add_option("DIAGRAM", diagram, "The diagram, as text or JSON")->required()->type_name("");
}

/// What constants and streams begin with.
void addSettings(CLI::App& command, std::vector<std::string>& constants, std::vector<std::string>& initial) {
    addRepeatable(command, "--set", constants, "Give the constants of this label, or #id, another value",
                  "LABEL=TEXT");
    addRepeatable(command, "--init", initial,
                  "Give the input stream of this label a value once, in the first batch", "LABEL=TEXT");
}

void addLimits(CLI::App& command, RunOptions& options) {
    addNumber(command, "--max-elements", options.maxElements, std::int64_t{0},
              "End the run when a list, sequence or text grows beyond N elements", "N");
    addNumber(command, "--max-batch-seconds", options.maxBatchSeconds, 0.0,
              "End the run when a batch takes longer than S seconds", "S");
    command
        .add_option(
            "--max-memory", options.maxMemory,
            "End the run when it needs more memory than SIZE, such as 500M or 4G (half of the machine's)")
        ->type_name("SIZE");
}

CLI::App& addRun(CLI::App& app, RunOptions& options, int& status, int (*action)(const RunOptions&) = run) {
    auto& command = addCommand(app, "run", "Replay a recording through a diagram", options, status, action);
    addDiagram(command, options.diagram);
    command
        .add_option(
            "RECORDING", options.recordings,
            "Recordings: files, folders (for their files *.jsonl, in the order of the names, not those of "
            "folders within), @LIST (for what a text names, one path a line); - or none is standard input")
        ->type_name("");
    auto* const output =
        command
            .add_option("-o,--output", options.output, "Write the results to FILE, complete or not at all")
            ->type_name("FILE");
    auto* const outputFolder =
        command
            .add_option(
                "--out-dir", options.outputFolder,
                "Write each recording's results to a file of its name in FOLDER, complete or not at all")
            ->type_name("FOLDER")
            ->excludes(output);
    addNumber(command, "-j,--jobs", options.jobs, std::int64_t{1}, "Evaluate N recordings at a time (1)",
              "N");
    command
        .add_flag("--resume", options.resumes,
                  "Skip recordings whose results are newer than themselves and the diagram")
        ->needs(outputFolder);
    addSettings(command, options.constants, options.initial);
    command
        .add_option("--save", options.save,
                    "Write the diagram with the constants of --set to FILE, after the run")
        ->type_name("FILE");
    addRepeatable(command, "--hide", options.hidden, "Leave this label out of the results", "LABEL");
    command.add_flag("--no-inputs", options.withoutInputs, "Leave the input streams out of the results");
    command.add_flag("--keep-going", options.keepsGoing, "Report and skip invalid lines of the recording");
    command.add_flag(
        "--live", options.isLive,
        "Give a batch's results without waiting for the next timestamp: at an empty line, or when "
        "nothing arrives for a while; so at a terminal");
    addNumber(command, "--live-wait", options.liveWait, 0.0, "How long, in seconds", "S");
    addLimits(command, options);
    addRepeatable(command, "--tap", options.taps, "Add the values of a node, by label or #id, to the results",
                  "NODE");
    command.add_flag("--profile", options.withProfile, "Report the time that functions and nodes take");
    command
        .add_option("--profile-json", options.profile,
                    "Write the time that functions and nodes take to FILE, as JSON")
        ->type_name("FILE");
    command
        .add_option("--trace", options.trace, "Write every run to FILE, as trace events that browsers show")
        ->type_name("FILE");
    command.add_flag("-q,--quiet", options.isQuiet, "Do not warn of what stayed silent and what was lost");
    command.add_flag("--stats", options.withStatistics, "Report how much was done, on standard error");
    return command;
}

void addTolerance(CLI::App& command, ToleranceOptions& options) {
    addNumber(command, "--abs", options.absolute, 0.0, "Take numbers for equal that are at most X apart",
              "X");
    addNumber(command, "--rel", options.relative, 0.0,
              "Take numbers for equal that are at most Y times the larger one apart", "Y");
}

void addDiff(CLI::App& app, DiffOptions& options, int& status) {
    auto& command = addCommand(app, "diff", "Compare two results", options, status, diff);
    command.add_option("A", options.first, "Results, as run writes them; - is standard input")
        ->required()
        ->type_name("");
    command.add_option("B", options.second, "Other results")->required()->type_name("");
    addTolerance(command, options.tolerance);
    addNumber(command, "--list", options.mostListed, std::int64_t{0}, "List the first N differences (10)",
              "N");
}

void addTest(CLI::App& app, TestOptions& options, int& status) {
    auto& command = addCommand(app, "test", "Run cases and compare their results with the expected ones",
                               options, status, test);
    command
        .add_option("DIR", options.folders,
                    "Cases, or folders to be searched for some (.): folders with a diagram "
                    "(diagram.kelvane, diagram.json), recording.jsonl, expected.jsonl, and options of run, "
                    "one a line, in a file \"options\"")
        ->type_name("");
    command.add_flag("--bless", options.blesses,
                     "Write the results to expected.jsonl where they are not as expected");
    command.add_flag("--tap", options.asTap, "Report in the Test Anything Protocol");
    command.add_option("--junit", options.junit, "Report in JUnit's XML, too, to FILE")->type_name("FILE");
    addNumber(command, "-j,--jobs", options.jobs, std::int64_t{1}, "Run N cases at a time", "N");
}

void addWhy(CLI::App& app, WhyOptions& options, int& status) {
    auto& command =
        addCommand(app, "why", "Say why nodes of a diagram stay silent in a recording", options, status, why);
    addDiagram(command, options.diagram);
    command.add_option("RECORDING", options.recording, "The recording; - or none is standard input")
        ->type_name("");
    command
        .add_option("NODE", options.node,
                    "A node's label, or #id; all that give less than they could without it")
        ->type_name("");
    command
        .add_option("--at", options.at,
                    "Show the last batch up to this time, in seconds: who ran, and on what")
        ->type_name("T");
    addSettings(command, options.constants, options.initial);
    command.add_flag("--json", options.asJson, "Write JSON");
}

void addReport(CLI::App& app, ReportOptions& options, int& status) {
    auto& command = addCommand(app, "report", "Make a page that shows a diagram at work on a recording",
                               options, status, makeReport);
    addDiagram(command, options.run.diagram);
    command.add_option("RECORDING", options.recording, "The recording; - or none is standard input")
        ->type_name("");
    command
        .add_option("-o,--output", options.run.output,
                    "Write the page, which needs no other file and no network, to FILE, complete or not at "
                    "all")
        ->required()
        ->type_name("FILE");
    command.add_flag("--open", options.opens, "Show it in a browser");
    addSettings(command, options.run.constants, options.run.initial);
    command.add_flag("--keep-going", options.run.keepsGoing,
                     "Report and skip invalid lines of the recording");
    addLimits(command, options.run);
    command.add_flag("-q,--quiet", options.isQuiet,
                     "Do not warn of what stayed silent and what was lost; the page does");
}

void addDraw(CLI::App& app, DrawOptions& options, int& status) {
    auto& command = addCommand(app, "draw", "Draw a diagram as a picture", options, status, draw);
    command.add_option("DIAGRAM", options.diagram, "The diagram, as text or JSON")->required()->type_name("");
    command.add_option("-o,--output", options.output, "Write the picture to FILE, complete or not at all")
        ->type_name("FILE");
    addChoice(command, "--format", options.format,
              "What to write: an SVG picture, or what Graphviz or Mermaid draw; else as FILE's name says",
              {"svg", "dot", "mermaid"});
    addChoice(command, "--theme", options.theme,
              "Colours; those that the reader's system asks for, if not said", {"auto", "light", "dark"});
    addRepeatable(command, "--highlight", options.highlighted, "Mark the nodes of this label, or #id",
                  "NODE");
    command
        .add_option("--values", options.values,
                    "Write beside each node what it gave last, when RECORDING was replayed")
        ->type_name("RECORDING");
    command.add_option("--at", options.at, "What it gave last up to this time, in seconds")->type_name("T");
    addSettings(command, options.constants, options.initial);
}

void addPlot(CLI::App& app, PlotCommandOptions& options, int& status) {
    auto& command = addCommand(app, "plot", "Draw results over time", options, status, plot);
    command
        .add_option("RESULTS", options.results,
                    "Results or recordings, compressed or not, which are drawn over each other; - or none is "
                    "standard input")
        ->type_name("");
    command.add_option("-o,--output", options.output, "Write the picture, SVG, to FILE")->type_name("FILE");
    addRepeatable(command, "--name", options.names, "Draw the values of this name; else all", "LABEL");
    command.add_option("--from", options.from, "Begin at this time, in seconds")->type_name("T");
    command.add_option("--to", options.to, "End at this time")->type_name("T");
    addNumber(command, "--width", options.width, 200.0, "The picture's width in pixels", "N");
    addNumber(command, "--height", options.height, 100.0, "Its height; else as much as the panels need", "N");
    addChoice(command, "--theme", options.theme, "The colours; auto: those that the reader's system asks for",
              {"auto", "light", "dark"});
    command.add_option("--title", options.title, "What stands above; else the names of the files")
        ->type_name("TEXT");
}

void addCheck(CLI::App& app, CheckOptions& options, int& status) {
    auto& command = addCommand(app, "check", "Report what is wrong in diagrams", options, status, check);
    command.add_option("DIAGRAM", options.diagrams, "The diagrams, as text or JSON")->type_name("");
    command.add_option("--recording", options.recording, "Compare the input streams with this recording's")
        ->type_name("RECORDING");
    command.add_flag("--json", options.asJson, "Write JSON");
    command.add_flag("--strict", options.isStrict, "End with status 1 on warnings, too");
    command.add_flag("--codes", options.listsCodes, "List what can be found, instead of checking");
}

void addInfo(CLI::App& app, InfoOptions& options, int& status) {
    auto& command =
        addCommand(app, "info", "List what a diagram has, or what a recording has", options, status, info);
    command
        .add_option("FILE", options.path,
                    "A diagram: its streams, outputs, constants and functions; or a recording: each stream's "
                    "type, count, rate, range and faults")
        ->required()
        ->type_name("");
    command.add_flag("--json", options.asJson, "Write JSON");
}

void addConvert(CLI::App& app, ConvertOptions& options, int& status) {
    auto& command =
        addCommand(app, "convert", "Turn tables and other files of measurements into recordings, and back",
                   options, status, convert);
    command
        .add_option("FILE", options.inputs,
                    "Recordings, CSV tables, MCAP, GPX and EDF files, compressed or not, which are merged by "
                    "time; - or none is standard input")
        ->type_name("");
    const auto add = [&](const char* name, std::string& text, const char* description, const char* argument) {
        return command.add_option(name, text, description)->type_name(argument);
    };
    add("-o,--output", options.output, "Write to FILE, complete or not at all", "FILE");
    add("--from", options.from, "What the files are, whatever their names: recording, csv, mcap, gpx, edf",
        "FORMAT");
    add("--to", options.to,
        "Write recording, csv or mcap; else as FILE's name says, or csv of recordings and a recording of "
        "others",
        "FORMAT");
    add("--time", options.timeColumn, "The title of a table's column of times", "COLUMN");
    addChoice(command, "--time-unit", options.timeUnit, "What the times are", {"s", "ms", "us", "ns", "iso"});
    addNumber(command, "--rate", options.rate, 0.0, "The table has no times, but so many rows a second",
              "HZ");
    command.add_flag("--from-zero", options.fromZero, "Count times from the first one");
    addChoice(command, "--layout", options.layout,
              "A column for each stream, or rows of time, name, type, value", {"wide", "long"});
    addRepeatable(command, "--types", options.types,
                  "The type of a column's values; else Float, Boolean or String, as the first one looks",
                  "LABEL=TYPE");
    addRepeatable(command, "--rename", options.names, "Call this stream otherwise", "OLD=NEW");
    add("--header", options.header, "The titles, with commas, of a table that has none", "TITLES");
    addNumber(command, "--skip-lines", options.skippedLines, std::int64_t{0},
              "Pass over so many lines in front of the titles", "N");
    add("--separator", options.separator, "What separates a table's fields: a character, or tab",
        "CHARACTER");
}

void addExport(CLI::App& app, ExportOptions& options, int& status) {
    auto& command = addCommand(app, "export", "Write a diagram as the engine understands it, renumbered",
                               options, status, exportDiagram);
    addDiagram(command, options.diagram);
}

void addFormat(CLI::App& app, FormatOptions& options, int& status) {
    auto& command = addCommand(app, "fmt", "Write a diagram in good order, or in its other form", options,
                               status, format);
    addDiagram(command, options.diagram);
    addChoice(command, "--to", options.form, "Write it as text, or as JSON", {"text", "json"});
}

/// Adds the six commands that edit a diagram as it stands.
void addEdits(CLI::App& app, EditOptions& options, int& status) {
    const auto add = [&](const char* name, const char* description, int (*command)(const EditOptions&)) {
        auto& added = addCommand(app, name, description, options, status, command);
        addDiagram(added, options.diagram);
        added.add_flag("--in-place", options.isInPlace,
                       "Replace the file, instead of writing to standard output");
        return &added;
    };
    const auto name = [&](CLI::App* command, const char* role, const char* description) {
        command->add_option(role, options.name, description)->required()->type_name("");
    };
    const auto list = [&](CLI::App* command, const char* role, const char* description, int most) {
        auto* const option = command->add_option(role, options.list, description)->type_name("");
        return option->expected(1, most);
    };
    constexpr int any = 1 << 20;
    auto* command = add("set", "Give constants another value", setConstants);
    list(command, "LABEL=TEXT", "The constants of this label, or #id, and their value", any)->required();
    command = add("rename", "Give a node another label", renameNode);
    name(command, "OLD", "The label, of one node or of streams and outputs that feed back, or #id");
    list(command, "NEW", "The new label", 1)->required();
    command = add("connect", "Let a node feed an input of another", connectNodes);
    name(command, "FROM", "The node's label, or #id");
    list(command, "TO.INPUT", "The other's label, or #id, and the input's name or number", 1)->required();
    command = add("disconnect", "Take a connection away", disconnectNodes);
    name(command, "FROM",
         "The label, or #id, of the node that feeds the input; or the input alone, whatever feeds it");
    list(command, "TO.INPUT", "The label, or #id, of the other, and the input's name or number", 1);
    command = add("add", "Add nodes", addNodes);
    name(command, "CLASS", "A function's name, or \"Input stream Float\", \"Constant Vector\", ...");
    list(command, "LABEL", "A label for each new node", any);
    command = add("remove", "Remove nodes, and what names them", removeNodes);
    list(command, "NODE", "A node's label, or #id", any)->required();
}

void addFunctions(CLI::App& app, FunctionsOptions& options, int& status) {
    auto& command =
        addCommand(app, "functions", "List the functions that diagrams can use", options, status, functions);
    command.add_option("WORD", options.name, "A function's name, or a word to search for")->type_name("");
    command.add_flag("--json", options.asJson, "Write JSON");
}

std::vector<std::string> commandNames(const CLI::App& app) {
    std::vector<std::string> names;
    for (const auto* command : app.get_subcommands({})) names.push_back(command->get_name());
    return names;
}

std::vector<std::string> optionNames(const CLI::App& app) {
    std::vector<std::string> names;
    for (const auto* option : app.get_options()) {
        for (const auto& name : option->get_lnames()) names.push_back("--" + name);
    }
    return names;
}

/// Null for a name that no command has.
CLI::App* commandNamed(CLI::App& app, const std::string& name) {
    for (auto* const command : app.get_subcommands({})) {
        if (command->get_name() == name) return command;
    }
    return nullptr;
}

CommandDescription::Option described(const CLI::Option& option) {
    CommandDescription::Option result{{}, option.get_type_name(), option.get_description(), {}};
    for (const auto& name : option.get_snames()) result.names.push_back("-" + name);
    for (const auto& name : option.get_lnames()) result.names.push_back("--" + name);
    if (result.names.empty()) result.names.push_back(option.get_single_name());
    // Choices stand in the argument, as in "text|json".
    if (result.argument.find('|') != std::string::npos) {
        std::istringstream words(result.argument);
        for (std::string word; std::getline(words, word, '|');) result.choices.push_back(word);
    }
    return result;
}

std::vector<CommandDescription> describedCommands(const CLI::App& app) {
    std::vector<CommandDescription> commands;
    for (const auto* command : app.get_subcommands({})) {
        CommandDescription description{command->get_name(), command->get_description(), {}, {}, {}};
        for (const auto* option : command->get_options())
            (option->nonpositional() ? description.options : description.arguments)
                .push_back(described(*option));
        const std::string footer = command->get_footer();
        description.examples = footer.substr(std::min(footer.find('\n') + 1, footer.size()));
        commands.push_back(std::move(description));
    }
    return commands;
}

struct HelpOptions {
    std::string command, shell;
    bool asManual = false;
};

/// Shows what the tool, or a command of it, takes.
void addHelp(CLI::App& app, HelpOptions& options) {
    auto& command = *app.add_subcommand("help", "Show what a command takes, and examples");
    command.add_option("COMMAND", options.command, "The command; all are listed without one")->type_name("");
    command.add_flag("--man", options.asManual, "Write the manual page");
    addChoice(command, "--completions", options.shell, "Write what a shell reads to complete command lines",
              completedShells());
    command.final_callback([&app, &options] {
        const auto& name = options.command;
        if (options.asManual) {
            writeToStandardOutput(manualPage(describedCommands(app), KELVANE_VERSION));
        } else if (!options.shell.empty()) {
            writeToStandardOutput(completions(describedCommands(app), options.shell));
        } else if (name.empty()) {
            writeToStandardOutput(
                app.get_formatter()->make_help(&app, "kelvane", CLI::AppFormatMode::Normal));
        } else if (const auto* const named = commandNamed(app, name)) {
            writeToStandardOutput(named->help("kelvane"));
        } else {
            refuseOption("help " + name, withHint("no command is called " + inQuotes(name),
                                                  nearestNameHint(name, commandNames(app))));
        }
    });
}

/// What the help of a command ends with.
void addExamples(CLI::App& app) {
    constexpr std::pair<const char*, const char*> examples[]{
        {"run",
         "  kelvane run heart.kelvane ecg.jsonl\n"
         "  kelvane run heart.kelvane ecg.jsonl --no-inputs --set limit=120 -o beats.jsonl\n"
         "  kelvane run heart.kelvane recordings/ -j 8 --out-dir results --resume"},
        {"why",
         "  kelvane why heart.kelvane ecg.jsonl\n"
         "  kelvane why heart.kelvane ecg.jsonl 'heart rate' --at 12.5"},
        {"report",
         "  kelvane report heart.kelvane ecg.jsonl -o heart.html --open\n"
         "  kelvane report heart.kelvane ecg.jsonl.gz -o heart.html --set limit=120"},
        {"draw",
         "  kelvane draw heart.kelvane -o heart.svg\n"
         "  kelvane draw heart.kelvane --values ecg.jsonl --at 12.5 --highlight beat -o beat.svg\n"
         "  kelvane draw heart.kelvane --format dot | dot -Tpdf -o heart.pdf"},
        {"plot",
         "  kelvane plot beats.jsonl -o beats.svg\n"
         "  kelvane plot before.jsonl after.jsonl --name 'heart rate' --from 60 --to 90 >both.svg\n"
         "  kelvane run heart.kelvane ecg.jsonl | kelvane plot -o beats.svg"},
        {"check",
         "  kelvane check heart.kelvane --recording ecg.jsonl\n"
         "  kelvane check diagrams/*.json --strict"},
        {"diff",
         "  kelvane diff before.jsonl after.jsonl\n"
         "  kelvane run heart.kelvane ecg.jsonl | kelvane diff before.jsonl - --abs 1e-9"},
        {"test",
         "  kelvane test examples\n"
         "  kelvane test --bless examples/smoothing\n"
         "  kelvane test -j 4 --tap --junit report.xml"},
        {"info",
         "  kelvane info heart.kelvane\n"
         "  kelvane info ecg.jsonl.gz"},
        {"convert",
         "  kelvane convert phone.csv >phone.jsonl\n"
         "  kelvane convert acc.csv gyro.csv --from-zero | kelvane run steps.kelvane\n"
         "  kelvane convert results.jsonl -o results.csv"},
        {"export", "  kelvane export heart.kelvane >heart.json"},
        {"fmt",
         "  kelvane fmt heart.kelvane\n"
         "  kelvane fmt --to text heart.json >heart.kelvane"},
        {"set", "  kelvane set --in-place heart.kelvane limit=120 '#7=0.5'"},
        {"rename", "  kelvane rename --in-place heart.kelvane limit 'highest rate'"},
        {"connect", "  kelvane connect --in-place heart.kelvane ecg Larger.a"},
        {"disconnect",
         "  kelvane disconnect --in-place heart.kelvane ecg Larger.a\n"
         "  kelvane disconnect --in-place heart.kelvane Larger.a"},
        {"add", "  kelvane add --in-place heart.kelvane 'Moving averager' mean"},
        {"remove", "  kelvane remove --in-place heart.kelvane mean '#7'"},
        {"functions",
         "  kelvane functions\n"
         "  kelvane functions 'Moving averager'\n"
         "  kelvane functions delay"},
        {"schema", "  kelvane schema >diagram.schema.json"},
        {"help", "  kelvane help run"},
    };
    app.footer("kelvane help COMMAND shows what a command takes, and examples.");
    for (const auto& [name, lines] : examples) {
        if (auto* const command = commandNamed(app, name))
            command->footer(std::string("Examples:\n") + lines);
    }
}

/// Writes help and version, and reports wrong usage.
void endOnParseOutcome(const CLI::App& app, const CLI::ParseError& outcome) {
    std::ostringstream text, errors;
    const int code = app.exit(outcome, text, errors);
    writeToStandardOutput(text.str());
    if (code == 0) return;
    std::string message = printable(outcome.what());
    constexpr std::string_view before = ": 1 required ", after = " missing";
    if (const auto place = message.find(before); place != std::string::npos && message.ends_with(after)) {
        message.replace(message.size() - after.size(), after.size(), " was expected");
        message.replace(place, before.size(), ": ");
    }
    // Of the tool itself, or of the command that was named.
    const auto named = app.get_subcommands();
    const auto unknown = app.remaining(true);
    std::string hint = named.empty() ? "" : "kelvane help " + named.front()->get_name() + " says more";
    if (!unknown.empty()) {
        const auto& word = unknown.front();
        const bool isOption = word.starts_with('-');
        auto nearest = isOption ? nearestNameHint(word, optionNames(named.empty() ? app : *named.front()))
                       : named.empty() ? nearestNameHint(word, commandNames(app))
                                       : std::string();
        message = isOption        ? "no option is called " + inQuotes(word)
                  : named.empty() ? "no command is called " + inQuotes(word)
                                  : "no further argument was expected, and " + inQuotes(word) + " was given";
        if (!nearest.empty()) hint = std::move(nearest);
        if (hint.empty()) hint = "there are " + joined(isOption ? optionNames(app) : commandNames(app));
    } else if (named.empty()) {
        message = "a command was expected: " + joined(commandNames(app));
    }
    throw Failure{ExitStatus::wrongUsage, "kelvane: " + withHint(message, hint)};
}

int runCommand(int argc, char** argv) {
    CLI::App app("Runs node diagrams over recordings of timestamped measurements.", "kelvane");
    app.require_subcommand(1);
    app.set_version_flag("--version", "kelvane " KELVANE_VERSION, "Print the version and exit");
    app.set_help_flag("-h,--help", "Print this help and exit");
    app.get_formatter()->column_width(30);
    std::string colors;
    addChoice(app, "--color", colors,
              "Whether messages have colours: as a rule, on terminals where NO_COLOR is not set",
              {"auto", "always", "never"});
    app.parse_complete_callback([&colors] {
        if (!colors.empty())
            setColors(colors == "always"  ? Colors::always
                      : colors == "never" ? Colors::never
                                          : Colors::automatic);
    });
    int status = ExitStatus::done;
    RunOptions runOptions;
    addRun(app, runOptions, status);
    WhyOptions whyOptions;
    addWhy(app, whyOptions, status);
    ReportOptions reportOptions;
    addReport(app, reportOptions, status);
    DrawOptions drawOptions;
    addDraw(app, drawOptions, status);
    PlotCommandOptions plotOptions;
    addPlot(app, plotOptions, status);
    CheckOptions checkOptions;
    addCheck(app, checkOptions, status);
    DiffOptions diffOptions;
    addDiff(app, diffOptions, status);
    TestOptions testOptions;
    addTest(app, testOptions, status);
    InfoOptions infoOptions;
    addInfo(app, infoOptions, status);
    ConvertOptions convertOptions;
    addConvert(app, convertOptions, status);
    ExportOptions exportOptions;
    addExport(app, exportOptions, status);
    FormatOptions formatOptions;
    addFormat(app, formatOptions, status);
    EditOptions editOptions;
    addEdits(app, editOptions, status);
    FunctionsOptions functionsOptions;
    addFunctions(app, functionsOptions, status);
    SchemaOptions schemaOptions;
    addCommand(app, "schema", "Write the JSON Schema of diagram documents, for editors", schemaOptions,
               status, schema);
    HelpOptions helpOptions;
    addHelp(app, helpOptions);
    addExamples(app);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& outcome) {
        endOnParseOutcome(app, outcome);
    }
    return status;
}

}  // namespace

CaseOptions readCaseOptions(const std::string& fileName, std::string_view text) {
    CaseOptions options;
    int status = ExitStatus::done;
    CLI::App app;
    auto& command = addRun(app, options.run, status, [](const RunOptions&) { return int{ExitStatus::done}; });
    addTolerance(command, options.tolerance);
    command.add_option("--recording", options.recording);
    auto names = optionNames(command);
    // What a run writes, and how, is the command's own affair.
    for (const std::string_view name :
         {"--help", "--output", "--out-dir", "--jobs", "--resume", "--save", "--stats", "--quiet",
          "--profile", "--profile-json", "--trace", "--live", "--live-wait"})
        std::erase(names, name);
    // The last word first, as the parser takes them.
    std::vector<std::string> words;
    std::istringstream lines{std::string(text)};
    std::string line;
    for (std::size_t number = 1; std::getline(lines, line); ++number) {
        line.erase(line.find_last_not_of(" \t\r") + 1);
        if (line.empty() || line.starts_with('#')) continue;
        const auto name = line.substr(0, line.find(' '));
        if (std::find(names.begin(), names.end(), name) == names.end()) {
            throw Failure{ExitStatus::failed, fileName + ":" + std::to_string(number) + ": " +
                                                  withHint("no option of a case is called " + inQuotes(name),
                                                           nearestNameHint(name, names))};
        }
        // Behind an equals sign, a text may begin with a dash.
        if (name.size() < line.size()) line[name.size()] = '=';
        words.insert(words.begin(), line);
    }
    words.insert(words.end(), {"diagram", "run"});
    try {
        app.parse(words);
    } catch (const CLI::ParseError& error) {
        throw Failure{ExitStatus::failed, fileName + ": " + printable(error.what())};
    }
    return options;
}

int runTool(int argc, char** argv) {
    try {
        return runCommand(argc, argv);
    } catch (const Failure& failure) {
        if (!failure.message.empty()) report(failure.message);
        return failure.status;
    } catch (const std::bad_alloc&) {
        report("kelvane: out of memory");
        return ExitStatus::failed;
    }
}

}  // namespace kelvane
