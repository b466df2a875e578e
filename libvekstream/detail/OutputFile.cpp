#include "libvekstream/detail/OutputFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <ctime>
#include <utility>

#include "libvekstream/detail/IoError.h"

namespace vek::detail {

namespace {

constexpr mode_t PERMISSIONS = 0777;
constexpr mode_t NEW_FILE = 0666;  // less what the process's mask takes away

/// With the slash behind it; empty for the current one.
std::string folderOf(const std::string& path) { return path.substr(0, path.rfind('/') + 1); }

/// Where a link leads to, or empty for what is none or not there.
std::string linkText(const std::string& path) {
    char text[PATH_MAX];
    const ssize_t length = ::readlink(path.c_str(), text, sizeof text);
    if (length < 0 && errno != EINVAL && errno != ENOENT) {
        throwIoError(errno);
    }
    return std::string(text, length < 0 ? 0 : static_cast<size_t>(length));
}

/// Also where the last link leads to a file that does not exist yet.
std::string withoutLinks(std::string path) {
    constexpr int MOST_LINKS = 40;
    for (int i = 0; i <= MOST_LINKS; ++i) {
        const std::string link = linkText(path);
        if (link.empty()) {
            return path;
        }
        if (link.front() == '/') {
            path.clear();
        }
        path = folderOf(path);
        path += link;
    }
    throw IoError(ELOOP);
}

/// A name in the same folder that nobody else has, but for chance.
std::string nameBeside(const std::string& path, unsigned attempt) {
    constexpr size_t LONGEST_PART = 200;  // of at most NAME_MAX, with what is added
    timespec now = {};
    ::clock_gettime(CLOCK_REALTIME, &now);
    const auto process = static_cast<unsigned>(::getpid());
    const auto number = static_cast<unsigned>(now.tv_nsec) + (process << 12U) + attempt;
    const std::string folder = folderOf(path);
    return folder + '.' + path.substr(folder.size(), LONGEST_PART) + '.' + std::to_string(number);
}

/// Whether there is something under the name, also at the end of symbolic links.
bool statusOf(const std::string& path, struct stat& status) {
    if (::stat(path.c_str(), &status) == 0) {
        return true;
    }
    if (errno != ENOENT || path.empty()) {
        throwIoError(errno);
    }
    return false;
}

/// Of a file, whatever its name.
std::pair<dev_t, ino_t> identityOf(const struct stat& status) {
    return {status.st_dev, status.st_ino};
}

/// What the system shows as the link of an open file may tell a name that is not, or not here, the
/// file's: of one that was removed, has never had a name, or comes from another root.
void checkIsNamed(const std::string& target, const struct stat& file) {
    struct stat status = {};
    if (!statusOf(target, status) || identityOf(status) != identityOf(file)) {
        throw IoError(ENOENT);
    }
}

/// 0, or the errno value of a call that returned something else.
int errorOf(int result) { return result == 0 ? 0 : errno; }

void check(int error) {
    if (error != 0) {
        throw IoError(error);
    }
}

/// What systems answer that do not have a call, or whose rules forbid it.
bool isNotToBeHad(int error) {
    return error == EINVAL || error == ENOSYS || error == EOPNOTSUPP || error == EPERM;
}

/// Returns 0 or an errno value.
int makeSafe(int fd) {
    while (::fsync(fd) != 0) {
        if (errno != EINTR) {
            return errno;
        }
    }
    return 0;
}

int openFolder(const std::string& folder) {
    const char* const path = folder.empty() ? "." : folder.c_str();
    int fd = -1;
    do {
        fd = ::open(path, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    } while (fd < 0 && errno == EINTR);
    return fd;
}

/// So that a new name in it is safe too. Not every file system can, and a folder may be one that can
/// be written but not read.
void makeFolderSafe(const std::string& folder) {
    const int fd = openFolder(folder);
    int error = fd < 0 ? errno : 0;
    if (error == EACCES) {
        return;
    }
    if (error == 0) {
        error = makeSafe(fd);
        ::close(fd);
        error = isNotToBeHad(error) ? 0 : error;
    }
    check(error);
}

}  // namespace

int renameToNewName(const std::string& from, const std::string& to) {
    return errorOf(::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE));
}

int linkToNewName(const std::string& from, const std::string& to) {
    const int error = errorOf(::link(from.c_str(), to.c_str()));
    if (error == 0) {
        ::unlink(from.c_str());
    }
    return error;
}

int replacePlaceholder(const std::string& from, const std::string& to) {
    constexpr mode_t OURS = 0600;
    const int fd = ::open(to.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, OURS);
    if (fd < 0) {
        return errno;
    }
    ::close(fd);
    const int error = errorOf(::rename(from.c_str(), to.c_str()));
    if (error != 0) {
        ::unlink(to.c_str());
    }
    return error;
}

int giveNewName(const std::string& from, const std::string& to) {
    int error = renameToNewName(from, to);
    if (isNotToBeHad(error)) {
        error = linkToNewName(from, to);
    }
    if (isNotToBeHad(error)) {
        error = replacePlaceholder(from, to);
    }
    return error;
}

OutputFile::OutputFile(const std::string& path, bool _replace) : replace(_replace) {
    if (path.find('\0') != std::string::npos) {
        throw IoError(EINVAL);  // the system would take the part in front of it
    }
    struct stat old = {};
    const bool exists = statusOf(path, old);
    if (exists && !replace && (S_ISREG(old.st_mode) || S_ISBLK(old.st_mode))) {
        throw IoError(EEXIST);
    }
    if (exists && !S_ISREG(old.st_mode)) {
        openAsItIs(path);
        return;
    }
    target = withoutLinks(path);
    if (exists && target != path) {
        checkIsNamed(target, old);
    }
    create(exists ? old.st_mode & PERMISSIONS : NEW_FILE);
    if (exists) {
        // The process's mask shall have no part in it. Where this is refused the file stays as
        // closed as the mask has made it.
        ::fchmod(fd, old.st_mode & PERMISSIONS);
    }
}

OutputFile::~OutputFile() {
    if (fd >= 0) {
        ::close(fd);
    }
    if (!temporary.empty()) {
        ::unlink(temporary.c_str());
    }
}

/// A signal ends it with EINTR: a pipe that nobody opens for reading may wait for ever.
void OutputFile::openAsItIs(const std::string& path) {
    fd = ::open(path.c_str(), O_WRONLY | O_CLOEXEC | O_NOCTTY);
    if (fd < 0) {
        throwIoError(errno);
    }
}

void OutputFile::create(unsigned mode) {
    constexpr unsigned ATTEMPTS = 100;
    int error = EEXIST;
    for (unsigned attempt = 0; attempt < ATTEMPTS && (error == EEXIST || error == EINTR);
         ++attempt) {
        std::string name = nameBeside(target, attempt);
        fd = ::open(name.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, mode);
        if (fd >= 0) {
            temporary = std::move(name);
            return;
        }
        error = errno;
    }
    throw IoError(error);
}

void OutputFile::commit() {
    if (temporary.empty()) {
        close();
        return;
    }
    const std::string folder = folderOf(target);
    check(makeSafe(fd));
    close();
    check(replace ? errorOf(::rename(temporary.c_str(), target.c_str()))
                  : giveNewName(temporary, target));
    temporary.clear();
    makeFolderSafe(folder);
}

void OutputFile::close() {
    const int error = errorOf(::close(std::exchange(fd, -1)));
    check(error == EINTR ? 0 : error);  // closed it is
}

}  // namespace vek::detail
