/// @file
/// An open file that is closed at the end of the scope, unless it is a standard stream.
#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "tools/vektrace/program/errors.h"
#include "tools/vektrace/program/signals.h"

namespace vek::program {

class FileDescriptor {
public:
    explicit FileDescriptor(int standardStream) : fd(standardStream) {}
    /// What was just opened as `name`, and is closed in the end; -1 with errno where that failed. Throws
    /// Failure, and Interrupted where a signal that asks for an end ended the opening, as of a named pipe.
    FileDescriptor(int opened, const std::string& name) : fd(opened), owned(true) {
        if (fd == -1 && errno == EINTR && stopFlag()) {
            throw Interrupted();
        }
        if (fd == -1) {
            throw Failure(name, systemReason(errno));
        }
    }
    /// Throws like the one above.
    FileDescriptor(const std::string& path, int flags)
        : FileDescriptor(open(path.c_str(), flags | O_CLOEXEC | O_NOCTTY), path) {}
    ~FileDescriptor() {
        if (owned) {
            static_cast<void>(close(fd));
        }
    }
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;

    int get() const { return fd; }

private:
    const int fd;
    const bool owned = false;
};

}  // namespace vek::program
