/// @file
/// How a verb ends before its end. All of these pass through the verbs to the command line, which tells
/// them and returns the status.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

namespace vek::program {

/// The exit statuses; 128 + n for a signal beside them.
enum status_t : int {
    STATUS_COMPLETE = 0,
    STATUS_FAILED = 1,  ///< something could not be done
    STATUS_USAGE = 2,
    STATUS_LOSS = 3,  ///< done, but the trace is damaged or something of it is not there
};

/// "FILE: byte 123: reason".
std::string failureText(const std::string& file, uint64_t offset, const std::string& reason);
/// "FILE: reason".
std::string failureText(const std::string& file, const std::string& reason);
/// What errno means, in words.
std::string systemReason(int error);

/// The verb cannot go on. STATUS_FAILED.
class Failure : public std::runtime_error {
public:
    Failure(const std::string& file, const std::string& reason)
        : std::runtime_error(failureText(file, reason)) {}
    Failure(const std::string& file, uint64_t offset, const std::string& reason)
        : std::runtime_error(failureText(file, offset, reason)) {}
};

/// The command line asks for what there is not. STATUS_USAGE.
class UsageError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// No input was named and standard input is a terminal: the verb's help, and STATUS_USAGE.
struct NoInput {};

/// Whoever read the output does so no more, and is told nothing.
struct ClosedOutput {};

/// A signal asked for an end; Session::stopped() is true.
struct Interrupted {};

}  // namespace vek::program
