/// @file
/// Keeps the last records of a trace.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>

#include "libvekstream/TraceSpan.h"

namespace vek::program {

class LastRecords {
public:
    /// At most `count` records, which is not 0, of together at most `room` bytes. Up to four times
    /// as much memory is used.
    LastRecords(uint64_t _count, size_t _room) : count(_count), room(_room) {}

    /// Forgets the oldest where there are more than wanted. False when the wanted ones have no
    /// room: nothing is kept from then on.
    bool add(const TraceSpan& record);
    /// How many records were added.
    uint64_t added() const { return addedCount; }
    /// Whether the wanted records are all here.
    bool isComplete() const { return !overflow; }
    /// Calls `take` for each, in order. Their offsets are not kept.
    void forEach(const std::function<void(const TraceSpan&)>& take) const;

private:
    struct Record {
        uint32_t length;
        bool marked;
    };

    void forgetFirst();

    uint64_t count;
    size_t room;
    uint64_t addedCount = 0;
    bool overflow = false;
    byteVec_t bytes;
    size_t begin = 0;  ///< of the first record in `bytes`; what stands before is forgotten
    std::deque<Record> records;
};

}  // namespace vek::program
