#include "tools/vektrace/program/signals.h"

#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <initializer_list>

namespace vek::program {

namespace {

std::atomic<bool> stopRequested = false;
std::atomic<int> signalNumber = 0;
static_assert(std::atomic<bool>::is_always_lock_free && std::atomic<int>::is_always_lock_free,
              "a signal handler may only touch what needs no lock");

extern "C" void requestStop(int number) {
    signalNumber = number;
    stopRequested = true;
}

void setHandler(int number, void (*handler)(int)) {
    struct sigaction action = {};
    action.sa_handler = handler;
    // Without SA_RESTART, so that waiting for input or output ends.
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    static_cast<void>(sigaction(number, &action, nullptr));
}

bool isIgnored(int number) {
    struct sigaction action = {};
    return sigaction(number, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

}  // namespace

void catchSignals() {
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        if (!isIgnored(number)) {
            setHandler(number, requestStop);
        }
    }
    static_cast<void>(std::signal(SIGPIPE, SIG_IGN));
    static_cast<void>(std::signal(SIGXFSZ, SIG_IGN));
}

void occupyStandardDescriptors() {
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(descriptor, F_GETFD) == -1) {
            // The lowest free number is the one that was found to be closed.
            const int mode = descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY;
            static_cast<void>(open("/dev/null", mode));
        }
    }
}

const std::atomic<bool>& stopFlag() { return stopRequested; }

int stopSignal() { return signalNumber; }

}  // namespace vek::program
