/// @file
/// The bytes of a file descriptor as they are.
#pragma once

#include <sys/types.h>

#include <atomic>
#include <cstddef>
#include <cstdint>

#include "libvekstream/detail/ByteSource.h"

namespace vek::detail {

class FdSource : public ByteSource {
public:
    /// With `follow` a file does not end, and whatever has nothing to read just now pauses.
    FdSource(int _fd, bool _follow, const std::atomic<bool>* _stop);

    size_t read(uint8_t* to, size_t room) override;
    bool paused() const override { return pausing; }

    /// From now on the end is the end.
    void stopFollowing() { follow = false; }
    bool stopped() const { return stop != nullptr && stop->load(); }
    uint64_t count() const { return taken; }

private:
    ssize_t readNow(uint8_t* to, size_t room) const;
    bool isReady() const;
    bool mayGrow() const;

    int fd;
    bool writeOnly;
    bool follow;
    const std::atomic<bool>* stop;
    bool pausing = false;
    uint64_t taken = 0;
};

}  // namespace vek::detail
