// Any command line over a few files, run within this process: the status is a documented one, messages are
// safe to show, wrong usage gives no results, and results are whole lines.
//
// An input has four parts with a line "%" between them: the arguments, one a line; diagram.json;
// recording.jsonl; standard input.

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "CommandLine.h"
#include "Messages.h"
#include "support.h"

// Where the sanitizers report, if there are any: not to the standard error that is caught here.
extern "C" void __sanitizer_set_report_fd(void* descriptor) __attribute__((weak));

namespace {

namespace fs = std::filesystem;
using KelvaneFuzz::require;

constexpr std::string_view diagramName = "diagram.json", recordingName = "recording.jsonl";

std::string contentOf(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return std::string((std::istreambuf_iterator<char>(file)), {});
}

/// A folder of its own that is the working directory, and standard streams of its own, while it is entered.
class Workspace {
public:
    Workspace() : home(::open(".", O_RDONLY | O_DIRECTORY)) {
        std::string pattern = (fs::temp_directory_path() / "kelvane-fuzz-XXXXXX").string();
        require(::mkdtemp(pattern.data()) != nullptr, "there is room for temporary files");
        folder = pattern;
        for (int stream = 0; stream < 3; ++stream) {
            saved[index(stream)] = ::dup(stream);
            caught[index(stream)] = ::memfd_create("stream", MFD_CLOEXEC);
        }
        if (__sanitizer_set_report_fd != nullptr) {
            __sanitizer_set_report_fd(reinterpret_cast<void*>(static_cast<std::intptr_t>(saved[2])));
        }
    }
    ~Workspace() { fs::remove_all(folder); }
    Workspace(const Workspace&) = delete;
    Workspace& operator=(const Workspace&) = delete;

    void enter(std::string_view diagram, std::string_view recording, std::string_view input) {
        for (const auto& entry : fs::directory_iterator(folder)) fs::remove(entry);
        std::ofstream(folder / diagramName, std::ios::binary) << diagram;
        std::ofstream(folder / recordingName, std::ios::binary) << recording;
        fs::current_path(folder);
        for (int stream = 0; stream < 3; ++stream) {
            const int descriptor = caught[index(stream)];
            bool isReady = ::ftruncate(descriptor, 0) == 0 && ::lseek(descriptor, 0, SEEK_SET) == 0;
            if (stream == 0) {
                isReady = isReady && ::write(descriptor, input.data(), input.size()) == std::ssize(input) &&
                          ::lseek(descriptor, 0, SEEK_SET) == 0;
            }
            require(isReady && ::dup2(descriptor, stream) == stream, "the streams can be caught");
        }
    }
    void leave() {
        for (int stream = 0; stream < 3; ++stream) ::dup2(saved[index(stream)], stream);
        require(::fchdir(home) == 0, "the working directory is still there");
    }

    /// What went to a standard stream.
    std::string text(int stream) const {
        const int descriptor = caught[index(stream)];
        std::string content(static_cast<std::size_t>(::lseek(descriptor, 0, SEEK_END)), '\0');
        require(::pread(descriptor, content.data(), content.size(), 0) == std::ssize(content),
                "streams are read");
        return content;
    }
    /// The files that the command left besides its inputs.
    std::vector<fs::path> newFiles() const {
        std::vector<fs::path> files;
        for (const auto& entry : fs::directory_iterator(folder)) {
            const auto name = entry.path().filename();
            if (name != diagramName && name != recordingName) files.push_back(entry.path());
        }
        return files;
    }

private:
    static std::size_t index(int stream) { return static_cast<std::size_t>(stream); }

    int home;
    fs::path folder;
    std::array<int, 3> saved{}, caught{};
};

std::string_view takeUntil(std::string_view& rest, std::string_view mark) {
    const auto end = std::min(rest.find(mark), rest.size());
    const auto taken = rest.substr(0, end);
    rest.remove_prefix(std::min(rest.size(), end + mark.size()));
    return taken;
}

/// The arguments, none of which leads out of the folder. A run gets limits; one that names its own gets no
/// values to use them up.
std::vector<std::string> argumentsOf(std::string_view lines, bool& hasOwnLimits) {
    std::vector<std::string> arguments{"kelvane"};
    hasOwnLimits = lines.find("--max") != std::string_view::npos;
    while (!lines.empty()) {
        std::string argument(takeUntil(lines, "\n"));
        std::replace(argument.begin(), argument.end(), '/', '_');
        arguments.push_back(argument.c_str());
    }
    const auto command = std::find_if(arguments.begin() + 1, arguments.end(),
                                      [](const auto& argument) { return !argument.starts_with('-'); });
    if (command != arguments.end() && *command == "run" && !hasOwnLimits) {
        arguments.insert(command + 1, {"--max-elements=2000", "--max-batch-seconds=0.05"});
    }
    return arguments;
}

int run(std::vector<std::string> arguments) {
    std::vector<char*> pointers;
    for (auto& argument : arguments) pointers.push_back(argument.data());
    pointers.push_back(nullptr);
    return kelvane::runTool(static_cast<int>(arguments.size()), pointers.data());
}

bool isWholeLines(const std::string& text) { return text.empty() || text.back() == '\n'; }

bool hasControls(std::string_view lines) {
    return std::any_of(lines.begin(), lines.end(), [](char c) { return c != '\n' && c >= 0 && c < 0x20; });
}

bool isSafeToShow(std::string_view lines) {
    if (hasControls(lines)) return false;
    while (!lines.empty()) {
        const auto line = takeUntil(lines, "\n");
        const bool isShort = line.size() < 400;  // printable() shortens
        if (isShort && kelvane::printable(line) != line) return false;
    }
    return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    static Workspace workspace;
    std::array<std::string_view, 4> parts;
    auto rest = KelvaneFuzz::textOf(bytes, size);
    for (auto& part : parts) part = takeUntil(rest, "\n%\n");
    bool hasOwnLimits = false;
    const auto arguments = argumentsOf(parts[0], hasOwnLimits);

    workspace.enter(parts[1], hasOwnLimits ? "" : parts[2], hasOwnLimits ? "" : parts[3]);
    const int status = run(arguments);
    workspace.leave();

    const auto results = workspace.text(STDOUT_FILENO), messages = workspace.text(STDERR_FILENO);
    require(status >= 0 && status <= 2, "the status is a documented one");
    require(isWholeLines(messages) && isSafeToShow(messages), "messages are lines that are safe to show");
    require(isWholeLines(results) && !hasControls(results), "results are whole lines without controls");
    require(status != kelvane::ExitStatus::wrongUsage || results.empty(), "wrong usage gives no results");
    require(status != kelvane::ExitStatus::wrongUsage || !messages.empty(), "wrong usage is reported");
    const auto files = workspace.newFiles();
    require(files.size() <= 1, "no unfinished file is left");
    for (const auto& file : files)
        require(isWholeLines(contentOf(file)), "a file of results has whole lines");
    return 0;
}
