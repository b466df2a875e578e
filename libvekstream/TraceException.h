/// @file
/// What reading and writing a trace throws when the system refuses, or compressed input is damaged.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

#include "libvekutil/export.h"

/// what() is the reason alone, without a file's name: "No space left on device".
class VEK_EXPORT TraceException : public std::runtime_error {
public:
    /// `error` is an errno value, or 0 where it was not the system that refused.
    TraceException(const std::string& reason, uint64_t offset, int error = 0)
        : std::runtime_error(reason), byteOffset(offset), systemError(error) {}
    ~TraceException() override;

    /// How many bytes of the trace had been read or written before.
    uint64_t offset() const { return byteOffset; }
    /// The errno value, or 0 where it was not the system that refused.
    int error() const { return systemError; }

private:
    uint64_t byteOffset;
    int systemError;
};
