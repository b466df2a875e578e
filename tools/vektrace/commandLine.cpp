#include "tools/vektrace/commandLine.h"

#include <algorithm>
#include <exception>
#include <functional>
#include <iostream>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "libvektrace/MessageBase.h"
#include "tools/vektrace/plugin/loadPlugins.h"
#include "tools/vektrace/program/errors.h"
#include "tools/vektrace/program/manual.h"
#include "tools/vektrace/program/output.h"
#include "tools/vektrace/program/signals.h"
#include "tools/vektrace/program/verb.h"
#include "tools/vektrace/program/version.h"
#include "tools/vektrace/verbs/verbs.h"

namespace vek::program {

void addCommandLine(CLI::App& program, Session& session) {
    program.require_subcommand(0, 1);
    addCommonOptions(program, session);
    program.set_version_flag("--version", versionText,
                             "Print the version and what this build can.");
    for (const addVerb_t addVerb : VERBS) {
        addVerb(program, session);
    }
}

namespace {

/// What the message layer needs before the first record is decoded.
void prepareLibrary() {
    MessageBase::registerMessages();
    MessageBase::setInvalidMsgHandling(MessageBase::IMH_RETURN_INVALID_MESSAGE);
}

const CLI::App& chosen(const CLI::App& program) {
    const std::vector<CLI::App*> verbs = program.get_subcommands();
    return verbs.empty() ? program : *verbs.front();
}

/// What the chosen verb does, behind the plugins that are named, unless one of them is refused.
std::function<void()> withPlugins(std::function<void()> verb, Session& session) {
    return [verb = std::move(verb), &session] {
        if (loadPlugins(session)) {
            verb();
        }
    };
}

/// The status with which the verb ended.
int work(const CLI::App& program, Session& session) {
    try {
        if (!session.work) {
            throw NoInput();
        }
        prepareLibrary();
        session.work();
        closeStandardOutput();
    } catch (const NoInput&) {
        std::cerr << helpText(program, chosen(program));
        return STATUS_USAGE;
    } catch (const UsageError& e) {
        const CommandEntry command = describeCommand(chosen(program));
        session.note((command.name.empty() ? "" : command.name + ": ") + e.what());
        session.note("try '" + command.fullName() + " --help'");
        return STATUS_USAGE;
    } catch (const ClosedOutput&) {
        return session.status() == STATUS_FAILED ? STATUS_FAILED : STATUS_COMPLETE;
    } catch (const Interrupted&) {
        // Its status is told apart below.
    } catch (const std::bad_alloc&) {
        session.error("out of memory");
    } catch (const std::exception& e) {
        session.error(e.what());
    }
    return stopSignal() != 0 ? 128 + stopSignal() : session.status();
}

bool looksLikeOption(const std::string& word) { return word.size() > 1 && word.front() == '-'; }

/// CLI11 takes "[a,b]" for a list, and "++" for the end of a verb's arguments. Both are files.
bool looksLikeFile(const std::string& word) {
    return (!word.empty() && word.front() == '[' && word.back() == ']') || word == "++";
}

/// Behind "--option=" CLI11 takes the next word for the value. It is empty.
bool hasEmptyValue(const std::string& word) {
    return word.rfind("--", 0) == 0 && word.find('=') == word.size() - 1;
}

/// In the order in which CLI11 takes them: the last one first.
std::vector<std::string> wordsOf(int argc, const char* const* argv) {
    std::vector<std::string> words;
    bool onlyFiles = false;
    for (int i = 1; i < argc; ++i) {
        const std::string word = argv[i];
        if (!onlyFiles && word == "--") {
            onlyFiles = true;
            // CLI11 refuses it behind a file, but the value of an option it may be.
            if (looksLikeOption(argv[i - 1])) {
                words.push_back(word);
            }
        } else if (!onlyFiles && hasEmptyValue(word)) {
            words.push_back(word.substr(0, word.size() - 1));
            words.emplace_back();
        } else {
            const bool isFile = looksLikeFile(word) || (onlyFiles && looksLikeOption(word));
            words.push_back(isFile ? "./" + word : word);
        }
    }
    std::reverse(words.begin(), words.end());
    return words;
}

void print(Session& session, const std::string& text) {
    TextOutput output(session, {});
    output.write(text);
    output.flush();
}

/// The first word that is no option stands for a verb, where none was found.
std::string usageReason(const CLI::App& program, const CLI::ParseError& e) {
    const auto extras = static_cast<int>(CLI::ExitCodes::ExtrasError);
    if (e.get_exit_code() == extras && program.get_subcommands().empty()) {
        for (const std::string& word : program.remaining()) {
            if (word.empty() || word.front() != '-') {
                return "there is no verb '" + word + "'";
            }
        }
    }
    return e.what();
}

/// What is to be done where parsing ended early: for a command line that is no use, to say so.
std::function<void()> answer(const CLI::App& program, Session& session, const CLI::ParseError& e) {
    if (e.get_name() == "CallForHelp") {
        return [&] { print(session, helpText(program, chosen(program))); };
    }
    if (e.get_name() == "CallForVersion") {
        return [&session] { print(session, versionText()); };
    }
    return [reason = usageReason(program, e)] { throw UsageError(reason); };
}

}  // namespace

int run(int argc, const char* const* argv) {
    occupyStandardDescriptors();
    catchSignals();
    Session session;
    CLI::App program("Reads, checks, mends and converts traces of the bus data logger");
    addCommandLine(program, session);
    try {
        program.parse(wordsOf(argc, argv));
        if (session.work) {
            session.work = withPlugins(std::move(session.work), session);
        }
    } catch (const CLI::ParseError& e) {
        session.work = answer(program, session, e);
    }
    return work(program, session);
}

}  // namespace vek::program
