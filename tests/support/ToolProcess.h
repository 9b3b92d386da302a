#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace KelvaneSDK::testing_support {

/// What the tool gave from beginning to end.
struct ToolOutcome {
    int status = 0;
    std::string output, messages;
};

/// The tool `kelvane`, running beside the test in the directory of the test data.
class ToolProcess {
public:
    /// `outputPath` stands for standard output; empty: it is read by the test.
    explicit ToolProcess(const std::vector<std::string>& arguments, const std::string& outputPath = {});
    ~ToolProcess();
    ToolProcess(const ToolProcess&) = delete;
    ToolProcess& operator=(const ToolProcess&) = delete;

    /// Writes to standard input.
    void write(const std::string& text);
    /// The next line of standard output, without waiting for more; empty at its end.
    std::string readLine();
    void closeOutput();
    void send(int signal);
    /// Closes standard input, reads what is left of standard output, and waits for the end. A signal that
    /// ended the process is its negative status.
    ToolOutcome finish();

private:
    pid_t process;
    int input, output = -1, messages;
};

/// The outcome of the tool with this standard input.
ToolOutcome runTool(const std::vector<std::string>& arguments, const std::string& input = {});

}  // namespace KelvaneSDK::testing_support
