#include "CommandDocs.h"

namespace kelvane {

namespace {

using Option = CommandDescription::Option;

/// Text for troff, where a backslash, a hyphen and a dot or quote at the beginning of a line mean something.
std::string troff(std::string_view text) {
    std::string result;
    for (const char c : text) {
        const bool isAtBegin = result.empty() || result.back() == '\n';
        if (isAtBegin && (c == '.' || c == '\'')) result += "\\&";
        if (c == '\\') {
            result += "\\e";
        } else if (c == '-') {
            result += "\\-";
        } else {
            result += c;
        }
    }
    return result;
}

std::string joinedNames(const Option& option) {
    std::string text;
    for (const auto& name : option.names) text += (text.empty() ? "" : ", ") + name;
    return option.argument.empty() ? text : text + " " + option.argument;
}

/// In single quotes, as all three shells read them.
std::string shellQuoted(std::string_view text) {
    std::string result = "'";
    for (const char c : text) result += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return result + "'";
}

std::string words(const std::vector<std::string>& list) {
    std::string text;
    for (const auto& word : list) text += (text.empty() ? "" : " ") + word;
    return text;
}

std::vector<std::string> optionNames(const CommandDescription& command) {
    std::vector<std::string> names;
    for (const auto& option : command.options)
        names.insert(names.end(), option.names.begin(), option.names.end());
    return names;
}

std::vector<std::string> commandNames(const std::vector<CommandDescription>& commands) {
    std::vector<std::string> names;
    for (const auto& command : commands) names.push_back(command.name);
    return names;
}

std::string bashCompletions(const std::vector<CommandDescription>& commands) {
    std::string text =
        "# Completions of kelvane for bash.\n"
        "_kelvane() {\n"
        "    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD-1]} options=\n"
        "    if [ \"$COMP_CWORD\" -eq 1 ]; then\n"
        "        mapfile -t COMPREPLY < <(compgen -W '" +
        words(commandNames(commands)) +
        "' -- \"$word\")\n"
        "        return\n"
        "    fi\n"
        "    case \"${COMP_WORDS[1]} $before\" in\n";
    for (const auto& command : commands) {
        for (const auto& option : command.options) {
            if (option.choices.empty()) continue;
            for (const auto& name : option.names) {
                text += "        " + shellQuoted(command.name + " " + name) +
                        ") mapfile -t COMPREPLY < <(compgen -W '" + words(option.choices) +
                        "' -- \"$word\"); return;;\n";
            }
        }
    }
    text += "    esac\n    case \"${COMP_WORDS[1]}\" in\n";
    for (const auto& command : commands)
        text += "        " + command.name + ") options='" + words(optionNames(command)) + "';;\n";
    return text +
           "    esac\n"
           "    case \"$word\" in\n"
           "        -*) mapfile -t COMPREPLY < <(compgen -W \"$options\" -- \"$word\");;\n"
           "        *) mapfile -t COMPREPLY < <(compgen -f -- \"$word\");;\n"
           "    esac\n"
           "}\n"
           "complete -o filenames -F _kelvane kelvane\n";
}

/// Text in an entry of zsh's _arguments, where brackets and colons mean something.
std::string zshText(std::string_view text) {
    std::string result;
    for (const char c : text) {
        if (c == '[' || c == ']' || c == ':' || c == '\\') result += '\\';
        result += c;
    }
    return result;
}

std::string zshCompletions(const std::vector<CommandDescription>& commands) {
    std::string text =
        "#compdef kelvane\n"
        "# Completions of kelvane for zsh.\n"
        "local -a commands\n"
        "commands=(\n";
    for (const auto& command : commands)
        text += "    " + shellQuoted(zshText(command.name) + ":" + zshText(command.text)) + "\n";
    text +=
        ")\n"
        "if (( CURRENT == 2 )); then\n"
        "    _describe command commands\n"
        "    return\n"
        "fi\n"
        "case \"$words[2]\" in\n";
    for (const auto& command : commands) {
        text += "    " + command.name + ")\n        _arguments";
        for (const auto& option : command.options) {
            for (const auto& name : option.names) {
                std::string entry = "*" + name + "[" + zshText(option.text) + "]";
                if (!option.argument.empty()) {
                    entry += ":" + zshText(option.argument) + ":" +
                             (option.choices.empty() ? "_files" : "(" + words(option.choices) + ")");
                }
                text += " \\\n            " + shellQuoted(entry);
            }
        }
        text += " \\\n            '*:file:_files';;\n";
    }
    return text + "esac\n";
}

std::string fishCompletions(const std::vector<CommandDescription>& commands) {
    std::string text = "# Completions of kelvane for fish.\n";
    for (const auto& command : commands) {
        text += "complete -c kelvane -n __fish_use_subcommand -f -a " + command.name + " -d " +
                shellQuoted(command.text) + "\n";
        for (const auto& option : command.options) {
            text += "complete -c kelvane -n " + shellQuoted("__fish_seen_subcommand_from " + command.name);
            for (const auto& name : option.names)
                text += name.starts_with("--") ? " -l " + name.substr(2) : " -s " + name.substr(1);
            if (!option.choices.empty()) text += " -f -a " + shellQuoted(words(option.choices));
            if (!option.argument.empty()) text += " -r";
            text += " -d " + shellQuoted(option.text) + "\n";
        }
    }
    return text;
}

}  // namespace

std::string manualPage(const std::vector<CommandDescription>& commands, std::string_view version) {
    std::string text =
        ".TH KELVANE 1 \"\" \"kelvane " + troff(version) + "\"\n" +
        ".SH NAME\nkelvane \\- run node diagrams over recordings of timestamped measurements\n"
        ".SH SYNOPSIS\n.B kelvane\n.I COMMAND\n[ARGUMENTS...] [OPTIONS]\n"
        ".SH DESCRIPTION\nA path \"\\-\" is the standard stream. Results go to standard output, everything "
        "else to standard error.\n.SH COMMANDS\n";
    for (const auto& command : commands) {
        text += ".SS \"kelvane " + troff(command.name);
        for (const auto& argument : command.arguments) text += " " + troff(argument.names.front());
        text += "\"\n" + troff(command.text) + ".\n";
        for (const auto* list : {&command.arguments, &command.options}) {
            for (const auto& option : *list)
                text += ".TP\n.B " + troff(joinedNames(option)) + "\n" + troff(option.text) + ".\n";
        }
        if (!command.examples.empty()) text += ".PP\n.nf\n" + troff(command.examples) + "\n.fi\n";
    }
    return text +
           ".SH EXIT STATUS\n0 when all went well, 1 when the diagram or the recording has errors, or "
           "results differ, and "
           "2 for wrong usage.\n";
}

const std::vector<std::string>& completedShells() {
    static const std::vector<std::string> shells{"bash", "zsh", "fish"};
    return shells;
}

std::string completions(const std::vector<CommandDescription>& commands, std::string_view shell) {
    return shell == "bash"  ? bashCompletions(commands)
           : shell == "zsh" ? zshCompletions(commands)
                            : fishCompletions(commands);
}

}  // namespace kelvane
