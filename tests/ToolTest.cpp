#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
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
const std::string notRecorded =
    "sum.json: warning: nodes[0]: node 0 (\"Float\", \"x\"): the recording gives no values for this input stream\n"
    "1 diagram checked: 0 errors, 1 warning\n";

struct ToolCase {
    std::string name;
    std::vector<std::string> arguments;
    std::string input;
    int status;
    std::string output;
    std::string messages;

    friend void PrintTo(const ToolCase& row, std::ostream* out) { *out << row.name; }
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

const auto words = [](auto... all) { return std::vector<std::string>{all...}; };
const auto run = [](auto... more) { return words("run", "sum.json", more...); };

INSTANTIATE_TEST_SUITE_P(
    Run, ToolTest,
    testing::Values(
        ToolCase{"ReplaysAFile", run("walk.jsonl"), "", 0, walkResults, ""}, ToolCase{"TakesADashForStandardInput", run("-"), x1, 0, firstResult, ""},
        ToolCase{"LeavesInputsOut", run("walk.jsonl", "--no-inputs"), "", 0, walkSums, ""},
        ToolCase{"HidesStreams", run("walk.jsonl", "--hide", "x"), "", 0, walkSums, ""},
        ToolCase{"HidesOutputs", run("walk.jsonl", "--hide", "x", "--hide", "sum"), "", 0, "", ""},
        ToolCase{"SetsConstants", run("--no-inputs", "--set", "offset=-1e1", "--set", "offset=-0.5"), x1, 0,
                 "{\"timestamp\":1,\"name\":\"sum\",\"floatValue\":0.5}\n", ""},
        ToolCase{"AcceptsAnEmptyRecording", run("--keep-going"), "", 0, "", ""},
        ToolCase{"AcceptsCarriageReturns", run(), x1.substr(0, x1.size() - 1) + "\r\n", 0, firstResult, ""},
        ToolCase{"ToleratesNoMoreThanOneFinalLineBreak", run(), x1 + "\n", 1, firstResult,
                 "standard input:2:1: the text is empty; a JSON object was expected (ERROR: invalid JSON at line 1!); the rest was not read\n"},
        ToolCase{"WritesTheBatchesBeforeAnInvalidLine", run("broken.jsonl"), "", 1, firstResult,
                 "broken.jsonl:" + invalid + "; 2 more lines were not read\n"},
        ToolCase{"DoesNotWaitForTheLinesAfterAnInvalidOne", run(), x1 + wrong + x2, 1, firstResult,
                 "standard input:" + invalid + "; the rest was not read\n"},
        ToolCase{"SkipsInvalidLines", run("broken.jsonl", "--keep-going", "--no-inputs"), "", 1,
                 "{\"timestamp\":1,\"name\":\"sum\",\"floatValue\":11}\n{\"timestamp\":3,\"name\":\"sum\",\"floatValue\":13}\n",
                 "broken.jsonl:" + invalid + "\nbroken.jsonl:4:21: the recording ends within this line (ERROR: invalid JSON at line 3!)\n" +
                     "broken.jsonl: 2 invalid lines were skipped\n"},
        ToolCase{"PassesEveryLineOfTheLibraryOn", run("--no-inputs"), x(1, R"("integerValue":1)") + x(2, R"("booleanValue":true)"), 1, "",
                 "ERROR: trying to set input stream 'x' with wrong type!\nERROR: trying to set input stream 'x' with wrong type!\n"},
        ToolCase{"EscapesControlCharacters", words("run", "escape.json"), R"({"timestamp":1,"name":"red\u001b[31m","integerValue":1})", 1,
                 "{\"timestamp\":1,\"name\":\"red\\u001b[31m\",\"floatValue\":0}\n",
                 "ERROR: trying to set input stream 'red\\x1b[31m' with wrong type!\n"},
        ToolCase{
            "TellsWhereEvaluationStopped", words("run", "overflow.json", "--no-inputs"),
            "{\"timestamp\":0,\"name\":\"n\",\"integerValue\":0}\n{\"timestamp\":0.25,\"name\":\"n\",\"integerValue\":1}", 1,
            "{\"timestamp\":0,\"name\":\"sum\",\"integerValue\":9223372036854775807}\n",
            "kelvane: overflow.json stopped in batch 2 at timestamp 0.25: node 2 (\"Add\", \"total\"): an integer addition overflows 64 bits\n"}),
    caseName);

INSTANTIATE_TEST_SUITE_P(
    DocumentErrors, ToolTest,
    testing::Values(
        ToolCase{"AreToldAndTheRunGoesOn", words("run", "bad-constant.json", "walk.jsonl", "--no-inputs", "--set", "offset=10"), "", 1, walkSums,
                 badConstant + "ERROR: converting ten to Float failed!\n"},
        ToolCase{"RefuseWhatWouldHang", words("run", "unknown-id.json"), "", 1, "", unknownId + "kelvane: unknown-id.json cannot be evaluated\n"},
        ToolCase{"RefuseWhatCannotBeBuilt", words("info", "misspelt.json"), "", 1, "",
                 misspelt + "ERROR: typeString Moving avrager for classString Function not found!\n"
                            "ERROR: failed to process diagram info\n"
                            "kelvane: misspelt.json cannot be built\n"},
        ToolCase{"AreCheckedInSeveralDiagrams", words("check", "sum.json", "unknown-id.json", "none.json", "bad-constant.json"), "", 1,
                 unknownId + badConstant + "4 diagrams checked: 2 errors, 0 warnings\n",
                 "kelvane: cannot read none.json: No such file or directory\n"},
        ToolCase{"MayBeNone", words("check", "sum.json"), "", 0, "1 diagram checked: 0 errors, 0 warnings\n", ""},
        ToolCase{"AreComparedWithTheRecordingToo", words("check", "misspelt.json", "--recording", "walk.jsonl"), "", 1,
                 misspelt + "misspelt.json:5: warning: nodes[2]: node 2 (\"Float\", \"mean\"): input 0 (\"value\") is not connected, so that the "
                            "node never runs\n"
                            "misspelt.json: warning: nodes[0]: node 0 (\"Float\", \"Speed\"): the recording gives no values for this input stream; "
                            "did you mean \"speed\"?\n"
                            "misspelt.json: warning: the document: no input stream takes the recorded values \"speed\"; did you mean \"Speed\"?\n"
                            "misspelt.json: warning: the document: no input stream takes the recorded values \"x\"\n"
                            "1 diagram checked: 1 error, 4 warnings\n",
                 ""},
        ToolCase{"IncludeTypesOfTheRecording", words("check", "sum.json", "--recording", "-"),
                 x1 + x(2, R"("integerValue":1)") + x(3, R"("integerValue":1)"), 1,
                 "sum.json: nodes[0]: node 0 (\"Float\", \"x\"): the recording gives 2 values of type Integer, the first at timestamp 2.0; Float was "
                 "expected\n"
                 "1 diagram checked: 1 error, 0 warnings\n",
                 ""},
        ToolCase{"IncludeAnInvalidLine", words("check", "sum.json", "--recording", "-"), x1 + wrong, 1,
                 "standard input:" + invalid + "; the rest was not read\n1 diagram checked: 1 error, 0 warnings\n", ""},
        ToolCase{"AreOnlyWarningsHere", words("check", "sum.json", "--recording", "-"), "", 0, notRecorded, ""},
        ToolCase{"IncludeWarningsWhenStrict", words("check", "sum.json", "--strict", "--recording", "-"), "", 1, notRecorded, ""},
        ToolCase{"CanBeJson", words("check", "sum.json", "--json", "--recording", "-"), "", 0,
                 R"({
  "findings": [
    {
      "file": "sum.json",
      "code": "stream-not-recorded",
      "severity": "warning",
      "fatal": false,
      "pointer": "/nodes/0",
      "nodeId": 0,
      "typeString": "Float",
      "label": "x",
      "message": "the recording gives no values for this input stream"
    }
  ],
  "errors": 0,
  "warnings": 1
}
)",
                 ""}),
    caseName);

INSTANTIATE_TEST_SUITE_P(
    WrongUse, ToolTest,
    testing::Values(
        ToolCase{"NoCommand", {}, "", 2, "", "kelvane: A subcommand is required\nRun with --help for more information.\n"},
        ToolCase{"AnUnknownCommand", words("rnu"), "", 2, "", "kelvane: no command is called \"rnu\"; did you mean \"run\"?\n"},
        ToolCase{"AnUnknownConstant", run("--set", "ofset=1"), "", 2, "",
                 "kelvane: --set ofset=1: no constant is called \"ofset\"; did you mean \"offset\"?\n"},
        ToolCase{"AConstantWithoutText", run("--set", "offset"), "", 2, "", "kelvane: --set offset: LABEL=TEXT was expected\n"},
        ToolCase{"AConstantOfAnotherType", run("--set", "offset=a\nb"), "", 2, "", "kelvane: --set offset=a\\nb: \"a\\nb\" does not read as Float\n"},
        ToolCase{"AnUnknownLabelToHide", run("--hide", "Sum"), "", 2, "",
                 "kelvane: --hide Sum: no variable output or input stream is called \"Sum\"; did you mean \"sum\"?\n"},
        ToolCase{"ANegativeLimit", run("--max-elements", "-1"), "", 2, "", "kelvane: --max-elements -1: 0 or more was expected\n"},
        ToolCase{"NoNumberAsLimit", run("--max-batch-seconds", "nan"), "", 2, "", "kelvane: --max-batch-seconds: a number was expected\n"},
        ToolCase{"AnEmptyName", run("-o", ""), "", 1, "", "kelvane: cannot write \"\": No such file or directory\n"},
        ToolCase{"StandardInputTwice", words("run", "-"), "", 2, "", "kelvane: the diagram and the recording cannot both be standard input\n"},
        ToolCase{"OverwritingTheRecording", run("walk.jsonl", "-o", "./walk.jsonl"), "", 2, "",
                 "kelvane: ./walk.jsonl is the file that is read, and would be overwritten\n"},
        ToolCase{"AMissingDiagram", words("run", "none.json"), "", 1, "", "kelvane: cannot read none.json: No such file or directory\n"},
        ToolCase{"ADirectoryAsRecording", run("."), "", 1, "", "kelvane: cannot read .: Is a directory\n"},
        ToolCase{"ADirectoryThatIsMissing", run("-o", "none/out.jsonl"), "", 1, "",
                 "kelvane: cannot write none/out.jsonl: No such file or directory\n"},
        ToolCase{"AnUnknownFunction", words("functions", "Vector lenght"), "", 2, "",
                 "kelvane: no function is called \"Vector lenght\"; did you mean \"Vector length\"?\n"}),
    caseName);

INSTANTIATE_TEST_SUITE_P(Lists, ToolTest,
                         testing::Values(ToolCase{"Info", words("info", "sum.json"), "", 0,
                                                  "Input streams\n  x  Float\nVariable outputs\n  sum  Float\nConstants\n  offset  Float  10.0\n"
                                                  "Functions\n  Add  1\nManual\n  Adds the offset to x.\n",
                                                  ""},
                                         ToolCase{"InfoAsJson", words("info", "escape.json", "--json"), "", 0,
                                                  R"({
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
                                         ToolCase{"OneFunction", words("functions", "Vector length"), "", 0,
                                                  "Vector\n  Vector length(v: Vector) -> Float\n      the length of v\n", ""}),
                         caseName);

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

TEST_F(ToolFileTest, AStopLeavesTheFinishedBatches) {
    const auto outcome = runTool({"run", "overflow.json", "--no-inputs", "-o", path("out.jsonl")},
                                 "{\"timestamp\":0,\"name\":\"n\",\"integerValue\":-1}\n{\"timestamp\":1,\"name\":\"n\",\"integerValue\":1}");
    EXPECT_EQ(outcome.status, 1);
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
    ToolProcess tool(run(path("walk.jsonl")), path("walk.jsonl"));
    const auto outcome = tool.finish();
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.messages, "kelvane: standard output is the file that is read, and would be overwritten\n");
    EXPECT_EQ(directory.content("walk.jsonl"), x1);
}

TEST_F(ToolFileTest, AFileThatMayNotGrowEndsWithAWholeLine) {
    directory.write("out.jsonl", "");
    rlimit unlimited{};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &unlimited), 0);
    const rlimit limited{firstResult.size() + 60, unlimited.rlim_max};
    ::setrlimit(RLIMIT_FSIZE, &limited);
    ToolProcess tool(run("walk.jsonl"), path("out.jsonl"));
    ::setrlimit(RLIMIT_FSIZE, &unlimited);
    const auto outcome = tool.finish();
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.messages, "kelvane: cannot write standard output: File too large\n");
    EXPECT_EQ(directory.content("out.jsonl"), walkResults.substr(0, walkResults.find("{\"timestamp\":1,\"name\":\"x\"")));
}

TEST(ToolStreamTest, ManyInvalidLinesAreCountedOnly) {
    const auto outcome = runTool(run("--keep-going"), std::string(250, '\n'));
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(std::count(outcome.messages.begin(), outcome.messages.end(), '\n'), 101);
    EXPECT_TRUE(outcome.messages.ends_with("standard input: 250 invalid lines were skipped; the first 100 are told above\n"));
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

TEST(ToolStreamTest, AFullDeviceIsTold) {
    for (const auto& arguments : {run("walk.jsonl"), std::vector<std::string>{"info", "sum.json"}, {"--help"}}) {
        ToolProcess tool(arguments, "/dev/full");
        const auto outcome = tool.finish();
        EXPECT_EQ(outcome.status, 1);
        EXPECT_EQ(outcome.messages, "kelvane: cannot write standard output: No space left on device\n");
    }
}

TEST(ToolStreamTest, ResultsAreARecordingForTheNextDiagram) {
    const auto outcome = runTool({"run", "double.json", "--no-inputs"}, runTool(run("walk.jsonl")).output);
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.output,
              "{\"timestamp\":0.5,\"name\":\"double\",\"floatValue\":22}\n"
              "{\"timestamp\":1,\"name\":\"double\",\"floatValue\":25}\n");
}

TEST_F(ToolFileTest, PiecesCutAnywhereGiveTheResultsOfTheWhole) {
    std::string recording;
    for (int i = 1; i <= 20000; ++i) recording += x(i, "\"floatValue\":" + std::to_string(i % 7));
    directory.write("long.jsonl", recording);
    const auto results = runTool(run("--no-inputs", path("long.jsonl")));
    EXPECT_EQ(results.status, 0);
    std::istringstream lines(results.output);
    std::string line;
    int count = 0;
    for (; std::getline(lines, line); ++count) {
        std::ostringstream expected;
        expected << R"({"timestamp":)" << count + 1 << R"(,"name":"sum","floatValue":)" << (count + 1) % 7 + 10 << "}";
        ASSERT_EQ(line, expected.str());
    }
    EXPECT_EQ(count, 20000);
}

TEST(ToolStreamTest, AnExportedDiagramGivesTheSameExport) {
    const auto once = runTool({"export", "sum.json"});
    EXPECT_EQ(once.status, 0);
    EXPECT_EQ(runTool({"export", "-"}, once.output).output, once.output);
    EXPECT_EQ(runTool({"info", "-"}, once.output).output, runTool({"info", "sum.json"}).output);
}

}  // namespace

}  // namespace KelvaneSDK::testing_support
