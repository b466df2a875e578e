/// @file
/// Puts the records of several traces into one order by time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

#include "libvekstream/TraceSpan.h"

namespace vek::program {

/// Of the records that come next in each trace the earliest is taken; of those of one time the one
/// of the trace that was named first. So the order within a trace never changes: where its times
/// step back it is merged as it comes.
class TimeMerge {
public:
    /// Takes the next record of a trace, whose bytes are valid until the next call for the same
    /// trace. False at its end.
    using source_t = std::function<bool(TraceSpan&)>;

    explicit TimeMerge(std::vector<source_t> _sources);

    /// The record's bytes are valid until the next call. False at the end of all traces.
    bool next(TraceSpan& record);
    /// Which trace the record of the last call is from.
    size_t source() const { return current; }
    /// How often the time of a record was before that of the one before it in its trace.
    uint64_t stepsBack(size_t source) const { return heads[source].stepsBack; }

private:
    struct Head {
        TraceSpan record;
        timeStamp_t time = 0;
        uint64_t stepsBack = 0;
    };

    void advance(size_t source);
    bool isLater(size_t a, size_t b) const;

    static constexpr size_t NONE = ~size_t{0};

    std::vector<source_t> sources;
    std::vector<Head> heads;
    std::vector<size_t> queue;  ///< a heap of the sources that have a record, the earliest first
    size_t current = NONE;      ///< its record was handed out, so it is not in the queue
};

}  // namespace vek::program
