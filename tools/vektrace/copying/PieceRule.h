/// @file
/// Where a trace is cut into pieces.
#pragma once

#include <cstdint>
#include <optional>

#include "libvekstream/TraceSpan.h"

namespace vek::program {

/// No record is ever cut. By count and time a gap stays in the piece of the record before it; by
/// size it goes where it has room, like a record.
class PieceRule {
public:
    enum measure_t : int {
        MEASURE_BYTES = 0,    ///< at most so many; a longer record is a piece of its own
        MEASURE_RECORDS = 1,  ///< exactly so many, but for the last piece
        /// So many microseconds, counted in steps from the first record's time: a piece ends where
        /// a record's time lies behind its step. A record with a time before stays in the piece,
        /// so that a clock that steps back ends none.
        MEASURE_TIME = 2,
    };

    /// `limit` is not 0.
    PieceRule(measure_t _measure, uint64_t _limit) : measure(_measure), limit(_limit) {}

    /// Whether a new piece begins with this span, the next one of the trace.
    bool beginsPiece(const TraceSpan& span);

private:
    bool isFull(const TraceSpan& span);
    bool isBehindStep(timeStamp_t time);

    measure_t measure;
    uint64_t limit;
    bool begun = false;
    uint64_t held = 0;                ///< bytes or records in the piece
    std::optional<timeStamp_t> step;  ///< when the piece's step began
};

}  // namespace vek::program
