#include "tools/vektrace/program/manual.h"

#include <algorithm>
#include <cstddef>

#include "tools/vektrace/program/verb.h"

namespace vek::program {

namespace {

std::vector<std::string> splitText(const std::string& text, char separator) {
    std::vector<std::string> parts;
    size_t from = 0;
    while (from < text.size()) {
        const size_t to = std::min(text.find(separator, from), text.size());
        parts.push_back(text.substr(from, to - from));
        from = to + 1;
    }
    return parts;
}

std::vector<std::string> optionNames(const CLI::Option& option) {
    if (option.get_positional()) {
        return {option.get_name(true)};
    }
    std::vector<std::string> names;
    for (const std::string& name : option.get_snames()) {
        names.push_back("-" + name);
    }
    for (const std::string& name : option.get_lnames()) {
        names.push_back("--" + name);
    }
    return names;
}

OptionEntry describeOption(const CLI::Option& option) {
    OptionEntry entry;
    entry.names = optionNames(option);
    const bool takesValue = option.get_items_expected_max() != 0;
    entry.value = takesValue ? option.get_type_name() : "";
    const bool hasDefault = takesValue && !option.get_required();
    entry.defaultValue = hasDefault ? option.get_default_str() : "";
    entry.description = option.get_description();
    entry.group = option.get_group();
    entry.positional = option.get_positional();
    entry.required = option.get_required();
    entry.repeated = entry.positional && option.get_items_expected_max() > 1;
    return entry;
}

/// Arguments stand first and what all verbs have last.
int rankOf(const OptionEntry& entry) {
    return entry.positional ? 0 : entry.group == COMMON_GROUP ? 2 : 1;
}

}  // namespace

std::vector<std::string> OptionEntry::choices() const {
    return value.find('|') == std::string::npos ? std::vector<std::string>()
                                                : splitText(value, '|');
}

std::string CommandEntry::fullName() const {
    return name.empty() ? "vektrace" : "vektrace " + name;
}

std::string CommandEntry::synopsis() const {
    std::string text = fullName() + " [OPTION]...";
    for (const OptionEntry& option : options) {
        if (option.positional) {
            const std::string& argument = option.names.front();
            text += option.required ? " " + argument : " [" + argument + "]";
            text += option.repeated ? "..." : "";
        }
    }
    return name.empty() ? text + " VERB ..." : text;
}

CommandEntry describeCommand(const CLI::App& app) {
    CommandEntry entry;
    entry.name = app.get_parent() == nullptr ? "" : app.get_name();
    entry.summary = app.get_description();
    entry.paragraphs = splitText(app.get_footer(), '\n');
    for (const CLI::Option* const option : app.get_options()) {
        entry.options.push_back(describeOption(*option));
    }
    std::stable_sort(
        entry.options.begin(), entry.options.end(),
        [](const OptionEntry& a, const OptionEntry& b) { return rankOf(a) < rankOf(b); });
    return entry;
}

std::vector<CommandEntry> describeVerbs(const CLI::App& program) {
    std::vector<CommandEntry> verbs;
    for (const CLI::App* const verb : program.get_subcommands(nullptr)) {
        verbs.push_back(describeCommand(*verb));
    }
    return verbs;
}

const std::vector<StatusEntry>& describeStatuses() {
    static const std::vector<StatusEntry> statuses = {
        {"0", "All was done and nothing is lost; or whoever read the output wanted no more."},
        {"1", "Something could not be done; a message on standard error tells what."},
        {"2", "The command line is not valid, or there is no input."},
        {"3", "All was done, but the input is damaged or something of it is not in the output."},
        {"128+N", "Signal N asked for an end; no half-written file is left under its name."},
    };
    return statuses;
}

}  // namespace vek::program
