#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <ostream>
#include <utility>

#include "support/TestDirectory.h"
#include "support/ToolProcess.h"

namespace KelvaneSDK::testing_support {

namespace {

const std::pair<std::string, std::vector<std::string>> faults[]{
    {"open", {"EINTR", "EIO"}},
    {"read", {"SHORT", "EINTR", "EAGAIN", "EIO"}},
    {"write", {"SHORT", "EINTR", "EAGAIN", "EIO", "ENOSPC", "FULL", "EPIPE"}},
    {"mkostemp", {"EINTR", "ENOSPC"}},
    {"fsync", {"EINTR", "EIO"}},
    {"close", {"EINTR", "ENOSPC"}},
    {"rename", {"EINTR", "EIO"}},
};

struct FaultsCase {
    std::string name;
    /// "./" stands for the test's own directory.
    std::vector<std::string> arguments;
    std::string calls;

    friend void PrintTo(const FaultsCase& row, std::ostream* out) { *out << row.name; }
};

class ToolFaultsTest : public testing::TestWithParam<FaultsCase> {
protected:
    void SetUp() override {
        for (auto& word : arguments) {
            writesFile |= word == "-o";
            if (word.starts_with("./")) word = directory.path(word.substr(2));
        }
        std::string recording;
        const bool hasInvalidLines = GetParam().name == "RunThatKeepsGoing";
        for (int i = 0; i < 60; ++i) {
            const std::string value = hasInvalidLines && i % 20 == 5 ? "" : R"("floatValue":1,)";
            recording += R"({"timestamp":)" + std::to_string(i) + R"(,"name":"x",)" + value + R"("more":")" + std::string(10000, '-') + "\"}\n";
        }
        directory.write("long.jsonl", recording);
    }

    /// The outcome when call number `number` fails; with "-o", the output is what the file holds.
    ToolOutcome outcomeUnder(const std::string& call, int number, const std::string& kind) {
        directory.write("out.jsonl", "old\n");
        directory.write("standard-output", "");
        const int witness = ::memfd_create("witness", 0);
        const std::pair<const char*, std::string> variables[]{
            {"LD_PRELOAD", KELVANE_FAULTY_IO},
            {"ASAN_OPTIONS", "verify_asan_link_order=0"},
            {"KELVANE_FAULT", call + " " + std::to_string(number) + " " + kind + " " + std::to_string(witness)},
        };
        for (const auto& [name, value] : variables) ::setenv(name, value.c_str(), 1);
        ToolProcess tool(arguments, directory.path("standard-output"));
        for (const auto& [name, value] : variables) ::unsetenv(name);
        auto outcome = tool.finish();
        outcome.output = directory.content(writesFile ? "out.jsonl" : "standard-output");
        hasStruck = ::lseek(witness, 0, SEEK_END) > 0;
        ::close(witness);
        return outcome;
    }

    void expectLoss(const ToolOutcome& outcome, const ToolOutcome& undisturbed, const std::string& call, const std::string& kind) const {
        EXPECT_EQ(outcome.status, 1);
        if (writesFile) {
            EXPECT_EQ(outcome.output, "old\n");
        } else {
            EXPECT_TRUE(undisturbed.output.starts_with(outcome.output));
            EXPECT_TRUE(outcome.output.empty() || outcome.output.back() == '\n') << "a line is torn";
        }
        if (kind == "EPIPE") {
            EXPECT_TRUE(undisturbed.messages.starts_with(outcome.messages)) << outcome.messages;
            return;
        }
        const auto tells = [&](const std::string& act) {
            return outcome.messages.ends_with("kelvane: cannot " + act + ": " + std::strerror(kind == "EIO" ? EIO : ENOSPC) + "\n");
        };
        const bool isTold = call == "open" || call == "read" ? tells("read sum.json") || tells("read " + directory.path("long.jsonl"))
                                                             : tells("write " + (writesFile ? directory.path("out.jsonl") : "standard output"));
        EXPECT_TRUE(isTold) << outcome.messages;
    }

    TestDirectory directory;
    std::vector<std::string> arguments = GetParam().arguments;
    bool writesFile = false, hasStruck = false;
};

TEST_P(ToolFaultsTest, LoseNothingUntold) {
    const auto undisturbed = outcomeUnder("none", 0, "none");
    const auto files = directory.size();
    for (const auto& [call, kinds] : faults) {
        if (GetParam().calls.find(call) == std::string::npos) continue;
        for (const auto& kind : kinds) {
            for (int number = 1;; ++number) {
                SCOPED_TRACE(call + " " + std::to_string(number) + " " + kind);
                const auto outcome = outcomeUnder(call, number, kind);
                if (!hasStruck) {
                    EXPECT_GT(number, 1) << "there is no such call";
                    break;
                }
                EXPECT_EQ(directory.size(), files) << "a temporary file stays";
                if (kind == "SHORT" || kind == "EINTR" || kind == "EAGAIN") {
                    EXPECT_EQ(outcome.status, undisturbed.status);
                    EXPECT_EQ(outcome.messages, undisturbed.messages);
                    EXPECT_EQ(outcome.output, undisturbed.output);
                } else {
                    expectLoss(outcome, undisturbed, call, kind);
                }
            }
        }
    }
}

const FaultsCase cases[]{
    {"Run", {"run", "sum.json", "./long.jsonl"}, "open read write"},
    {"RunThatKeepsGoing", {"run", "sum.json", "./long.jsonl", "--keep-going"}, "open read write"},
    {"RunIntoAFile", {"run", "sum.json", "./long.jsonl", "-o", "./out.jsonl"}, "open read write mkostemp fsync close rename"},
    {"Check", {"check", "sum.json", "--recording", "./long.jsonl"}, "open read write"},
    {"Info", {"info", "sum.json"}, "open read write"},
    {"Export", {"export", "sum.json"}, "open read write"},
    {"Functions", {"functions"}, "write"},
    {"Help", {"--help"}, "write"},
};
INSTANTIATE_TEST_SUITE_P(Faults, ToolFaultsTest, testing::ValuesIn(cases), [](const auto& row) { return row.param.name; });

}  // namespace

}  // namespace KelvaneSDK::testing_support
