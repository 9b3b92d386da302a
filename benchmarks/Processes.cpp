#include "Processes.h"

#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <fstream>

#include "Benchmark.h"

namespace KelvaneBenchmarks {

ProcessResult runCommand(const std::string& command) {
    ProcessResult result;
    result.seconds = secondsOf([&] {
        std::fflush(nullptr);
        FILE* pipe = ::popen(command.c_str(), "r");
        if (pipe == nullptr) fail("no process could be started");
        std::array<char, 4096> piece{};
        while (const auto count = std::fread(piece.data(), 1, piece.size(), pipe))
            result.output.append(piece.data(), count);
        result.status = ::pclose(pipe);
    });
    return result;
}

std::vector<double> inChild(unsigned seconds, const std::function<void(const Report&)>& work) {
    std::array<int, 2> ends{};
    std::fflush(nullptr);
    if (::pipe(ends.data()) != 0) fail("no process could be started");
    const pid_t child = ::fork();
    if (child < 0) fail("no process could be started");
    if (child == 0) {
        ::alarm(seconds);
        try {
            work([&](double figure) {
                if (::write(ends[1], &figure, sizeof figure) != sizeof figure) ::_exit(1);
            });
        } catch (const std::exception& failure) {
            std::fprintf(stderr, "%s\n", failure.what());
            ::_exit(1);
        }
        ::_exit(0);
    }
    ::close(ends[1]);
    std::vector<double> figures;
    for (double figure = 0; ::read(ends[0], &figure, sizeof figure) == sizeof figure;)
        figures.push_back(figure);
    ::close(ends[0]);
    int status = 0;
    ::waitpid(child, &status, 0);
    if (!(WIFEXITED(status) && WEXITSTATUS(status) == 0) &&
        !(WIFSIGNALED(status) && WTERMSIG(status) == SIGALRM))
        fail("a contestant ended early");
    return figures;
}

TemporaryFile::TemporaryFile(const std::string& suffix, const std::string& content)
    : path(std::filesystem::temp_directory_path() /
           ("kelvane-benchmark-" + std::to_string(::getpid()) + suffix)) {
    if (!(std::ofstream(path, std::ios::binary) << content).flush()) fail("cannot write " + path);
}

TemporaryFile::~TemporaryFile() { ::unlink(path.c_str()); }

}  // namespace KelvaneBenchmarks
