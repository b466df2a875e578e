#include "tools/vektrace/program/TraceStatistics.h"

#include <algorithm>
#include <cstddef>

#include "tools/vektrace/program/decode.h"
#include "tools/vektrace/program/timeUnits.h"

namespace vek::program {

void TimeScale::cover(timeStamp_t stamp) {
    low = empty ? stamp : std::min(low, stamp);
    high = empty ? stamp : std::max(high, stamp);
    empty = false;
    while ((high >> shift) - base() >= CELLS) {
        ++shift;
    }
}

double IdentifierStatistics::meanRate() const {
    const double seconds =
        static_cast<double>(latest - earliest) / static_cast<double>(MICROSECONDS_PER_SECOND);
    return seconds > 0 ? static_cast<double>(records - 1) / seconds : 0;
}

TraceStatistics::TraceStatistics() : rows(size_t{1} << 16) {}

void TraceStatistics::addRecord(const TraceSpan& record) {
    const timeStamp_t stamp = timeOf(record);
    addTime(stamp);
    ++records;
    bytes += record.length;
    std::unique_ptr<IdentifierStatistics>& row = rows[identifierOf(record)];
    if (row == nullptr) {
        row = std::make_unique<IdentifierStatistics>();
        row->earliest = row->latest = row->before = stamp;
    }
    addToRow(*row, record, stamp);
}

void TraceStatistics::addTime(timeStamp_t stamp) {
    if (records != 0 && stamp < before) {
        ++backwardSteps;
        largestBackwardStep = std::max(largestBackwardStep, before - stamp);
    }
    before = stamp;
    if (!scale.covers(stamp)) {
        const TimeScale old = scale;
        scale.cover(stamp);
        if (records != 0 && !scale.isSameAs(old)) {
            rescale(old);
        }
    }
}

/// Cells only ever become wider by a power of two, so each lies in one of the new ones.
void TraceStatistics::rescale(const TimeScale& old) {
    for (const auto& row : rows) {
        if (row == nullptr) {
            continue;
        }
        counts_t counts = {};
        for (size_t cell = 0; cell < old.used(); ++cell) {
            const timeStamp_t inCell = std::max(old.begin() + cell * old.cellWidth(), old.low);
            counts[scale.cellOf(inCell)] += row->overTime[cell];
        }
        row->overTime = counts;
    }
}

void TraceStatistics::addToRow(IdentifierStatistics& row, const TraceSpan& record,
                               timeStamp_t stamp) {
    ++row.records;
    row.bytes += record.length;
    row.earliest = std::min(row.earliest, stamp);
    row.latest = std::max(row.latest, stamp);
    if (stamp > row.before) {
        row.largestPause = std::max(row.largestPause, stamp - row.before);
    }
    row.before = stamp;
    ++row.overTime[scale.cellOf(stamp)];
}

void TraceStatistics::addGap(const Gap& gap) {
    bytes += gap.length;
    losses.gaps.add(gap);
}

}  // namespace vek::program
