#include <memory>
#include <string>

#include "tools/vektrace/program/manual.h"
#include "tools/vektrace/program/output.h"
#include "tools/vektrace/program/verb.h"
#include "tools/vektrace/verbs/verbs.h"

namespace vek::program {

namespace {

using makeCompletion_t = std::string (*)(const CLI::App& program);

void complete(const CLI::App& program, makeCompletion_t make, Session& session) {
    TextOutput output(session, {});
    output.write(make(program));
    output.flush();
}

}  // namespace

void addCompletion(CLI::App& program, Session& session) {
    const auto make = std::make_shared<makeCompletion_t>(bashCompletion);
    CLI::App& verb =
        addVerb(program, session, "completion", "Print what completes the command line in a shell",
                [&program, make, &session] { complete(program, *make, session); });
    addChoice<makeCompletion_t>(
        verb, "SHELL", *make,
        {{"bash", bashCompletion}, {"zsh", zshCompletion}, {"fish", fishCompletion}}, "The shell.")
        ->required();
}

}  // namespace vek::program
