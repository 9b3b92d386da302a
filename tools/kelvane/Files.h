#pragma once

#include <sys/stat.h>

#include <atomic>
#include <optional>
#include <span>
#include <string>
#include <string_view>

// Files and standard streams. A path "-" is the standard stream. Failures are thrown as `Failure`.

namespace kelvane {

/// Makes sure that the three standard descriptors are taken, so that no file is opened in their place.
void occupyStandardStreams();

/// A file or standard input, read piece by piece.
class InputFile {
public:
    explicit InputFile(const std::string& path);
    ~InputFile();
    InputFile(const InputFile&) = delete;
    InputFile& operator=(const InputFile&) = delete;

    /// What is there now, at most as much as `space` holds: waits only for the first byte. Empty at the end
    /// of the file and after an interruption.
    std::string_view read(std::span<char> space);

    /// Waits so long for something to read; false when there was nothing.
    bool awaitInput(double seconds) const;
    /// Whether it is a file on a disk, which has an end.
    bool isRegular() const;
    /// How much of the file has been read, from 0 to 1; 0 where it has no end. From any thread.
    double share() const;
    /// As messages name it.
    const std::string& name() const { return shownName; }

private:
    int descriptor;
    std::atomic<std::size_t> bytesRead = 0;
    std::string shownName;
};

/// A path as messages name it.
std::string nameOf(const std::string& path);

/// Writes a text, waiting where that is needed. The number of bytes written: when it is less than all,
/// `errno` says why.
std::size_t writeAll(int descriptor, std::string_view text);

/// What a document may hold, in bytes: enough for a million nodes.
inline constexpr std::size_t longestDocument = std::size_t{512} << 20;

/// A whole file of at most `longestDocument`.
std::string readWholeFile(const std::string& path);

/// What a path stands for; absent when there is nothing.
std::optional<struct stat> statusOf(const std::string& path);

/// Text on its way out: append whole lines to text().
class PendingText {
public:
    PendingText() = default;
    virtual ~PendingText() = default;
    PendingText(const PendingText&) = delete;
    PendingText& operator=(const PendingText&) = delete;

    /// What has not been passed on yet.
    std::string& text() { return pending; }
    /// Passes on what is pending.
    virtual void flush() = 0;

protected:
    std::string pending;
};

/// Where a command's results go: standard output, or a file that appears under its name only when it is
/// complete. Devices and pipes are written to directly.
class ResultOutput : public PendingText {
public:
    /// Refuses to write to a file that is one of the inputs, under whatever path.
    explicit ResultOutput(const std::string& path, std::span<const std::string> inputPaths = {});
    /// Removes an unfinished file.
    ~ResultOutput() override;

    /// Writes all that is pending. After a failure, a file on a disk ends with a whole line.
    void flush() override;
    /// Writes all that is pending and gives the file its name and, if there is one, another time of change.
    void finish(const std::optional<timespec>& timeOfChange = {});
    /// Writes all that is pending, and reports that a file stays away: its content is not complete.
    void endEarly();

private:
    void openFile(const std::string& path);
    [[noreturn]] void fail(int error) const;

    int descriptor;
    std::string shownName;
    std::string target;
    std::string temporary;
};

/// Writes a text to standard output.
void writeToStandardOutput(std::string text);

}  // namespace kelvane
