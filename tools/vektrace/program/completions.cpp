#include <fmt/format.h>

#include <string>
#include <vector>

#include "tools/vektrace/program/manual.h"

namespace vek::program {

namespace {

/// Between single quotes, as all three shells read them: a quote ends them, stands escaped, and
/// begins them anew.
std::string quoted(const std::string& text) {
    std::string result = "'";
    for (const char c : text) {
        result += c == '\'' ? "'\\''" : std::string(1, c);
    }
    return result + '\'';
}

std::vector<CommandEntry> describeAll(const CLI::App& program) {
    std::vector<CommandEntry> commands = describeVerbs(program);
    commands.insert(commands.begin(), describeCommand(program));
    return commands;
}

std::string verbNames(const CLI::App& program, const char* separator) {
    std::string names;
    for (const CommandEntry& verb : describeVerbs(program)) {
        names += (names.empty() ? "" : separator) + verb.name;
    }
    return names;
}

// ---- bash --------------------------------------------------------------------------------------

std::string bashValues(const CommandEntry& command) {
    std::string text;
    for (const OptionEntry& option : command.options) {
        if (option.positional || option.value.empty()) {
            continue;
        }
        for (const std::string& name : option.names) {
            text += fmt::format("    {}:{}) values='{}' ;;\n", command.name, name,
                                fmt::join(option.choices(), " "));
        }
    }
    return text;
}

std::string bashWords(const CommandEntry& command) {
    std::vector<std::string> options;
    std::vector<std::string> arguments;
    for (const OptionEntry& option : command.options) {
        auto& words = option.positional ? arguments : options;
        const auto& more = option.positional ? option.choices() : option.names;
        words.insert(words.end(), more.begin(), more.end());
    }
    return fmt::format("    {}) options='{}' arguments='{}' ;;\n",
                       command.name.empty() ? "''" : command.name, fmt::join(options, " "),
                       fmt::join(arguments, " "));
}

constexpr char BASH_BEGIN[] =
    R"(# Completes the command line of vektrace. For this shell: . <(vektrace completion bash)
_vektrace() {
    local current=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]}
    local verb='' word options='' arguments='' values='-'
    # The line is divided at an equals sign too.
    if [ "$current" = '=' ]; then
        current=''
    elif [ "$before" = '=' ] && [ "$COMP_CWORD" -ge 2 ]; then
        before=${COMP_WORDS[COMP_CWORD - 2]}
    fi
    COMPREPLY=()
)";

}  // namespace

std::string bashCompletion(const CLI::App& program) {
    std::string text = BASH_BEGIN;
    text += fmt::format(
        "    for word in \"${{COMP_WORDS[@]:1:COMP_CWORD - 1}}\"; do\n"
        "        case $word in\n        {}) verb=$word && break ;;\n        esac\n"
        "    done\n    case $verb:$before in\n",
        verbNames(program, " | "));
    std::string words;
    for (const CommandEntry& command : describeAll(program)) {
        text += bashValues(command);
        words += bashWords(command);
    }
    text += "    esac\n    case $verb in\n" + words + "    esac\n";
    text += fmt::format("    [ -n \"$verb\" ] || arguments='{}'\n", verbNames(program, " "));
    // Where nothing is offered bash completes names of files.
    return text +
           "    [ \"$values\" != '-' ] || case $current in\n"
           "    -?* | -) values=$options ;;\n"
           "    *) values=$arguments ;;\n"
           "    esac\n"
           "    mapfile -t COMPREPLY < <(compgen -W \"$values\" -- \"$current\")\n"
           "}\n"
           "complete -o bashdefault -o default -F _vektrace vektrace\n";
}

// ---- zsh ---------------------------------------------------------------------------------------

namespace {

/// What _arguments takes for the value of an option or for an argument.
std::string zshValue(const OptionEntry& option) {
    const std::vector<std::string> choices = option.choices();
    if (!choices.empty()) {
        return fmt::format(":value:({})", fmt::join(choices, " "));
    }
    return option.isFile() ? ":file:_files" : ":" + option.value + ":";
}

/// Brackets and colons divide what _arguments reads.
std::string zshDescription(const std::string& text) {
    std::string result;
    for (const char c : text) {
        result += c == '[' || c == ']' || c == ':' ? std::string{'\\', c} : std::string(1, c);
    }
    return result;
}

std::string zshArguments(const CommandEntry& command) {
    std::string text;
    for (const OptionEntry& option : command.options) {
        if (option.positional) {
            text += " \\\n            " + quoted((option.repeated ? "*" : "1") + zshValue(option));
            continue;
        }
        for (const std::string& name : option.names) {
            text += " \\\n            " +
                    quoted(fmt::format("{}{}[{}]{}", option.value.empty() ? "" : "*", name,
                                       zshDescription(option.description),
                                       option.value.empty() ? "" : zshValue(option)));
        }
    }
    return text;
}

}  // namespace

std::string zshCompletion(const CLI::App& program) {
    std::string text =
        "#compdef vektrace\n"
        "# Completes the command line of vektrace: put it as _vektrace into a folder of $fpath.\n"
        "_vektrace() {\n"
        "    local -a verbs=(\n";
    for (const CommandEntry& verb : describeVerbs(program)) {
        text += "        " + quoted(verb.name + ":" + zshDescription(verb.summary)) + '\n';
    }
    text +=
        "    )\n"
        "    if (( CURRENT == 2 )) && [[ $words[2] != -* ]]; then\n"
        "        _describe verb verbs\n"
        "        return\n"
        "    fi\n"
        "    case $words[2] in\n";
    for (const CommandEntry& verb : describeVerbs(program)) {
        text += fmt::format("    {})\n        shift words\n        (( CURRENT-- ))\n", verb.name);
        text += "        _arguments" + zshArguments(verb) + "\n        ;;\n";
    }
    return text + "    *)\n        _arguments" + zshArguments(describeCommand(program)) +
           "\n        ;;\n    esac\n}\n_vektrace \"$@\"\n";
}

// ---- fish --------------------------------------------------------------------------------------

namespace {

std::string fishOption(const OptionEntry& option, const std::string& condition) {
    std::string text = "complete -c vektrace -n " + quoted(condition);
    for (const std::string& name : option.names) {
        const bool isLong = name.compare(0, 2, "--") == 0;
        text += isLong ? " -l " + name.substr(2) : " -s " + name.substr(1);
    }
    const std::vector<std::string> choices = option.choices();
    if (!choices.empty()) {
        text += fmt::format(" -x -a '{}'", fmt::join(choices, " "));
    } else if (!option.value.empty()) {
        text += option.isFile() ? " -r -F" : " -x";
    }
    return text + " -d " + quoted(option.description) + '\n';
}

std::string fishArgument(const OptionEntry& option, const std::string& condition) {
    const std::vector<std::string> choices = option.choices();
    return choices.empty() ? ""
                           : fmt::format("complete -c vektrace -f -n {} -a '{}'\n",
                                         quoted(condition), fmt::join(choices, " "));
}

std::string fishOptions(const CommandEntry& command, const std::string& condition) {
    std::string text;
    for (const OptionEntry& option : command.options) {
        text += option.positional ? fishArgument(option, condition) : fishOption(option, condition);
    }
    return text;
}

}  // namespace

std::string fishCompletion(const CLI::App& program) {
    std::string text =
        "# Completes the command line of vektrace: vektrace completion fish | source\n";
    for (const CommandEntry& verb : describeVerbs(program)) {
        text += fmt::format("complete -c vektrace -f -n __fish_use_subcommand -a {} -d {}\n",
                            verb.name, quoted(verb.summary));
    }
    text += fishOptions(describeCommand(program), "__fish_use_subcommand");
    for (const CommandEntry& verb : describeVerbs(program)) {
        text += fishOptions(verb, "__fish_seen_subcommand_from " + verb.name);
    }
    return text;
}

}  // namespace vek::program
