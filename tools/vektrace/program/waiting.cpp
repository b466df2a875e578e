#include "tools/vektrace/program/waiting.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>

#include "tools/vektrace/program/errors.h"

namespace vek::program {

namespace {

/// How late a signal is seen that comes between looking and waiting.
constexpr int INTERVAL_MS = 50;

}  // namespace

bool isReadySoon(int fd, short event) {
    pollfd asked = {fd, event, 0};
    const int answer = poll(&asked, 1, INTERVAL_MS);
    if (answer == 0) {
        const int other = event == POLLIN ? O_WRONLY : O_RDONLY;
        return (fcntl(fd, F_GETFL) & O_ACCMODE) == other;  // it never will be
    }
    return answer > 0 || errno != EINTR;
}

ssize_t readWaiting(const Session& session, int fd, void* to, size_t room) {
    while (!session.stopped()) {
        if (!isReadySoon(fd, POLLIN)) {
            continue;
        }
        const ssize_t count = read(fd, to, room);
        if (count >= 0 || (errno != EINTR && errno != EAGAIN)) {
            return count;
        }
    }
    throw Interrupted();
}

}  // namespace vek::program
