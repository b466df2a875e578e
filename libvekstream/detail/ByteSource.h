/// @file
/// Where TraceReader takes the bytes of a trace from.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vek::detail {

class ByteSource {
public:
    ByteSource() = default;
    virtual ~ByteSource() = default;
    ByteSource(const ByteSource&) = delete;
    ByteSource& operator=(const ByteSource&) = delete;

    /// Takes up to `room` bytes, which is not 0. Returns 0 when the input paused or ended. Throws
    /// IoError, but only when all bytes in front of the failure have been taken.
    virtual size_t read(uint8_t* to, size_t room) = 0;

    /// Whether the last read() returned 0 since there is nothing just now; the next one waits.
    virtual bool paused() const { return false; }
};

}  // namespace vek::detail
