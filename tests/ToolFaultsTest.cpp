#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <optional>

#include "support/TestDirectory.h"
#include "support/ToolProcess.h"

namespace KelvaneSDK::testing_support {

namespace {

/// A kind of fault, and the calls that it befalls. The first three lose nothing.
const std::pair<std::string, std::vector<std::string>> faults[]{
    {"SHORT", {"read", "write"}},
    {"EAGAIN", {"read", "write"}},
    {"EINTR", {"read", "write", "mkostemp", "fsync", "close", "rename"}},
    {"EIO", {"read", "write", "fsync", "rename"}},
    {"ENOSPC", {"write", "mkostemp", "close"}},
    {"FULL", {"write"}},
    {"EPIPE", {"write"}},
};

/// The outcome of a run over a long recording, whose output is what the file holds that it wrote.
class FaultyRun {
public:
    explicit FaultyRun(bool toFile) : writesFile(toFile) {
        const auto recording = directory.path("long.jsonl"), result = directory.path("result");
        std::string lines;
        for (int i = 0; i < 30; ++i) {
            lines += R"({"timestamp":)" + std::to_string(i) + R"(,"name":"x","floatValue":1})" + std::string(10000, ' ') + "\n";
        }
        directory.write("long.jsonl", lines);
        arguments = {"run", "sum.json", recording};
        if (writesFile) arguments.insert(arguments.end(), {"-o", result});
        written = writesFile ? result : "standard output";
    }

    /// With the call of this number failing; absent when there are not so many.
    std::optional<ToolOutcome> outcome(const std::string& call, int number, const std::string& kind) {
        directory.write("result", "old\n");
        directory.write("standard-output", "");
        const int witness = ::memfd_create("witness", 0);
        const auto fault = call + " " + std::to_string(number) + " " + kind + " " + std::to_string(witness);
        const std::pair<const char*, std::string> variables[]{
            {"LD_PRELOAD", KELVANE_FAULTY_IO}, {"ASAN_OPTIONS", "verify_asan_link_order=0"}, {"KELVANE_FAULT", fault}};
        for (const auto& [name, value] : variables) ::setenv(name, value.c_str(), 1);
        ToolProcess tool(arguments, directory.path("standard-output"));
        for (const auto& [name, value] : variables) ::unsetenv(name);
        auto outcome = tool.finish();
        outcome.output = directory.content(writesFile ? "result" : "standard-output");
        const bool hasStruck = ::lseek(witness, 0, SEEK_END) > 0 || call == "none";
        ::close(witness);
        EXPECT_EQ(directory.size(), 3) << "a temporary file stays";
        return hasStruck ? std::optional(outcome) : std::nullopt;
    }

    bool writesFile;
    std::string written;

private:
    TestDirectory directory;
    std::vector<std::string> arguments;
};

class ToolFaultsTest : public testing::TestWithParam<bool> {};

TEST_P(ToolFaultsTest, LoseNothingUntold) {
    FaultyRun run(GetParam());
    const auto undisturbed = run.outcome("none", 0, "none").value();
    EXPECT_EQ(undisturbed.status, 0);
    for (const auto& [kind, calls] : faults) {
        for (const auto& call : calls) {
            if (!run.writesFile && call != "read" && call != "write") continue;
            int number = 0;
            while (const auto outcome = run.outcome(call, ++number, kind)) {
                SCOPED_TRACE(call + " " + std::to_string(number) + " " + kind);
                if (kind == "SHORT" || kind == "EAGAIN" || kind == "EINTR") {
                    EXPECT_EQ(outcome->messages, "");
                    EXPECT_EQ(outcome->output, undisturbed.output);
                    continue;
                }
                EXPECT_EQ(outcome->status, 1);
                const auto reason = std::string(": ") + std::strerror(kind == "EIO" ? EIO : ENOSPC) + "\n";
                if (call == "read") {
                    EXPECT_TRUE(outcome->messages.starts_with("kelvane: cannot read ") && outcome->messages.ends_with(reason)) << outcome->messages;
                } else {
                    EXPECT_EQ(outcome->messages, kind == "EPIPE" ? "" : "kelvane: cannot write " + run.written + reason);
                }
                if (run.writesFile) {
                    EXPECT_EQ(outcome->output, "old\n");
                } else {
                    EXPECT_TRUE(undisturbed.output.starts_with(outcome->output));
                    EXPECT_TRUE(outcome->output.empty() || outcome->output.back() == '\n') << "a line is torn";
                }
            }
            EXPECT_GT(number, 1) << "there is no " << call;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Runs, ToolFaultsTest, testing::Bool(), [](const auto& row) { return row.param ? "IntoAFile" : "ToStandardOutput"; });

}  // namespace

}  // namespace KelvaneSDK::testing_support
