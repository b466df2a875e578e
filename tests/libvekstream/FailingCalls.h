/// @file
/// Lets the system calls of the library fail. A program that includes this replaces the functions of
/// the C library: one unit of it only, with file offsets of 64 bits as the library has.
#pragma once

#include <dlfcn.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <functional>
#include <map>
#include <string>
#include <string_view>

namespace calls {

struct Plan {
    long first = LONG_MAX;  ///< the number of the call that fails, from 0
    long count = 1;         ///< so many fail, if so many are made
    int error = EIO;
    std::map<std::string, int> always = {};  ///< calls that fail whenever they are made, and how
    size_t mostBytes = SIZE_MAX;             ///< of one read or write
    mode_t mode = 0;                         ///< where not 0: of whatever is asked for its status
    std::function<void(std::string_view)> before = {};  ///< where set: called with each name
};

inline const Plan* plan = nullptr;  ///< null: everything works
inline long made = 0;
inline std::string failed;  ///< the first that failed by its number
inline bool named = false;  ///< a file has got a new name
inline uint64_t written = 0;
inline int writtenTo = -1;  ///< the descriptor
inline int patience = 0;    ///< of the last poll, in milliseconds; below 0: for ever

/// From here to its end calls are counted, and fail as planned.
class Armed {
public:
    explicit Armed(const Plan& _plan) {
        plan = &_plan;
        made = 0;
        failed.clear();
        named = false;
        written = 0;
        writtenTo = -1;
        patience = 0;
    }
    ~Armed() { plan = nullptr; }
    Armed(const Armed&) = delete;
    Armed& operator=(const Armed&) = delete;
};

inline bool fail(const char* name) {
    if (plan == nullptr) {
        return false;
    }
    if (plan->before) {
        plan->before(name);
    }
    const auto always = plan->always.find(name);
    if (always != plan->always.end()) {
        errno = always->second;
        return true;
    }
    const long number = made++;
    if (number < plan->first || number - plan->first >= plan->count) {
        return false;
    }
    failed = failed.empty() ? name : failed;
    errno = plan->error;
    return true;
}

inline size_t share(size_t length) {
    return plan == nullptr ? length : std::min(length, plan->mostBytes);
}

/// What it has been without this, by its name in the C library.
template <class Function>
Function* original(Function* /*replaced*/, const char* name) {
    Function* function = nullptr;
    void* const symbol = ::dlsym(RTLD_NEXT, name);
    std::memcpy(&function, &symbol, sizeof function);
    return function;
}

/// A new name that was given, or not.
inline int naming(int result) {
    named = named || (plan != nullptr && result == 0);
    return result;
}

}  // namespace calls

#define VEK_REPLACED extern "C" [[gnu::visibility("default")]]

VEK_REPLACED int open(const char* path, int flags, ...) {
    static auto* const original = calls::original(&::open, "open64");
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    return calls::fail("open") ? -1 : original(path, flags, mode);
}

/// Also where it fails the descriptor is none any more.
VEK_REPLACED int close(int fd) {
    static auto* const original = calls::original(&::close, "close");
    const int result = original(fd);
    const bool wasWritten = fd == calls::writtenTo;
    calls::writtenTo = wasWritten ? -1 : calls::writtenTo;
    return calls::fail(wasWritten ? "close" : "close, nothing written") ? -1 : result;
}

VEK_REPLACED ssize_t read(int fd, void* to, size_t room) {
    static auto* const original = calls::original(&::read, "read");
    return calls::fail("read") ? -1 : original(fd, to, calls::share(room));
}

VEK_REPLACED ssize_t write(int fd, const void* from, size_t length) {
    static auto* const original = calls::original(&::write, "write");
    const ssize_t some = calls::fail("write") ? -1 : original(fd, from, calls::share(length));
    if (calls::plan != nullptr && some > 0) {
        calls::written += static_cast<uint64_t>(some);
        calls::writtenTo = fd;
    }
    return some;
}

VEK_REPLACED int fsync(int fd) {
    static auto* const original = calls::original(&::fsync, "fsync");
    return calls::fail("fsync") ? -1 : original(fd);
}

VEK_REPLACED int rename(const char* from, const char* to) noexcept {
    static auto* const original = calls::original(&::rename, "rename");
    return calls::fail("rename") ? -1 : calls::naming(original(from, to));
}

VEK_REPLACED int renameat2(int fromFolder, const char* from, int toFolder, const char* to,
                           unsigned flags) noexcept {
    static auto* const original = calls::original(&::renameat2, "renameat2");
    return calls::fail("renameat2")
               ? -1
               : calls::naming(original(fromFolder, from, toFolder, to, flags));
}

VEK_REPLACED int link(const char* from, const char* to) noexcept {
    static auto* const original = calls::original(&::link, "link");
    return calls::fail("link") ? -1 : calls::naming(original(from, to));
}

// What these are called where file offsets have 64 bits, and where times have as many besides.
#if defined __USE_TIME_BITS64 && __TIMESIZE == 32
#define VEK_STAT "__stat64_time64"
#define VEK_FSTAT "__fstat64_time64"
#else
#define VEK_STAT "stat64"
#define VEK_FSTAT "fstat64"
#endif

VEK_REPLACED int stat(const char* path, struct stat* status) noexcept {
    static auto* const original =
        calls::original(static_cast<int (*)(const char*, struct stat*)>(&::stat), VEK_STAT);
    const int result = calls::fail("stat") ? -1 : original(path, status);
    if (calls::plan != nullptr && calls::plan->mode != 0) {
        status->st_mode = calls::plan->mode;
    }
    return result;
}

VEK_REPLACED int fstat(int fd, struct stat* status) noexcept {
    static auto* const original = calls::original(&::fstat, VEK_FSTAT);
    return calls::fail("fstat") ? -1 : original(fd, status);
}

VEK_REPLACED ssize_t readlink(const char* path, char* text, size_t room) noexcept {
    static auto* const original = calls::original(&::readlink, "readlink");
    return calls::fail("readlink") ? -1 : original(path, text, room);
}

VEK_REPLACED int fchmod(int fd, mode_t mode) noexcept {
    static auto* const original = calls::original(&::fchmod, "fchmod");
    return calls::fail("fchmod") ? -1 : original(fd, mode);
}

VEK_REPLACED int poll(pollfd* asked, nfds_t count, int patience) {
    static auto* const original = calls::original(&::poll, "poll");
    calls::patience = patience;
    return calls::fail("poll") ? -1 : original(asked, count, patience);
}

/// Takes the memory of an exception, which where it is lacking comes from a reserve. What failed is to
/// be told all the same.
VEK_REPLACED void* __cxa_allocate_exception(size_t size) noexcept {
    static auto* const original =
        calls::original(&::__cxa_allocate_exception, "__cxa_allocate_exception");
    void* const memory = original(size);
    errno = calls::plan != nullptr ? ENOMEM : errno;
    return memory;
}

#undef VEK_FSTAT
#undef VEK_STAT
#undef VEK_REPLACED
