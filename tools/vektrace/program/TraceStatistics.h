/// @file
/// What is counted of a trace, in memory that does not grow with it.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "libvekstream/TraceSpan.h"
#include "tools/vektrace/program/losses.h"

namespace vek::program {

/// The time of a trace in at most CELLS cells of the same width, which doubles as the trace grows.
class TimeScale {
public:
    static constexpr size_t CELLS = 32;

    /// The cell of `stamp` once cover() has been told of it.
    size_t cellOf(timeStamp_t stamp) const {
        return static_cast<size_t>((stamp >> shift) - base());
    }
    bool covers(timeStamp_t stamp) const { return !empty && low <= stamp && stamp <= high; }
    /// Makes room for `stamp`.
    void cover(timeStamp_t stamp);

    size_t used() const { return empty ? 0 : cellOf(high) + 1; }
    uint64_t cellWidth() const { return uint64_t{1} << shift; }
    timeStamp_t begin() const { return base() << shift; }
    bool isSameAs(const TimeScale& other) const {
        return shift == other.shift && base() == other.base();
    }

    timeStamp_t low = 0;   ///< the earliest time so far
    timeStamp_t high = 0;  ///< the latest one

private:
    uint64_t base() const { return low >> shift; }

    unsigned shift = 0;
    bool empty = true;
};

using counts_t = std::array<uint64_t, TimeScale::CELLS>;

struct IdentifierStatistics {
    uint64_t records = 0;
    uint64_t bytes = 0;
    timeStamp_t earliest = 0;
    timeStamp_t latest = 0;
    uint64_t largestPause = 0;  ///< between two of its records, in microseconds
    counts_t overTime = {};

    /// Records per second from the earliest to the latest; 0 where there is no time between them.
    double meanRate() const;

private:
    friend class TraceStatistics;
    timeStamp_t before = 0;
};

class TraceStatistics {
public:
    TraceStatistics();

    void addRecord(const TraceSpan& record);
    void addGap(const Gap& gap);

    uint64_t records = 0;
    uint64_t bytes = 0;  ///< of records and gaps
    Losses losses;       ///< `refused` is the caller's to count
    uint64_t backwardSteps = 0;
    uint64_t largestBackwardStep = 0;  ///< in microseconds
    TimeScale scale;

    /// Calls `visit` with every identifier that occurred and its statistics, by number.
    template <class Visitor>
    void forEachIdentifier(const Visitor& visit) const {
        for (size_t id = 0; id < rows.size(); ++id) {
            if (rows[id] != nullptr) {
                visit(static_cast<msgid_t>(id), *rows[id]);
            }
        }
    }

private:
    void addTime(timeStamp_t stamp);
    void rescale(const TimeScale& old);
    void addToRow(IdentifierStatistics& row, const TraceSpan& record, timeStamp_t stamp);

    std::vector<std::unique_ptr<IdentifierStatistics>> rows;
    timeStamp_t before = 0;
};

}  // namespace vek::program
