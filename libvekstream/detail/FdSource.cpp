#include "libvekstream/detail/FdSource.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "libvekstream/detail/IoError.h"

namespace vek::detail {

namespace {

/// How long a growing file is left alone, and how late a flag is seen that is set without a signal,
/// or by one that comes between looking and waiting.
constexpr int INTERVAL_MS = 50;
constexpr int FOREVER = -1;

constexpr ssize_t NOTHING_YET = -1;

}  // namespace

FdSource::FdSource(int _fd, bool _follow, const std::atomic<bool>* _stop)
    : fd(_fd),
      writeOnly((::fcntl(_fd, F_GETFL) & O_ACCMODE) == O_WRONLY),
      follow(_follow),
      stop(_stop) {}

size_t FdSource::read(uint8_t* to, size_t room) {
    while (!stopped()) {
        const ssize_t got = readNow(to, room);
        if (got > 0) {
            pausing = false;
            taken += static_cast<size_t>(got);
            return static_cast<size_t>(got);
        }
        const bool atEnd = got == 0;
        if (atEnd && !mayGrow()) {
            break;
        }
        if (follow && !pausing) {
            pausing = true;
            return 0;
        }
        if (atEnd) {
            ::poll(nullptr, 0, INTERVAL_MS);
        }
    }
    pausing = false;
    return 0;
}

/// 0 at the end.
ssize_t FdSource::readNow(uint8_t* to, size_t room) const {
    if (!isReady()) {
        return NOTHING_YET;
    }
    const ssize_t got = ::read(fd, to, room);
    if (got >= 0) {
        return got;
    }
    if (errno != EINTR && errno != EAGAIN) {
        throwIoError(errno);
    }
    return NOTHING_YET;
}

/// Whether a read would not wait, as far as is known after a while.
bool FdSource::isReady() const {
    if (fd < 0 || writeOnly) {
        return true;  // for poll there is nothing to wait for, or for ever, for read an error
    }
    const int patience = stop != nullptr || follow ? INTERVAL_MS : FOREVER;
    pollfd asked = {fd, POLLIN, 0};
    const int answer = ::poll(&asked, 1, follow && !pausing ? 0 : patience);
    return answer > 0 || (answer < 0 && errno != EINTR);
}

/// At the end. Only a file grows: a pipe ends when nobody can write to it any more.
bool FdSource::mayGrow() const {
    if (!follow) {
        return false;
    }
    struct stat status = {};
    if (::fstat(fd, &status) != 0) {
        throwIoError(errno);
    }
    if (!S_ISREG(status.st_mode)) {
        return false;
    }
    if (taken > 0 && status.st_size < ::lseek(fd, 0, SEEK_CUR)) {
        throw IoError("the file has become shorter while it was read");
    }
    return true;
}

}  // namespace vek::detail
