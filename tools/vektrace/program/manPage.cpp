#include <fmt/format.h>

#include <algorithm>
#include <string>
#include <vector>

#include "libvekutil/version.h"
#include "tools/vektrace/program/manual.h"
#include "tools/vektrace/program/verb.h"

namespace vek::program {

namespace {

/// Text as roff has it: every hyphen is one that can be copied, and no line is taken for a request.
std::string roff(const std::string& text) {
    std::string result = text.empty() || (text.front() != '.' && text.front() != '\'') ? "" : "\\&";
    for (const char c : text) {
        switch (c) {
            case '\\':
                result += "\\e";
                break;
            case '-':
                result += "\\-";
                break;
            default:
                result += c;
                break;
        }
    }
    return result;
}

std::string bold(const std::string& text) { return "\\fB" + roff(text) + "\\fR"; }
std::string italic(const std::string& text) { return "\\fI" + roff(text) + "\\fR"; }

std::string pageName(const CommandEntry& command) {
    return command.name.empty() ? "vektrace" : "vektrace-" + command.name;
}

std::string tagged(const std::string& tag, const std::string& text) {
    return ".TP\n" + tag + '\n' + roff(text) + '\n';
}

std::string optionTag(const OptionEntry& option) {
    std::string tag;
    for (const std::string& name : option.names) {
        tag += tag.empty() ? "" : ", ";
        tag += option.positional ? italic(name) : bold(name);
    }
    tag += option.value.empty() || option.positional ? "" : " " + italic(option.value);
    return tag + (option.repeated ? "..." : "");
}

std::string optionsSection(const std::vector<OptionEntry>& options) {
    std::string text;
    std::string group;
    for (const OptionEntry& option : options) {
        if (option.group != group || text.empty()) {
            group = option.group;
            text += group == COMMON_GROUP ? ".SH COMMON OPTIONS\n" : ".SH OPTIONS\n";
        }
        const std::string defaultText =
            option.defaultValue.empty() ? "" : " The default is " + option.defaultValue + ".";
        text += tagged(optionTag(option), option.description + defaultText);
    }
    return text;
}

std::string verbsSection(const std::vector<CommandEntry>& verbs) {
    std::string text = ".SH VERBS\n";
    for (const CommandEntry& verb : verbs) {
        text += tagged("\\fBvektrace\\-" + roff(verb.name) + "\\fR(1)", verb.summary + ".");
    }
    return text;
}

std::string commonSections(const CommandEntry& command) {
    std::string text = ".SH EXIT STATUS\n";
    for (const StatusEntry& entry : describeStatuses()) {
        text += tagged(bold(entry.status), entry.meaning);
    }
    text += ".SH ENVIRONMENT\n";
    text += tagged(bold("NO_COLOR"),
                   "Where it is set and not empty, text has no colours unless "
                   "--color always asks for them.");
    text += tagged(bold("TZ"), "The time zone of local times.");
    return command.name.empty() ? text : text + ".SH SEE ALSO\n\\fBvektrace\\fR(1)\n";
}

}  // namespace

std::string manPage(const CLI::App& program, const CLI::App& app) {
    const CommandEntry command = describeCommand(app);
    std::string upper = pageName(command);
    std::transform(upper.begin(), upper.end(), upper.begin(),
                   [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c; });
    std::string text = fmt::format(
        ".TH {} 1 \"\" \"vektrace {}\" \"User commands\"\n.SH NAME\n{} \\- {}\n"
        ".SH SYNOPSIS\n{}\n.SH DESCRIPTION\n{}.\n",
        roff(upper), VEKTRACE_VERSION_STRING, roff(pageName(command)), roff(command.summary),
        roff(command.synopsis()), roff(command.summary));
    for (const std::string& paragraph : command.paragraphs) {
        text += ".PP\n" + roff(paragraph) + '\n';
    }
    if (&program == &app) {
        text += verbsSection(describeVerbs(program));
    }
    return text + optionsSection(command.options) + commonSections(command);
}

}  // namespace vek::program
