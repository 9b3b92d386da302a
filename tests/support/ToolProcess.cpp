#include "support/ToolProcess.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <stdexcept>

namespace KelvaneSDK::testing_support {

namespace {

std::array<int, 2> makePipe() {
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
    return ends;
}

void closeOnce(int& descriptor) {
    if (descriptor >= 0) ::close(descriptor);
    descriptor = -1;
}

std::string readToEnd(int descriptor) {
    std::string text;
    std::array<char, 4096> piece;
    for (ssize_t count; (count = ::read(descriptor, piece.data(), piece.size())) > 0;) {
        text.append(piece.data(), static_cast<std::size_t>(count));
    }
    return text;
}

}  // namespace

ToolProcess::ToolProcess(const std::vector<std::string>& arguments, const std::string& outputPath)
    : messages(::memfd_create("messages", MFD_CLOEXEC)) {
    // The tool may be gone before it has read everything.
    ::signal(SIGPIPE, SIG_IGN);
    const auto toTool = makePipe();
    auto fromTool = makePipe();
    if (!outputPath.empty()) {
        closeOnce(fromTool[1]);
        fromTool[1] = ::open(outputPath.c_str(), O_WRONLY | O_APPEND | O_CLOEXEC);
    }
    std::vector<char*> words{const_cast<char*>("kelvane")};
    for (const auto& argument : arguments) words.push_back(const_cast<char*>(argument.c_str()));
    words.push_back(nullptr);
    process = ::fork();
    if (process == 0) {
        ::dup2(toTool[0], STDIN_FILENO);
        ::dup2(fromTool[1], STDOUT_FILENO);
        ::dup2(messages, STDERR_FILENO);
        // Signals are left to the tool, whatever this program inherited: a shell has background jobs ignore SIGINT.
        for (const int number : {SIGPIPE, SIGINT, SIGTERM, SIGHUP}) ::signal(number, SIG_DFL);
        if (::chdir(KELVANE_TEST_DATA) == 0) ::execv(KELVANE_TOOL, words.data());
        ::_exit(127);
    }
    ::close(toTool[0]);
    ::close(fromTool[1]);
    input = toTool[1];
    output = fromTool[0];
}

ToolProcess::~ToolProcess() {
    closeOnce(input);
    closeOnce(output);
    ::close(messages);
    if (process <= 0) return;
    ::kill(process, SIGKILL);
    ::waitpid(process, nullptr, 0);
}

void ToolProcess::write(const std::string& text) {
    for (std::size_t done = 0; done < text.size();) {
        const auto written = ::write(input, text.data() + done, text.size() - done);
        if (written < 0) return;
        done += static_cast<std::size_t>(written);
    }
}

std::string ToolProcess::readLine() {
    std::string line;
    for (char character; ::read(output, &character, 1) == 1;) {
        line += character;
        if (character == '\n') break;
    }
    return line;
}

void ToolProcess::closeOutput() { closeOnce(output); }

void ToolProcess::send(int signal) { ::kill(process, signal); }

ToolOutcome ToolProcess::finish() {
    closeOnce(input);
    ToolOutcome outcome;
    if (output >= 0) outcome.output = readToEnd(output);
    int status = 0;
    ::waitpid(process, &status, 0);
    process = -1;
    outcome.status = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    ::lseek(messages, 0, SEEK_SET);
    outcome.messages = readToEnd(messages);
    return outcome;
}

ToolOutcome runTool(const std::vector<std::string>& arguments, const std::string& input) {
    ToolProcess tool(arguments);
    tool.write(input);
    return tool.finish();
}

}  // namespace KelvaneSDK::testing_support
