/// @file
/// Runs what may end the process, or never end, in another process first.
#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <stdexcept>

namespace vek::program {

/// What was tried did not end well; what() is what it does, as "takes too long".
class TrialError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Runs `task`, and what is to be done at the end of a process, in a child process. This one has no
/// input, its output is thrown away, and it is killed after `most`, or at the end of this process.
/// Throws TrialError where a signal or a call ends it before, and where there cannot be one; and
/// Interrupted, with the child killed, once `stop` is true. An exception that leaves `task` is no
/// such end: who does the same again here meets it again.
void runOnTrial(const std::function<void()>& task, std::chrono::seconds most,
                const std::atomic<bool>& stop);

}  // namespace vek::program
