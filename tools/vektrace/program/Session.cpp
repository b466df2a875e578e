#include "tools/vektrace/program/Session.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstddef>
#include <cstdlib>
#include <string_view>

#include "tools/vektrace/program/escape.h"
#include "tools/vektrace/program/signals.h"
#include "tools/vektrace/program/waiting.h"

namespace vek::program {

namespace {

/// Standard error is the last place to complain, so what cannot be written there is dropped; once a
/// signal came, also what would have to wait for its reader.
void writeToStandardError(std::string_view text) {
    while (!text.empty()) {
        if (!isReadySoon(STDERR_FILENO, POLLOUT)) {
            if (stopFlag()) {
                return;
            }
            continue;
        }
        // So much a pipe that is ready takes without waiting.
        const size_t piece = std::min<size_t>(text.size(), PIPE_BUF);
        const ssize_t count = write(STDERR_FILENO, text.data(), piece);
        if (count > 0) {
            text.remove_prefix(static_cast<size_t>(count));
        } else if (count == 0 || stopFlag() || (errno != EINTR && errno != EAGAIN)) {
            return;
        }
    }
}

}  // namespace

Session::Session() : stop(program::stopFlag()) {}

Session::~Session() { endTransient(false); }

void Session::error(const std::string& text) {
    worsen(STATUS_FAILED);
    say(text);
}

void Session::loss(const std::string& text) {
    worsen(STATUS_LOSS);
    say(text);
}

void Session::note(const std::string& text) { say(text); }

void Session::say(const std::string& text) {
    endTransient(false);
    std::string line = "vektrace: ";
    appendWithoutControls(line, text);
    line += '\n';
    writeToStandardError(line);
}

void Session::worsen(status_t status) {
    if (worst != STATUS_FAILED && status != STATUS_COMPLETE) {
        worst = status;
    }
}

bool Session::hasColor(int fd) const {
    if (color != WHEN_AUTO) {
        return color == WHEN_ALWAYS;
    }
    const char* const noColor = std::getenv("NO_COLOR");
    return isatty(fd) == 1 && (noColor == nullptr || *noColor == '\0');
}

void Session::showTransient(const std::string& text) {
    endTransient(false);
    writeToStandardError(text);
    transientShown = true;
}

void Session::endTransient(bool keep) {
    if (transientShown) {
        writeToStandardError(keep ? "\n" : "\r\x1b[K");
        transientShown = false;
    }
}

}  // namespace vek::program
