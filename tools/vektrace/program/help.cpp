#include <fmt/format.h>

#include <cstddef>
#include <sstream>
#include <string>
#include <vector>

#include "tools/vektrace/program/manual.h"
#include "tools/vektrace/program/verb.h"

namespace vek::program {

namespace {

constexpr size_t WIDTH = 80;
constexpr size_t INDENT = 2;
constexpr size_t DESCRIPTION_INDENT = 8;

/// The words of `text` in lines that begin with `indent` blanks, each with its end.
std::string wrap(const std::string& text, size_t indent) {
    std::istringstream words(text);
    std::string result;
    std::string line;
    for (std::string word; words >> word;) {
        if (!line.empty() && indent + line.size() + 1 + word.size() > WIDTH) {
            result += std::string(indent, ' ') + line + '\n';
            line.clear();
        }
        line += (line.empty() ? "" : " ") + word;
    }
    return line.empty() ? result : result + std::string(indent, ' ') + line + '\n';
}

std::string optionHeading(const OptionEntry& option) {
    std::string heading = fmt::format("{}", fmt::join(option.names, ", "));
    heading += option.value.empty() || option.positional ? "" : " " + option.value;
    heading += option.repeated ? "..." : "";
    return option.defaultValue.empty() ? heading
                                       : heading + "  (default: " + option.defaultValue + ")";
}

std::string headingOf(const OptionEntry& option) {
    return option.positional ? "Arguments" : option.group;
}

std::string optionsText(const std::vector<OptionEntry>& options) {
    std::string text;
    std::string heading;
    for (const OptionEntry& option : options) {
        if (headingOf(option) != heading) {
            heading = headingOf(option);
            text += "\n" + heading + ":\n";
        }
        text += std::string(INDENT, ' ') + optionHeading(option) + '\n';
        text += wrap(option.description, DESCRIPTION_INDENT);
    }
    return text;
}

std::string verbsText(const std::vector<CommandEntry>& verbs) {
    std::string text = "\nVerbs:\n";
    for (const CommandEntry& verb : verbs) {
        text += fmt::format("  {:<12} {}\n", verb.name, verb.summary);
    }
    return text;
}

}  // namespace

std::string helpText(const CLI::App& program, const CLI::App& app) {
    const CommandEntry command = describeCommand(app);
    std::string text = "Usage: " + command.synopsis() + "\n\n" + wrap(command.summary + ".", 0);
    for (const std::string& paragraph : command.paragraphs) {
        text += '\n' + wrap(paragraph, 0);
    }
    if (&program == &app) {
        text += verbsText(describeVerbs(program));
    }
    text += optionsText(command.options) + "\nExit status:\n";
    for (const StatusEntry& entry : describeStatuses()) {
        text += fmt::format("  {:<5} {}\n", entry.status,
                            wrap(entry.meaning, DESCRIPTION_INDENT).substr(DESCRIPTION_INDENT));
        text.pop_back();
    }
    return text;
}

}  // namespace vek::program
