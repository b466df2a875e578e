#include "tools/vektrace/copying/PieceRule.h"

#include "tools/vektrace/program/decode.h"

namespace vek::program {

bool PieceRule::beginsPiece(const TraceSpan& span) {
    const bool begins = isFull(span) || !begun;
    begun = true;
    if (begins) {
        held = 0;
    }
    if (measure == MEASURE_BYTES) {
        held += span.length;
    } else if (span.isRecord()) {
        ++held;
    }
    return begins;
}

bool PieceRule::isFull(const TraceSpan& span) {
    if (measure == MEASURE_BYTES) {
        return held >= limit || span.length > limit - held;
    }
    if (!span.isRecord()) {
        return false;
    }
    return measure == MEASURE_RECORDS ? held == limit : isBehindStep(timeOf(span));
}

bool PieceRule::isBehindStep(timeStamp_t time) {
    if (!step) {
        step = time;
    }
    if (time < *step || time - *step < limit) {
        return false;
    }
    *step += (time - *step) / limit * limit;
    return true;
}

}  // namespace vek::program
