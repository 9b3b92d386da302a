#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <ostream>
#include <sstream>
#include <string>
#include <vector>

#include "support/TestDirectory.h"
#include "support/ToolProcess.h"

namespace KelvaneSDK::testing_support {

namespace {

namespace fs = std::filesystem;

std::string x(double timestamp, const std::string& value) {
    std::ostringstream line;
    line << R"({"timestamp":)" << timestamp << R"(,"name":"x",)" << value << "}\n";
    return line.str();
}

const std::string x1 = x(1, R"("floatValue":1)"), x2 = x(2, R"("floatValue":1)"), wrong = x(2, R"("floatValue":"1")");

const std::string walkResults =
    R"({"timestamp":0.5,"name":"sum","floatValue":11}
{"timestamp":0.5,"name":"x","floatValue":1}
{"timestamp":1,"name":"sum","floatValue":12.5}
{"timestamp":1,"name":"x","floatValue":2.5}
)";
const std::string walkSums =
    R"({"timestamp":0.5,"name":"sum","floatValue":11}
{"timestamp":1,"name":"sum","floatValue":12.5}
)";
const std::string firstResult =
    R"({"timestamp":1,"name":"sum","floatValue":11}
{"timestamp":1,"name":"x","floatValue":1}
)";
const std::string invalid = R"(2:40: "floatValue" is a string; a number was expected (ERROR: invalid JSON at line 1!))";

const std::string badConstant =
    "bad-constant.json:11: properties[2]: node 1 (\"Float\", \"offset\"): \"ten\" is no value of type \"Float\"; expected a number\n";
const std::string unknownId = "unknown-id.json:12: connections[1]: no node has the outputNodeId 7; the connection would be retried without end\n";
const std::string misspelt =
    "misspelt.json:4: nodes[1]: node 1 (\"Moving avrager\"): no function is called \"Moving avrager\"; did you mean \"Moving averager\"?\n";

using Words = std::vector<std::string>;
const auto words = [](auto... all) { return Words{all...}; };
const auto run = [](auto... more) { return words("run", "sum.json", more...); };
const auto checkRecording = [](auto... more) { return words("check", "sum.json", "--recording", "-", more...); };

struct ToolCase {
    std::string name;
    Words arguments;
    std::string input;
    int status;
    std::string output, messages;

    friend void PrintTo(const ToolCase& row, std::ostream* out) { *out << row.name; }
};

const ToolCase runs[]{
    {"ReplaysAFile", run("walk.jsonl"), "", 0, walkResults, ""},
    {"TakesResultsFromStandardInput", run("-"), walkResults, 0, walkResults, ""},
    {"LeavesInputsOut", run("walk.jsonl", "--no-inputs"), "", 0, walkSums, ""},
    {"HidesStreamsAndOutputs", run("walk.jsonl", "--hide", "x", "--hide", "sum"), "", 0, "", ""},
    {"SetsConstants", run("--hide", "x", "--set", "offset=-1e1", "--set", "offset=10"), walkResults, 0, walkSums, ""},
    {"WritesTheBatchesBeforeAnInvalidLine", run("broken.jsonl"), "", 1, firstResult, "broken.jsonl:" + invalid + "; 2 more lines were not read\n"},
    {"DoesNotWaitForTheLinesAfterAnInvalidOne", run(), x1 + wrong + x2, 1, firstResult, "standard input:" + invalid + "; the rest was not read\n"},
    {"SkipsInvalidLines", run("broken.jsonl", "--keep-going", "--hide", "sum"), "", 1, x1 + x(3, R"("floatValue":3)"),
     "broken.jsonl:" + invalid + "\nbroken.jsonl:4:21: the recording ends within this line (ERROR: invalid JSON at line 3!)\n" +
         "broken.jsonl: 2 invalid lines were skipped\n"},
    {"PassesEveryLineOfTheLibraryOn", run("--no-inputs"), x(1, R"("integerValue":1)") + x(2, R"("booleanValue":true)"), 1, "",
     "ERROR: trying to set input stream 'x' with wrong type!\nERROR: trying to set input stream 'x' with wrong type!\n"},
    {"EscapesControlCharacters", words("run", "escape.json"), R"({"timestamp":1,"name":"red\u001b[31m","integerValue":1})", 1,
     "{\"timestamp\":1,\"name\":\"red\\u001b[31m\",\"floatValue\":0}\n", "ERROR: trying to set input stream 'red\\x1b[31m' with wrong type!\n"},
    {"GoesOnAfterErrorsOfTheDocument", words("run", "bad-constant.json", "walk.jsonl", "--no-inputs", "--set", "offset=10"), "", 1, walkSums,
     badConstant},
    {"RefusesWhatWouldHang", words("run", "unknown-id.json"), "", 1, "", unknownId + "kelvane: unknown-id.json cannot be evaluated\n"},
};
const ToolCase checks[]{
    {"InfoOfWhatCannotBeBuilt", words("info", "misspelt.json"), "", 1, "", misspelt + "kelvane: misspelt.json cannot be built\n"},
    {"SeveralDiagrams", words("check", "sum.json", "unknown-id.json", "none.json", "bad-constant.json"), "", 1,
     unknownId + badConstant + "4 diagrams checked: 2 errors, 0 warnings\n", "kelvane: cannot read none.json: No such file or directory\n"},
    {"TheRecordingToo", words("check", "misspelt.json", "--recording", "walk.jsonl"), "", 1,
     misspelt + R"(misspelt.json:5: warning: nodes[2]: node 2 ("Float", "mean"): input 0 ("value") is not connected, so that the node never runs
misspelt.json: warning: nodes[0]: node 0 ("Float", "Speed"): the recording gives no values for this input stream; did you mean "speed"?
misspelt.json: warning: the document: no input stream takes the recorded values "speed"; did you mean "Speed"?
misspelt.json: warning: the document: no input stream takes the recorded values "x"
1 diagram checked: 1 error, 4 warnings
)",
     ""},
    {"TypesOfTheRecording", checkRecording(), x1 + x(2, R"("integerValue":1)") + x(3, R"("integerValue":1)"), 1,
     R"(sum.json: nodes[0]: node 0 ("Float", "x"): the recording gives 2 values of type Integer, the first at timestamp 2.0; Float was expected
1 diagram checked: 1 error, 0 warnings
)",
     ""},
    {"AnInvalidLine", checkRecording(), x1 + wrong, 1,
     "standard input:" + invalid + "; the rest was not read\n1 diagram checked: 1 error, 0 warnings\n", ""},
    {"WarningsWhenStrict", checkRecording("--strict"), "", 1,
     R"(sum.json: warning: nodes[0]: node 0 ("Float", "x"): the recording gives no values for this input stream
1 diagram checked: 0 errors, 1 warning
)",
     ""},
};
const ToolCase lists[]{
    {"Info", words("info", "sum.json"), "", 0,
     "Input streams\n  x  Float\nVariable outputs\n  sum  Float\nConstants\n  offset  Float  10.0\n"
     "Functions\n  Add  1\nManual\n  Adds the offset to x.\n",
     ""},
    {"InfoAsJson", words("info", "escape.json", "--json"), "", 0, R"({
  "inputStreams": [
    {
      "label": "red\u001b[31m",
      "type": "Float",
      "forwarding": true
    }
  ],
  "variableOutputs": [],
  "constants": [],
  "functions": {},
  "manualLines": []
}
)",
     ""},
    {"OneFunction", words("functions", "Vector length"), "", 0,
     "Vector\n  Vector length(v: Vector) -> Float\n      the length of v\n      runs when: v has a new value\n", ""},
    {"FunctionsByAWord", words("functions", "greater"), "", 0,
     "Basic\n  Max(a: Generic variable, b: Generic variable) -> Generic variable\n      the larger of a and b; b when they are equal\n"
     "  Larger(a: Generic variable, b: Generic variable) -> Boolean\n      true when a is larger than b\n"
     "  Larger or equal(a: Generic variable, b: Generic variable) -> Boolean\n      true when a is larger than b or equal to it\n",
     ""},
};

class ToolTest : public testing::TestWithParam<ToolCase> {};

TEST_P(ToolTest, GivesStatusResultsAndMessages) {
    const auto& expected = GetParam();
    const auto outcome = runTool(expected.arguments, expected.input);
    EXPECT_EQ(outcome.output, expected.output);
    EXPECT_EQ(outcome.messages, expected.messages);
    EXPECT_EQ(outcome.status, expected.status);
}

std::string caseName(const testing::TestParamInfo<ToolCase>& info) { return info.param.name; }
INSTANTIATE_TEST_SUITE_P(Run, ToolTest, testing::ValuesIn(runs), caseName);
INSTANTIATE_TEST_SUITE_P(Check, ToolTest, testing::ValuesIn(checks), caseName);
INSTANTIATE_TEST_SUITE_P(Lists, ToolTest, testing::ValuesIn(lists), caseName);

TEST(ToolUsageTest, WhatCannotBeDoneIsTold) {
    const struct {
        Words arguments;
        int status;
        std::string message;
    } rows[]{
        {{}, 2, "A subcommand is required\nRun with --help for more information."},
        {words("rnu"), 2, R"(no command is called "rnu"; did you mean "run"?)"},
        {words("check", "--jsn", "sum.json"), 2, R"(no option is called "--jsn"; did you mean "--json"?)"},
        {words("check"), 2, "DIAGRAM is required\nRun with --help for more information."},
        {words("info", "/dev/zero"), 1, "/dev/zero is longer than the limit of 512 MiB"},
        {words("functions", "Vector lenght"), 2, R"(no function is called "Vector lenght"; did you mean "Vector length"?)"},
        {run("--set", "ofset=1"), 2, R"(--set ofset=1: no constant is called "ofset"; did you mean "offset"?)"},
        {run("--set", "offset"), 2, "--set offset: LABEL=TEXT was expected"},
        {run("--set", "offset=a\nb"), 2, R"(--set offset=a\nb: "a\nb" does not read as Float)"},
        {run("--hide", "Sum"), 2, R"(--hide Sum: no variable output or input stream is called "Sum"; did you mean "sum"?)"},
        {run("--max-elements", "-1"), 2, "--max-elements -1: 0 or more was expected"},
        {run("--max-batch-seconds", "nan"), 2, "--max-batch-seconds: a number was expected"},
        {words("run", "-"), 2, "the diagram and the recording cannot both be standard input"},
        {run("walk.jsonl", "-o", "./walk.jsonl"), 2, "./walk.jsonl is the file that is read, and would be overwritten"},
        {words("run", "none.json"), 1, "cannot read none.json: No such file or directory"},
        {run("."), 1, "cannot read .: Is a directory"},
        {run("-o", ""), 1, R"(cannot write "": No such file or directory)"},
        {run("-o", "none/out.jsonl"), 1, "cannot write none/out.jsonl: No such file or directory"},
    };
    for (const auto& [arguments, status, message] : rows) {
        const auto outcome = runTool(arguments);
        EXPECT_EQ(outcome.messages, "kelvane: " + message + "\n");
        EXPECT_EQ(outcome.output, "");
        EXPECT_EQ(outcome.status, status) << message;
    }
}

class ToolFileTest : public testing::Test {
protected:
    std::string path(const std::string& name) const { return directory.path(name); }

    TestDirectory directory;
};

TEST_F(ToolFileTest, AFileAppearsWhenItIsComplete) {
    ToolProcess tool(run("-o", path("out.jsonl")));
    tool.write(x1 + x2);
    EXPECT_FALSE(fs::exists(path("out.jsonl")));
    EXPECT_EQ(tool.finish().status, 0);
    EXPECT_EQ(directory.content("out.jsonl").substr(0, firstResult.size()), firstResult);
    EXPECT_EQ(directory.size(), 1);
}

// Nobody ever writes to the recording.
TEST_F(ToolFileTest, AnInterruptedRunLeavesNoFile) {
    ASSERT_EQ(::mkfifo(path("pipe").c_str(), 0600), 0);
    ToolProcess tool(run(path("pipe"), "-o", path("out.jsonl")));
    while (directory.size() == 1) ::usleep(1000);
    tool.send(SIGTERM);
    const auto outcome = tool.finish();
    EXPECT_EQ(outcome.status, 143);
    EXPECT_EQ(outcome.messages, "kelvane: interrupted; " + path("out.jsonl") + " was not written\n");
    EXPECT_EQ(directory.size(), 1);
}

TEST_F(ToolFileTest, AStopIsToldAndLeavesTheFinishedBatches) {
    const auto outcome = runTool({"run", "overflow.json", "--no-inputs", "-o", path("out.jsonl")},
                                 "{\"timestamp\":0,\"name\":\"n\",\"integerValue\":-1}\n{\"timestamp\":0.25,\"name\":\"n\",\"integerValue\":1}");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.messages,
              "kelvane: overflow.json stopped in batch 2 at timestamp 0.25: "
              "node 2 (\"Add\", \"total\"): an integer addition overflows 64 bits\n");
    EXPECT_EQ(directory.content("out.jsonl"), "{\"timestamp\":0,\"name\":\"sum\",\"integerValue\":9223372036854775806}\n");
}

TEST_F(ToolFileTest, WhatWasThereStaysUntilTheEndAndKeepsItsModeAndLink) {
    directory.write("real.jsonl", "old");
    const auto mode = fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_read;
    fs::permissions(path("real.jsonl"), mode);
    fs::create_symlink("real.jsonl", path("link.jsonl"));
    EXPECT_EQ(runTool({"run", "none.json", "-o", path("link.jsonl")}).status, 1);
    EXPECT_EQ(directory.content("real.jsonl"), "old");
    EXPECT_EQ(runTool(run("walk.jsonl", "-o", path("link.jsonl"))).status, 0);
    EXPECT_EQ(directory.content("real.jsonl"), walkResults);
    EXPECT_TRUE(fs::is_symlink(path("link.jsonl")));
    EXPECT_EQ(fs::status(path("real.jsonl")).permissions(), mode);
}

TEST_F(ToolFileTest, ResultsAreNotAppendedToTheRecordingThatIsRead) {
    directory.write("walk.jsonl", x1);
    const auto outcome = ToolProcess(run(path("walk.jsonl")), path("walk.jsonl")).finish();
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.messages, "kelvane: standard output is the file that is read, and would be overwritten\n");
    EXPECT_EQ(directory.content("walk.jsonl"), x1);
}

TEST(ToolStreamTest, ManyInvalidLinesAreCountedOnly) {
    const auto outcome = runTool(run("--keep-going"), std::string(250, '\n'));
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(std::count(outcome.messages.begin(), outcome.messages.end(), '\n'), 101);
    EXPECT_TRUE(outcome.messages.ends_with("standard input: 250 invalid lines were skipped; the first 100 are reported above\n"));
}

TEST(ToolStreamTest, ResultsAppearWhileTheRecordingGoesOn) {
    ToolProcess tool(run("--no-inputs"));
    tool.write(x1 + x2);
    EXPECT_EQ(tool.readLine(), "{\"timestamp\":1,\"name\":\"sum\",\"floatValue\":11}\n");
    tool.write(x(3, R"("floatValue":3)"));
    EXPECT_EQ(tool.readLine(), "{\"timestamp\":2,\"name\":\"sum\",\"floatValue\":11}\n");
    EXPECT_EQ(tool.finish().output, "{\"timestamp\":3,\"name\":\"sum\",\"floatValue\":13}\n");
}

TEST(ToolStreamTest, ASignalEndsTheRunAfterTheFinishedBatches) {
    for (const auto& [signal, status] : {std::pair{SIGINT, 130}, std::pair{SIGTERM, 143}}) {
        ToolProcess tool(run());
        tool.write(x1 + x2 + R"({"timestamp":3)");
        const auto first = tool.readLine();
        tool.send(signal);
        const auto outcome = tool.finish();
        EXPECT_EQ(outcome.status, status);
        EXPECT_EQ(first + outcome.output, firstResult);
        EXPECT_EQ(outcome.messages, "");
    }
}

TEST(ToolStreamTest, AReaderThatLeavesEndsTheRunQuietly) {
    ToolProcess tool(run());
    tool.closeOutput();
    tool.write(x1 + x2);
    const auto outcome = tool.finish();
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.messages, "");
}

TEST(ToolStreamTest, AFullDeviceIsToldByEveryCommand) {
    for (const auto& arguments : {run("walk.jsonl"), words("check", "sum.json"), words("info", "sum.json"), words("functions"), words("--help")}) {
        const auto outcome = ToolProcess(arguments, "/dev/full").finish();
        EXPECT_EQ(outcome.status, 1);
        EXPECT_EQ(outcome.messages, "kelvane: cannot write standard output: No space left on device\n");
    }
}

TEST(ToolStreamTest, AnExportedDiagramGivesTheSameExport) {
    const auto once = runTool({"export", "sum.json"});
    EXPECT_EQ(once.status, 0);
    EXPECT_EQ(runTool({"export", "-"}, once.output).output, once.output);
    EXPECT_EQ(runTool({"info", "-"}, once.output).output, runTool({"info", "sum.json"}).output);
}

}  // namespace

}  // namespace KelvaneSDK::testing_support
