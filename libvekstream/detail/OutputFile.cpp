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

/// Where a link leads to, or empty for what is none.
std::string linkText(const std::string& path) {
    char text[PATH_MAX];
    const ssize_t length = ::readlink(path.c_str(), text, sizeof text);
    return length <= 0 ? std::string() : std::string(text, static_cast<size_t>(length));
}

/// Also where the last link leads to a file that does not exist yet.
std::string withoutLinks(std::string path) {
    constexpr int MOST_LINKS = 40;
    for (int i = 0; i < MOST_LINKS; ++i) {
        const std::string link = linkText(path);
        if (link.empty()) {
            return path;
        }
        path = link.front() == '/' ? link : folderOf(path).append(link);
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
        throw IoError(errno);
    }
    return false;
}

void makeSafe(int fd) {
    while (::fsync(fd) != 0) {
        if (errno != EINTR) {
            throw IoError(errno);
        }
    }
}

/// So that the new name is safe too. Not every file system can, and a folder may be one that can be
/// written but not read.
void makeFolderSafe(const std::string& path) {
    const std::string folder = folderOf(path);
    const int fd =
        ::open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0) {
        return;
    }
    const int error = ::fsync(fd) == 0 ? 0 : errno;
    ::close(fd);
    if (error == EIO) {
        throw IoError(error);
    }
}

}  // namespace

int renameToNewName(const std::string& from, const std::string& to) {
    return ::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0 ? 0
                                                                                            : errno;
}

int linkToNewName(const std::string& from, const std::string& to) {
    if (::link(from.c_str(), to.c_str()) != 0) {
        return errno;
    }
    ::unlink(from.c_str());
    return 0;
}

OutputFile::OutputFile(const std::string& path, bool _replace) : replace(_replace) {
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

void OutputFile::openAsItIs(const std::string& path) {
    fd = ::open(path.c_str(), O_WRONLY | O_CLOEXEC | O_NOCTTY);
    if (fd < 0) {
        throw IoError(errno);
    }
}

void OutputFile::create(unsigned mode) {
    constexpr unsigned ATTEMPTS = 100;
    int error = EEXIST;
    for (unsigned attempt = 0; attempt < ATTEMPTS && error == EEXIST; ++attempt) {
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
    makeSafe(fd);
    close();
    giveName();
    temporary.clear();
    makeFolderSafe(target);
}

void OutputFile::close() {
    if (::close(std::exchange(fd, -1)) != 0 && errno != EINTR) {
        throw IoError(errno);
    }
}

void OutputFile::giveName() {
    int error = 0;
    if (replace) {
        error = ::rename(temporary.c_str(), target.c_str()) == 0 ? 0 : errno;
    } else {
        error = renameToNewName(temporary, target);
        if (error == EINVAL || error == ENOSYS) {
            error = linkToNewName(temporary, target);
        }
    }
    if (error != 0) {
        throw IoError(error);
    }
}

}  // namespace vek::detail
