/// @file
/// File descriptors, pipes and interruptions for the tests of what reads and writes them.
#pragma once

#include <fcntl.h>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>

#include "libvekutil/utility.h"

/// Closes what it holds.
class Descriptor {
public:
    explicit Descriptor(int _fd = -1) : fd(_fd) {}
    explicit Descriptor(const std::string& path, int flags = O_RDONLY)
        : fd(::open(path.c_str(), flags | O_CLOEXEC)) {
        if (fd < 0) {
            throw std::runtime_error("cannot open " + path);
        }
    }
    ~Descriptor() {
        if (fd >= 0) {
            ::close(fd);
        }
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    operator int() const { return fd; }

private:
    int fd;
};

/// Two connected descriptors: a pipe, or sockets of a type.
class Pipe {
public:
    Pipe() { check(::pipe(ends)); }
    explicit Pipe(int socketType) { check(::socketpair(AF_UNIX, socketType, 0, ends)); }
    ~Pipe() {
        closeReading();
        closeWriting();
    }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;

    int reading() const { return ends[0]; }
    int writing() const { return ends[1]; }
    void closeReading() { close(ends[0]); }
    void closeWriting() { close(ends[1]); }

private:
    static void check(int result) {
        if (result != 0) {
            throw std::runtime_error("no pipe");
        }
    }
    static void close(int& end) {
        if (end >= 0) {
            ::close(std::exchange(end, -1));
        }
    }

    int ends[2] = {-1, -1};
};

/// All of the bytes, in calls of at most `piece`.
inline void writeAll(int fd, const byteVec_t& bytes, size_t piece = 0x10000) {
    for (size_t done = 0; done < bytes.size();) {
        const ssize_t some = ::write(fd, &bytes[done], std::min(piece, bytes.size() - done));
        if (some < 0 && errno != EINTR) {
            throw std::runtime_error("a pipe of the test cannot be written");
        }
        done += some > 0 ? static_cast<size_t>(some) : 0;
    }
}

/// A file without a name, read from its beginning.
inline std::unique_ptr<Descriptor> memoryFile(const byteVec_t& content) {
    auto file = std::make_unique<Descriptor>(::memfd_create("test", MFD_CLOEXEC));
    writeAll(*file, content);
    if (::lseek(*file, 0, SEEK_SET) != 0) {
        throw std::runtime_error("no file in memory");
    }
    return file;
}

/// What comes until the end, in calls of at most `piece`.
inline byteVec_t readAll(int fd, size_t piece = 0x10000) {
    byteVec_t result;
    byteVec_t part(piece);
    for (;;) {
        const ssize_t some = ::read(fd, part.data(), part.size());
        if (some == 0 || (some < 0 && errno != EINTR)) {
            return result;
        }
        if (some > 0) {
            result.insert(result.end(), part.begin(), part.begin() + some);
        }
    }
}

/// Interrupts the system calls of the thread that made it: a signal that they are not taken up
/// again after.
class Interruptions {
public:
    Interruptions() : thread(::pthread_self()) {
        caught = 0;
        onSignal = nullptr;
        struct sigaction action = {};
        action.sa_handler = [](int) {
            ++caught;
            if (onSignal != nullptr) {
                *onSignal = true;
            }
        };
        ::sigaction(SIGUSR1, &action, &before);
    }
    ~Interruptions() { ::sigaction(SIGUSR1, &before, nullptr); }
    Interruptions(const Interruptions&) = delete;
    Interruptions& operator=(const Interruptions&) = delete;

    /// From another thread.
    void interrupt() const { ::pthread_kill(thread, SIGUSR1); }
    /// From another thread: as often as it takes to have been caught so many times.
    void interrupt(int times) const {
        while (caught < times) {
            interrupt();
            ::sched_yield();
        }
    }
    /// The flag that the handler sets.
    void sets(std::atomic<bool>& flag) { onSignal = &flag; }

private:
    static inline std::atomic<int> caught{0};
    static inline std::atomic<std::atomic<bool>*> onSignal{nullptr};

    pthread_t thread;
    struct sigaction before = {};
};
