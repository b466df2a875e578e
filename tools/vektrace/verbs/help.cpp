#include <memory>
#include <string>

#include "tools/vektrace/program/manual.h"
#include "tools/vektrace/program/output.h"
#include "tools/vektrace/program/verb.h"
#include "tools/vektrace/verbs/verbs.h"

namespace vek::program {

namespace {

struct HelpOptions {
    std::string verb;
    bool man = false;
};

void help(const CLI::App& program, const HelpOptions& options, Session& session) {
    const CLI::App& app = options.verb.empty() ? program : *program.get_subcommand(options.verb);
    TextOutput output(session, {});
    output.write(options.man ? manPage(program, app) : helpText(program, app));
    output.flush();
}

std::string joinedNames(const CLI::App& program) {
    std::string names;
    for (const CommandEntry& verb : describeVerbs(program)) {
        names += verb.name + '|';
    }
    return names + "help";
}

}  // namespace

void addHelp(CLI::App& program, Session& session) {
    const std::string names = joinedNames(program);
    const auto options = std::make_shared<HelpOptions>();
    CLI::App& verb = addVerb(program, session, "help", "Print the help of the program or of a verb",
                             [&program, options, &session] { help(program, *options, session); });
    const auto check = [&program](const std::string& name) {
        const bool known =
            !program.get_subcommands([&](const CLI::App* app) { return app->get_name() == name; })
                 .empty();
        return known ? std::string() : "there is no verb '" + name + "'";
    };
    verb.add_option("VERB", options->verb, "The verb; without one the program.")
        ->type_name(names)
        ->check(CLI::Validator(check, "", ""));
    verb.add_flag("--man", options->man, "Print the source of the manual page instead.");
}

}  // namespace vek::program
