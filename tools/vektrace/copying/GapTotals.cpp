#include "tools/vektrace/copying/GapTotals.h"

#include "tools/vektrace/program/losses.h"

namespace vek::program {

namespace {

void addGap(GapTotals::Count& count, const TraceSpan& gap) {
    count.gaps += gap.continued ? 0 : 1;
    count.bytes += gap.length;
}

void addCount(GapTotals::Count& count, const GapTotals::Count& other) {
    count.gaps += other.gaps;
    count.bytes += other.bytes;
}

}  // namespace

void GapTotals::add(const TraceSpan& gap) {
    addGap(all, gap);
    addGap(byReason[static_cast<size_t>(gap.reason)], gap);
}

GapTotals& GapTotals::operator+=(const GapTotals& other) {
    addCount(all, other.all);
    for (size_t reason = 0; reason < byReason.size(); ++reason) {
        addCount(byReason[reason], other.byReason[reason]);
    }
    return *this;
}

std::string gapText(const GapTotals& totals) {
    std::string reasons;
    for (int reason = 0; reason < GAP_NUM; ++reason) {
        const uint64_t gaps = totals.byReason[static_cast<size_t>(reason)].gaps;
        if (gaps > 0) {
            reasons += (reasons.empty() ? "" : ", ") + std::to_string(gaps) + ' ' +
                       gapReasonText(static_cast<gapReason_t>(reason));
        }
    }
    return countText(totals.all.gaps, "gap") + ", " + countText(totals.all.bytes, "byte") + " (" +
           reasons + ')';
}

}  // namespace vek::program
