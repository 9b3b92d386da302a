#pragma once

#include <span>
#include <string>
#include <string_view>

// What the tool says to people, on standard error.

namespace kelvane {

/// How the tool ends.
struct ExitStatus {
    static constexpr int done = 0;
    /// The diagram or the recording has errors, or a file cannot be read or written.
    static constexpr int failed = 1;
    static constexpr int wrongUsage = 2;
};

/// Ends the command with a status; thrown by the tool's own code only, never through the library.
struct Failure {
    int status = ExitStatus::failed;
    /// Shown to the user; nothing is when it is empty.
    std::string message;
};

/// Ends the command for an option's value: `option` as it was given, `reason` without an end.
[[noreturn]] void refuseOption(const std::string& option, const std::string& reason);

/// Writes one line to standard error, in one piece.
void report(std::string_view line);

/// A line at the end of the terminal, in the place of the one before, until something is reported or it is
/// empty.
void showOnTerminal(std::string_view line);

/// Whether messages have colours; at first, where they go to a terminal and NO_COLOR is not set.
enum class Colors { automatic, always, never };
void setColors(Colors colors);

/// The text on one line that is safe to show: control characters and bytes that are no UTF-8 as "\n" or
/// "\x1b", the middle of a very long text left out.
std::string printable(std::string_view text);

/// `printable` in double quotes.
std::string inQuotes(std::string_view text);

/// `did you mean "accelerometer"?` with the nearest of the names; empty when none is near.
std::string nearestNameHint(std::string_view name, std::span<const std::string> names);

/// The text with a hint behind a semicolon, if there is one.
std::string withHint(std::string text, const std::string& hint);

/// "run, check, info".
std::string joined(std::span<const std::string> words);

/// "1 error", "2 errors", "3 batches".
std::string counted(std::size_t count, std::string_view noun);

}  // namespace kelvane
