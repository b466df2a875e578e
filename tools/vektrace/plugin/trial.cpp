#include "tools/vektrace/plugin/trial.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <string>

#include "tools/vektrace/program/errors.h"

namespace vek::program {

namespace {

/// The status of a child that came to its end, which is not the one that a stray exit() would give.
constexpr int DONE = 99;

/// Nobody sees what the child writes, and it ends as quietly as it can.
void setUpChild(unsigned seconds) {
    const int nothing = open("/dev/null", O_RDWR);
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        static_cast<void>(dup2(nothing, descriptor));
    }
    const rlimit none = {};
    static_cast<void>(setrlimit(RLIMIT_CORE, &none));
    for (const int number : {SIGALRM, SIGINT, SIGTERM, SIGHUP}) {
        static_cast<void>(std::signal(number, SIG_DFL));
    }
    alarm(seconds);
}

[[noreturn]] void runChild(const std::function<void()>& task, unsigned seconds) {
    setUpChild(seconds);
    try {
        task();
    } catch (...) {}
    std::exit(DONE);
}

int endOf(pid_t child) {
    int status = 0;
    while (waitpid(child, &status, 0) == -1) {
        if (errno != EINTR) {
            throw TrialError("cannot be tried: " + systemReason(errno));
        }
    }
    return status;
}

std::string howItEnded(int status) {
    if (!WIFSIGNALED(status)) {
        return "ends the process";
    }
    return WTERMSIG(status) == SIGALRM
               ? "takes too long"
               : std::string("ends the process: ") + strsignal(WTERMSIG(status));
}

}  // namespace

void runOnTrial(const std::function<void()>& task, unsigned seconds) {
    const pid_t child = fork();
    if (child == -1) {
        throw TrialError("cannot be tried: " + systemReason(errno));
    }
    if (child == 0) {
        runChild(task, seconds);
    }
    const int status = endOf(child);
    if (!WIFEXITED(status) || WEXITSTATUS(status) != DONE) {
        throw TrialError(howItEnded(status));
    }
}

}  // namespace vek::program
