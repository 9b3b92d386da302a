#include "Files.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <optional>
#include <system_error>
#include <utility>

#include "Interruption.h"
#include "Messages.h"

namespace kelvane {

namespace {

std::string reason(int error) { return std::generic_category().message(error); }

[[noreturn]] void failToRead(const std::string& name, int error) {
    if (error == EINTR) throw Failure{128 + interruption(), {}};
    throw Failure{ExitStatus::failed, "kelvane: cannot read " + name + ": " + reason(error)};
}

/// Calls again what a signal broke off, unless that signal ends the tool.
template <class Call>
int uninterrupted(Call call) {
    int result = call();
    while (result < 0 && errno == EINTR && interruption() == 0) result = call();
    return result;
}

/// Takes the last bytes of a file back; what a pipe or a device has taken stays there.
void takeBack(int descriptor, std::size_t bytes) {
    struct stat status {};
    const auto end = ::lseek(descriptor, 0, SEEK_CUR);
    if (bytes == 0 || ::fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode) || end != status.st_size)
        return;
    [[maybe_unused]] const int result = ::ftruncate(descriptor, end - static_cast<off_t>(bytes));
}

/// What the path, or the standard stream in its place, stands for; absent when there is nothing.
std::optional<struct stat> statusOrStream(const std::string& path, int standardStream) {
    struct stat status {};
    const int result = path == "-" ? ::fstat(standardStream, &status) : ::stat(path.c_str(), &status);
    return result == 0 ? std::optional(status) : std::nullopt;
}

bool isSameFile(const struct stat& a, const struct stat& b) {
    return S_ISREG(a.st_mode) && a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

/// The place of a file behind all symbolic links; the path itself for a new file.
std::string resolved(const std::string& path) {
    std::array<char, PATH_MAX> buffer{};
    return ::realpath(path.c_str(), buffer.data()) != nullptr ? std::string(buffer.data()) : path;
}

mode_t creationMask() {
    const mode_t mask = ::umask(0);
    ::umask(mask);
    return mask;
}

}  // namespace

void occupyStandardStreams() {
    for (int stream = 0; stream <= 2; ++stream) {
        // Opened the wrong way round, so that using the closed stream still fails.
        if (::fcntl(stream, F_GETFD) < 0) ::open("/dev/null", stream == 0 ? O_WRONLY : O_RDONLY);
    }
}

// Without O_NONBLOCK, a named pipe that nobody writes to would wait where no signal ends it for certain.
InputFile::InputFile(const std::string& path)
    : descriptor(path == "-" ? STDIN_FILENO : uninterrupted([&] {
          return ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
      })),
      shownName(nameOf(path)) {
    if (descriptor < 0) failToRead(shownName, errno);
}

InputFile::~InputFile() {
    if (descriptor > STDERR_FILENO) ::close(descriptor);
}

std::string_view InputFile::read(std::span<char> space) {
    while (waitForInput(descriptor)) {
        const auto count = ::read(descriptor, space.data(), space.size());
        if (count >= 0) {
            bytesRead += static_cast<std::size_t>(count);
            return {space.data(), static_cast<std::size_t>(count)};
        }
        if (errno != EINTR && errno != EAGAIN) failToRead(shownName, errno);
    }
    return {};
}

bool InputFile::awaitInput(double seconds) const {
    pollfd waiting{descriptor, POLLIN, 0};
    const auto milliseconds = std::clamp(seconds * 1000, 0.0, 1e9);
    return ::poll(&waiting, 1, static_cast<int>(milliseconds)) != 0;
}

bool InputFile::isRegular() const {
    struct stat status {};
    return ::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
}

double InputFile::share() const {
    struct stat status {};
    if (::fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode) || status.st_size <= 0) return 0;
    return std::min(1.0, static_cast<double>(bytesRead) / static_cast<double>(status.st_size));
}

std::string nameOf(const std::string& path) {
    return path == "-" ? "standard input" : path.empty() ? inQuotes(path) : printable(path);
}

std::optional<struct stat> statusOf(const std::string& path) { return statusOrStream(path, STDIN_FILENO); }

std::size_t writeAll(int descriptor, std::string_view text) {
    for (std::string_view rest = text; !rest.empty();) {
        const auto written = ::write(descriptor, rest.data(), rest.size());
        if (written > 0) {
            rest.remove_prefix(static_cast<std::size_t>(written));
        } else if (written < 0 && errno == EAGAIN) {
            pollfd watched{descriptor, POLLOUT, 0};
            ::poll(&watched, 1, -1);
        } else if (written < 0 && errno != EINTR) {
            return text.size() - rest.size();
        }
    }
    return text.size();
}

std::string readWholeFile(const std::string& path) {
    InputFile file(path);
    std::string text;
    std::array<char, 65536> space;
    for (auto piece = file.read(space); !piece.empty(); piece = file.read(space)) {
        text += piece;
        if (text.size() <= longestDocument) continue;
        throw Failure{ExitStatus::failed, "kelvane: " + file.name() + " is longer than the limit of " +
                                              std::to_string(longestDocument >> 20) + " MiB"};
    }
    if (interruption() != 0) throw Failure{128 + interruption(), {}};
    return text;
}

ResultOutput::ResultOutput(const std::string& path, std::span<const std::string> inputPaths)
    : descriptor(STDOUT_FILENO), shownName(path == "-" ? "standard output" : nameOf(path)) {
    const auto status = statusOrStream(path, STDOUT_FILENO);
    for (const auto& inputPath : inputPaths) {
        const auto input = statusOrStream(inputPath, STDIN_FILENO);
        if (!status || !input || !isSameFile(*status, *input)) continue;
        throw Failure{ExitStatus::wrongUsage,
                      "kelvane: " + shownName + " is the file that is read, and would be overwritten"};
    }
    if (path != "-") openFile(path);
}

void ResultOutput::openFile(const std::string& path) {
    if (path.empty()) fail(ENOENT);
    const auto status = statusOrStream(path, STDOUT_FILENO);
    if (status && !S_ISREG(status->st_mode)) {
        descriptor = uninterrupted([&] { return ::open(path.c_str(), O_WRONLY | O_CLOEXEC); });
        if (descriptor < 0) fail(errno);
        return;
    }
    target = resolved(path);
    descriptor = uninterrupted([this] {
        temporary = target + ".XXXXXX";
        return ::mkostemp(temporary.data(), O_CLOEXEC);
    });
    if (descriptor < 0) {
        temporary.clear();
        fail(errno);
    }
    ::fchmod(descriptor, status ? status->st_mode & 07777 : 0666 & ~creationMask());
}

ResultOutput::~ResultOutput() {
    if (descriptor > STDERR_FILENO) ::close(descriptor);
    if (!temporary.empty()) ::unlink(temporary.c_str());
}

void ResultOutput::flush() {
    const auto written = writeAll(descriptor, pending);
    if (written < pending.size()) {
        const int error = errno;
        const auto lineBreak = std::string_view(pending).substr(0, written).rfind('\n');
        takeBack(descriptor, lineBreak == std::string_view::npos ? written : written - lineBreak - 1);
        pending.clear();
        fail(error);
    }
    pending.clear();
}

void ResultOutput::finish(const std::optional<timespec>& timeOfChange) {
    flush();
    if (timeOfChange && !temporary.empty()) {
        const std::array<timespec, 2> times{*timeOfChange, *timeOfChange};
        if (::futimens(descriptor, times.data()) != 0) fail(errno);
    }
    // Some file systems report only now that the disk is full.
    if (!temporary.empty() && uninterrupted([this] { return ::fsync(descriptor); }) != 0) fail(errno);
    if (descriptor > STDERR_FILENO && ::close(std::exchange(descriptor, -1)) != 0 && errno != EINTR)
        fail(errno);
    if (temporary.empty()) return;
    if (uninterrupted([this] { return ::rename(temporary.c_str(), target.c_str()); }) != 0) fail(errno);
    temporary.clear();
}

void ResultOutput::endEarly() {
    flush();
    if (!temporary.empty()) report("kelvane: interrupted; " + shownName + " was not written");
}

void ResultOutput::fail(int error) const {
    // The reader of a pipe that left has seen enough.
    if (error == EPIPE) throw Failure{ExitStatus::failed, {}};
    if (error == EINTR) throw Failure{128 + interruption(), {}};
    throw Failure{ExitStatus::failed, "kelvane: cannot write " + shownName + ": " + reason(error)};
}

void writeToStandardOutput(std::string text) {
    ResultOutput output("-");
    output.text() = std::move(text);
    output.finish();
}

}  // namespace kelvane
