/// @file
/// Loaded in front of the C library (LD_PRELOAD): lets chosen system calls of the program fail, fall short
/// or bring a signal. The environment says which:
///
///     FAULT_CALLS   names of calls, with commas between them; of all of these together
///     FAULT_NUMBER  the Nth, from 1, is the one, and with
///     FAULT_ON      set, every one from there on as well.
///     FAULT_ERROR   It fails with this errno value, behind the signal if there is one, or
///     FAULT_MOST    transfers so many bytes at most, or
///     FAULT_SIGNAL  the process gets this signal first, or,
///     FAULT_AFTER   set, last.
///     FAULT_MISSING Names of calls that the system does not have: none of them works.
///     FAULT_READ    No read returns more bytes than these, whichever it is, so that there are many.
///     FAULT_LIST    The name of every call is appended to this file, a line each.
///
/// Standard error is left alone, and so are other programs, such as one that starts this one.

#include <dlfcn.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

const char* given(const char* variable) {
    const bool isMeant = std::strcmp(program_invocation_short_name, "vektrace") == 0;
    return isMeant ? std::getenv(variable) : nullptr;
}

size_t numberIn(const char* variable, size_t otherwise) {
    const char* const text = given(variable);
    return text == nullptr ? otherwise : std::strtoul(text, nullptr, 10);
}

std::string textIn(const char* variable) {
    const char* const text = given(variable);
    return text == nullptr ? "" : text;
}

struct Plan {
    const std::string calls = textIn("FAULT_CALLS");
    const std::string missing = textIn("FAULT_MISSING");
    const size_t number = numberIn("FAULT_NUMBER", SIZE_MAX);
    const bool on = given("FAULT_ON") != nullptr;
    const size_t error = numberIn("FAULT_ERROR", 0);
    const size_t most = numberIn("FAULT_MOST", SIZE_MAX);
    const size_t signal = numberIn("FAULT_SIGNAL", 0);
    const bool after = given("FAULT_AFTER") != nullptr;
    const size_t mostRead = numberIn("FAULT_READ", SIZE_MAX);
    const std::string list = textIn("FAULT_LIST");
};

/// Never destroyed, for calls are made until the very end.
const Plan& plan() {
    static const Plan* const thePlan = new Plan();
    return *thePlan;
}

/// By system calls, so that it is not counted itself.
void note(const char* name) {
    if (plan().list.empty()) {
        return;
    }
    const int flags = O_WRONLY | O_CREAT | O_APPEND;
    const auto fd =
        static_cast<int>(syscall(SYS_openat, AT_FDCWD, plan().list.c_str(), flags, 0600));
    const std::string line = std::string(name) + '\n';
    static_cast<void>(syscall(SYS_write, fd, line.data(), line.size()));
    static_cast<void>(syscall(SYS_close, fd));
}

bool isIn(const std::string& names, const char* name) {
    return (',' + names + ',').find(',' + std::string(name) + ',') != std::string::npos;
}

bool isChosen(const char* name) {
    static size_t made = 0;
    const int error = errno;
    note(name);
    errno = error;
    if (!isIn(plan().calls, name)) {
        return false;
    }
    ++made;
    return made == plan().number || (plan().on && made > plan().number);
}

void raiseIf(bool now) {
    if (now && plan().signal != 0) {
        const int error = errno;
        static_cast<void>(kill(getpid(), static_cast<int>(plan().signal)));
        errno = error;
    }
}

/// `call` takes the most bytes to transfer, which is for reads and writes.
template <class Call>
auto make(const char* name, const Call& call) {
    using result_t = decltype(call(SIZE_MAX));
    if (isIn(plan().missing, name)) {
        errno = ENOSYS;
        return result_t{-1};
    }
    if (!isChosen(name)) {
        return call(SIZE_MAX);
    }
    if (plan().error != 0) {
        raiseIf(true);
        errno = static_cast<int>(plan().error);
        return result_t{-1};
    }
    raiseIf(!plan().after);
    const result_t result = call(plan().most);
    raiseIf(plan().after);
    return result;
}

/// What it is without this.
template <class Function>
Function* original(Function* /*replaced*/, const char* name) {
    Function* function = nullptr;
    void* const symbol = dlsym(RTLD_NEXT, name);
    std::memcpy(&function, &symbol, sizeof function);
    return function;
}

size_t readable(size_t room, size_t most) { return std::min({room, most, plan().mostRead}); }

mode_t modeIn(int flags, va_list arguments) {
    return (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(arguments, mode_t) : 0;
}

}  // namespace

#define FAULTY extern "C" [[gnu::visibility("default")]]

#define FAULTY_OPEN(NAME)                                                                  \
    FAULTY int NAME(const char* path, int flags, ...) {                                    \
        static auto* const function = original(&::NAME, #NAME);                            \
        va_list arguments;                                                                 \
        va_start(arguments, flags);                                                        \
        const mode_t mode = modeIn(flags, arguments);                                      \
        va_end(arguments);                                                                 \
        return make("open", [&](size_t /*most*/) { return function(path, flags, mode); }); \
    }
FAULTY_OPEN(open)
FAULTY_OPEN(open64)

#define FAULTY_OPENAT(NAME)                                                                        \
    FAULTY int NAME(int folder, const char* path, int flags, ...) {                                \
        static auto* const function = original(&::NAME, #NAME);                                    \
        va_list arguments;                                                                         \
        va_start(arguments, flags);                                                                \
        const mode_t mode = modeIn(flags, arguments);                                              \
        va_end(arguments);                                                                         \
        return make("open", [&](size_t /*most*/) { return function(folder, path, flags, mode); }); \
    }
FAULTY_OPENAT(openat)
FAULTY_OPENAT(openat64)

#define FAULTY_TEMPORARY(NAME)                                                           \
    FAULTY int NAME(char* path, int flags) {                                             \
        static auto* const function = original(&::NAME, #NAME);                          \
        return make("mkostemp", [&](size_t /*most*/) { return function(path, flags); }); \
    }
FAULTY_TEMPORARY(mkostemp)
FAULTY_TEMPORARY(mkostemp64)

/// The descriptor is closed in any case.
FAULTY int close(int fd) {
    static auto* const function = original(&::close, "close");
    int result = 0;
    const int answer = make("close", [&](size_t /*most*/) { return result = function(fd); });
    if (answer != result) {
        const int error = errno;
        static_cast<void>(function(fd));
        errno = error;
    }
    return answer;
}

FAULTY ssize_t read(int fd, void* to, size_t room) {
    static auto* const function = original(&::read, "read");
    return make("read", [&](size_t most) { return function(fd, to, readable(room, most)); });
}

#define FAULTY_PREAD(NAME, OFFSET)                                                              \
    FAULTY ssize_t NAME(int fd, void* to, size_t room, OFFSET from) {                           \
        static auto* const function = original(&::NAME, #NAME);                                 \
        return make("read",                                                                     \
                    [&](size_t most) { return function(fd, to, readable(room, most), from); }); \
    }
FAULTY_PREAD(pread, off_t)
FAULTY_PREAD(pread64, off64_t)

FAULTY ssize_t write(int fd, const void* from, size_t length) {
    static auto* const function = original(&::write, "write");
    if (fd == STDERR_FILENO) {
        return function(fd, from, length);
    }
    return make("write", [&](size_t most) { return function(fd, from, std::min(length, most)); });
}

FAULTY ssize_t writev(int fd, const iovec* pieces, int count) {
    static auto* const function = original(&::writev, "writev");
    if (fd == STDERR_FILENO) {
        return function(fd, pieces, count);
    }
    return make("write", [&](size_t /*most*/) { return function(fd, pieces, count); });
}

/// Does nothing: what the tests write need not outlive the system, and storage is slow.
FAULTY int fsync(int /*fd*/) {
    return make("fsync", [](size_t /*most*/) { return 0; });
}
FAULTY int fdatasync(int fd) { return fsync(fd); }

FAULTY int rename(const char* from, const char* to) noexcept {
    static auto* const function = original(&::rename, "rename");
    return make("rename", [&](size_t /*most*/) { return function(from, to); });
}

FAULTY int renameat2(int fromFolder, const char* from, int toFolder, const char* to,
                     unsigned flags) noexcept {
    static auto* const function = original(&::renameat2, "renameat2");
    return make("renameat2",
                [&](size_t /*most*/) { return function(fromFolder, from, toFolder, to, flags); });
}

FAULTY int link(const char* from, const char* to) noexcept {
    static auto* const function = original(&::link, "link");
    return make("link", [&](size_t /*most*/) { return function(from, to); });
}

#define FAULTY_STATUS(NAME, STATUS)                                                      \
    FAULTY int NAME(const char* path, struct STATUS* status) noexcept {                  \
        static auto* const function =                                                    \
            original(static_cast<int (*)(const char*, struct STATUS*)>(&::NAME), #NAME); \
        return make("stat", [&](size_t /*most*/) { return function(path, status); });    \
    }
FAULTY_STATUS(stat, stat)
FAULTY_STATUS(stat64, stat64)

#define FAULTY_FD_STATUS(NAME, STATUS)                                               \
    FAULTY int NAME(int fd, struct STATUS* status) noexcept {                        \
        static auto* const function = original(&::NAME, #NAME);                      \
        return make("fstat", [&](size_t /*most*/) { return function(fd, status); }); \
    }
FAULTY_FD_STATUS(fstat, stat)
FAULTY_FD_STATUS(fstat64, stat64)

#define FAULTY_SEEK(NAME, OFFSET)                                                            \
    FAULTY OFFSET NAME(int fd, OFFSET offset, int whence) noexcept {                         \
        static auto* const function = original(&::NAME, #NAME);                              \
        return make("lseek", [&](size_t /*most*/) { return function(fd, offset, whence); }); \
    }
FAULTY_SEEK(lseek, off_t)
FAULTY_SEEK(lseek64, off64_t)

FAULTY ssize_t readlink(const char* path, char* text, size_t room) noexcept {
    static auto* const function = original(&::readlink, "readlink");
    return make("readlink", [&](size_t /*most*/) { return function(path, text, room); });
}

FAULTY int fchmod(int fd, mode_t mode) noexcept {
    static auto* const function = original(&::fchmod, "fchmod");
    return make("fchmod", [&](size_t /*most*/) { return function(fd, mode); });
}

FAULTY int poll(pollfd* asked, nfds_t count, int patience) {
    static auto* const function = original(&::poll, "poll");
    return make("poll", [&](size_t /*most*/) { return function(asked, count, patience); });
}

#undef FAULTY
