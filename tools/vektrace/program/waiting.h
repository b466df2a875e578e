/// @file
/// Waiting for input and output that a signal ends, whenever it comes; but for a write that blocks
/// although there was room for some of it.
#pragma once

#include <sys/types.h>

#include <cstddef>

#include "tools/vektrace/program/Session.h"

namespace vek::program {

/// Waits until `fd` can be read (POLLIN) or written (POLLOUT), but not for long: between two calls the
/// caller looks whether the session was stopped. True also where asking fails, for then reading or writing
/// tells why.
bool isReadySoon(int fd, short event);

/// As the system's read, but waits also where the descriptor does not. Throws Interrupted once the session
/// was stopped.
ssize_t readWaiting(const Session& session, int fd, void* to, size_t room);

}  // namespace vek::program
