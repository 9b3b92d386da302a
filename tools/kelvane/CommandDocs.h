#pragma once

#include <string>
#include <string_view>
#include <vector>

// What is written about the commands for others than the tool's own help: a manual page, and completions for
// shells.

namespace kelvane {

/// A command as its parser knows it.
struct CommandDescription {
    struct Option {
        /// "-o" and "--output", or the name of an argument.
        std::vector<std::string> names;
        /// What follows the option; empty for one that takes nothing.
        std::string argument;
        std::string text;
        /// The words that it takes; empty: any.
        std::vector<std::string> choices;
    };

    std::string name, text;
    std::vector<Option> arguments, options;
    /// Command lines, one a line.
    std::string examples;
};

/// The page for `man kelvane`.
std::string manualPage(const std::vector<CommandDescription>& commands, std::string_view version);

/// The shells that completions() knows.
const std::vector<std::string>& completedShells();
/// What a shell reads to complete commands, options, their words and files.
std::string completions(const std::vector<CommandDescription>& commands, std::string_view shell);

}  // namespace kelvane
