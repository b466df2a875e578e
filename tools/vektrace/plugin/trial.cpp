#include "tools/vektrace/plugin/trial.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <string>
#include <thread>

#include "tools/vektrace/program/errors.h"

namespace vek::program {

namespace {

/// The status of a child that came to its end, which is not the one that a stray exit() would give.
constexpr int DONE = 113;

/// Nobody sees what the child writes, and it ends as quietly as it can.
void closeOff() {
    const int nothing = open("/dev/null", O_RDWR);
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (dup2(nothing, descriptor) == -1) {
            close(descriptor);
        }
    }
    static_cast<void>(prctl(PR_SET_PDEATHSIG, SIGKILL));
    const rlimit none = {};
    static_cast<void>(setrlimit(RLIMIT_CORE, &none));
}

[[noreturn]] void runChild(const std::function<void()>& task) {
    closeOff();
    try {
        task();
    } catch (...) {}
    std::exit(DONE);
}

void killAndCollect(pid_t child) {
    static_cast<void>(kill(child, SIGKILL));
    static_cast<void>(waitpid(child, nullptr, 0));
}

/// The status of the child at its end. What takes too long is killed from here, as the child may
/// have any signal blocked.
int statusOf(pid_t child, std::chrono::seconds most, const std::atomic<bool>& stop) {
    const auto latest = std::chrono::steady_clock::now() + most;
    int status = 0;
    pid_t ended = 0;
    while ((ended = waitpid(child, &status, WNOHANG)) == 0) {
        if (stop) {
            killAndCollect(child);
            throw Interrupted();
        }
        if (std::chrono::steady_clock::now() >= latest) {
            killAndCollect(child);
            throw TrialError("takes too long");
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    if (ended == -1) {
        throw TrialError("cannot be tried: " + systemReason(errno));
    }
    return status;
}

std::string howItEnded(int status) {
    const std::string text = "ends the process";
    return WIFSIGNALED(status) ? text + ": " + strsignal(WTERMSIG(status)) : text;
}

}  // namespace

void runOnTrial(const std::function<void()>& task, std::chrono::seconds most,
                const std::atomic<bool>& stop) {
    // Where whoever started this process has it ignored, nothing could be learnt of a child's end.
    static_cast<void>(std::signal(SIGCHLD, SIG_DFL));
    const pid_t child = fork();
    if (child == -1) {
        throw TrialError("cannot be tried: " + systemReason(errno));
    }
    if (child == 0) {
        runChild(task);
    }
    const int status = statusOf(child, most, stop);
    if (!WIFEXITED(status) || WEXITSTATUS(status) != DONE) {
        throw TrialError(howItEnded(status));
    }
}

}  // namespace vek::program
