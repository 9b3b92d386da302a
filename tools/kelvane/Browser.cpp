#include "Browser.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <system_error>
#include <thread>
#include <vector>

extern char** environ;

namespace kelvane {

namespace {

/// The programs to be tried, in order. BROWSER has several with colons between.
std::vector<std::string> browsers() {
    std::vector<std::string> programs;
    if (const char* const chosen = std::getenv("BROWSER")) {
        std::istringstream names(chosen);
        for (std::string name; std::getline(names, name, ':');)
            if (!name.empty()) programs.push_back(name);
    }
    programs.emplace_back("xdg-open");
    return programs;
}

/// Whether the process still runs after a while, or ended well: a browser that is there already is given the
/// page, and what gives it ends.
bool goesWell(pid_t process) {
    using namespace std::chrono_literals;
    for (auto waited = 0ms; waited < 2000ms; waited += 50ms) {
        int status = 0;
        if (::waitpid(process, &status, WNOHANG) == process)
            return WIFEXITED(status) && WEXITSTATUS(status) == 0;
        std::this_thread::sleep_for(50ms);
    }
    return true;
}

}  // namespace

bool openInBrowser(const std::string& path) {
    std::error_code error;
    // Absolute, so that it is no option.
    auto file = std::filesystem::absolute(path, error).string();
    if (error) return false;
    posix_spawn_file_actions_t quietly;
    posix_spawn_file_actions_init(&quietly);
    posix_spawn_file_actions_addopen(&quietly, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&quietly, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_adddup2(&quietly, STDOUT_FILENO, STDERR_FILENO);
    // A session of its own, so that it outlives the terminal.
    posix_spawnattr_t apart;
    posix_spawnattr_init(&apart);
    posix_spawnattr_setflags(&apart, POSIX_SPAWN_SETSID);
    bool isOpen = false;
    for (auto program : browsers()) {
        const std::array<char*, 3> arguments{program.data(), file.data(), nullptr};
        pid_t process = 0;
        isOpen =
            ::posix_spawnp(&process, program.c_str(), &quietly, &apart, arguments.data(), environ) == 0 &&
            goesWell(process);
        if (isOpen) break;
    }
    posix_spawnattr_destroy(&apart);
    posix_spawn_file_actions_destroy(&quietly);
    return isOpen;
}

}  // namespace kelvane
