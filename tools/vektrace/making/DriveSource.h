/// @file
/// What sends during a drive: one cyclic message of a bus, a sensor, or an Ethernet port.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "libvektrace/MessageBase.h"
#include "tools/vektrace/making/Random.h"

namespace vek::program {

/// Times are microseconds, lengths are bytes of payload.
struct DriveSource {
    msgid_t id;
    uint64_t period;
    uint64_t jitter;  ///< the most by which it is later than its cycle says
    size_t minLength;
    size_t maxLength;
    uint64_t burst = 1;  ///< the most records of one turn
    uint64_t gap = 0;    ///< the most time between two of them

    uint64_t cycle = 0;  ///< when the next turn is, without jitter
    uint64_t left = 0;   ///< records of this turn that are still to come
    uint8_t number = 0;  ///< among the sources of its kind
    uint8_t count = 0;   ///< of its records, modulo 256
    std::array<uint8_t, 4> head{};

    size_t drawLength(Random& random) const;
    /// Writes the payload of the next record.
    void fillPayload(uint8_t* payload, size_t length, Random& random);
    /// Counts a record sent at `now` and tells when the next one is.
    uint64_t drawNext(uint64_t now, Random& random);

private:
    void fillFrame(uint8_t* payload, size_t length, Random& random);
};

/// Everything that sends from `begin` on.
std::vector<DriveSource> makeDriveSources(uint64_t begin, Random& random);

}  // namespace vek::program
