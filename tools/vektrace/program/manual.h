/// @file
/// The command line, taken apart, and what is made of it: the help, the manual pages, and the
/// completions of the shells. All of it is read from the CLI11 application, so that nothing is said
/// twice.
#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

namespace vek::program {

struct OptionEntry {
    std::vector<std::string> names;  ///< "-o", "--output"; of an argument its one name
    std::string value;               ///< "FILE", "text|jsonl|csv"; empty for a flag
    std::string defaultValue;
    std::string description;
    std::string group;
    bool positional = false;
    bool required = false;
    bool repeated = false;

    /// The words that the value is one of; empty where it is anything.
    std::vector<std::string> choices() const;
    bool isFile() const { return value == "FILE" || (positional && value.empty()); }
};

struct CommandEntry {
    std::string name;     ///< empty for the program itself
    std::string summary;  ///< one line without a full stop
    std::vector<std::string> paragraphs;
    std::vector<OptionEntry> options;  ///< arguments, own options, common options

    /// "vektrace dump".
    std::string fullName() const;
    /// "vektrace dump [OPTION]... [FILE]...".
    std::string synopsis() const;
};

/// The program or one of its verbs.
CommandEntry describeCommand(const CLI::App& app);
/// The verbs in the order of the help.
std::vector<CommandEntry> describeVerbs(const CLI::App& program);

/// What an exit status says.
struct StatusEntry {
    std::string status;
    std::string meaning;
};
const std::vector<StatusEntry>& describeStatuses();

/// What --help prints: at most 80 columns wide.
std::string helpText(const CLI::App& program, const CLI::App& app);
/// A page of section 1 in the man macros.
std::string manPage(const CLI::App& program, const CLI::App& app);

std::string bashCompletion(const CLI::App& program);
std::string zshCompletion(const CLI::App& program);
std::string fishCompletion(const CLI::App& program);

}  // namespace vek::program
