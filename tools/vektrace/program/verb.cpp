#include "tools/vektrace/program/verb.h"

namespace vek::program {

namespace {

const std::vector<std::pair<std::string, Session::when_t>>& whenChoices() {
    static const std::vector<std::pair<std::string, Session::when_t>> choices = {
        {"auto", Session::WHEN_AUTO},
        {"always", Session::WHEN_ALWAYS},
        {"never", Session::WHEN_NEVER},
    };
    return choices;
}

}  // namespace

void addCommonOptions(CLI::App& app, Session& session) {
    app.set_help_flag("-h,--help", "Print this help and end.")->group(COMMON_GROUP);
    addChoice(app, "--color", session.color, whenChoices(),
              "Colours in text: on a terminal unless NO_COLOR is set, always, or never.")
        ->group(COMMON_GROUP);
    addChoice(
        app, "--progress", session.progress, whenChoices(),
        "Progress on standard error: on a terminal once a job has lasted a second, always, or "
        "never.")
        ->group(COMMON_GROUP);
    addList(app, "--plugin", session.plugins, "FILE",
            "Load message classes from this shared object; may be given several times.")
        ->group(COMMON_GROUP);
}

CLI::App& addVerb(CLI::App& program, Session& session, const std::string& name,
                  const std::string& summary, std::function<void()> work) {
    CLI::App& verb = *program.add_subcommand(name, summary);
    addCommonOptions(verb, session);
    verb.callback([&session, work = std::move(work)] { session.work = work; });
    return verb;
}

CLI::Option* addParsed(CLI::App& app, const std::string& name, const std::string& type,
                       const std::string& description,
                       const std::function<void(const std::string&)>& take) {
    const auto parse = [name, take](const std::string& text) {
        try {
            take(text);
        } catch (const UsageError& e) {
            throw CLI::ValidationError(name, e.what());
        }
    };
    return app.add_option_function<std::string>(name, parse, description)->type_name(type);
}

CLI::Option* addList(CLI::App& app, const std::string& name, std::vector<std::string>& values,
                     const std::string& type, const std::string& description) {
    const auto append = [&values](const std::vector<std::string>& given) {
        values.insert(values.end(), given.begin(), given.end());
        return true;
    };
    return app.add_option_function<std::vector<std::string>>(name, append, description)
        ->type_name(type)
        ->allow_extra_args(false);
}

}  // namespace vek::program
