#include "tools/vektrace/program/losses.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

namespace vek::program {

GapCollector::GapCollector(std::function<void(const Gap&)> _done) : done(std::move(_done)) {}

bool GapCollector::addSlowly(const TraceSpan& span) {
    if (!span.continued) {
        finish();
    }
    if (span.isRecord()) {
        return false;
    }
    if (!open) {
        open = true;
        gap.offset = span.offset;
        gap.reason = span.reason;
        gap.length = 0;
        gap.head.assign(span.data, span.data + std::min(span.length, Gap::MAX_HEAD));
    }
    gap.length += span.length;
    return true;
}

void GapCollector::finish() {
    if (open) {
        open = false;
        done(gap);
    }
}

// ---- Counts ------------------------------------------------------------------------------------

GapCount& GapCount::operator+=(const GapCount& other) {
    gaps += other.gaps;
    bytes += other.bytes;
    return *this;
}

std::string GapCount::text() const {
    return fmt::format("{} ({})", countText(gaps, "gap"), countText(bytes, "byte"));
}

void GapTotals::add(gapReason_t reason, const GapCount& count) {
    all += count;
    byReason[static_cast<size_t>(reason)] += count;
}

GapTotals& GapTotals::operator+=(const GapTotals& other) {
    all += other.all;
    for (size_t reason = 0; reason < byReason.size(); ++reason) {
        byReason[reason] += other.byReason[reason];
    }
    return *this;
}

std::string gapText(const GapTotals& totals) {
    std::string reasons;
    totals.forEachReason([&](gapReason_t reason, const GapCount& count) {
        reasons +=
            fmt::format("{}{} {}", reasons.empty() ? "" : ", ", count.gaps, gapReasonText(reason));
    });
    return fmt::format("{}, {} ({})", countText(totals.all.gaps, "gap"),
                       countText(totals.all.bytes, "byte"), reasons);
}

std::string Losses::text() const {
    std::string result;
    if (gaps.all.gaps != 0) {
        result = gaps.all.text();
    }
    if (refused != 0) {
        result += fmt::format("{}{} refused by {}", result.empty() ? "" : ", ",
                              countText(refused, "record"),
                              refused == 1 ? "its decoder" : "their decoders");
    }
    return result;
}

std::string countText(uint64_t count, const std::string& noun) {
    return fmt::format("{} {}{}", count, noun, count == 1 ? "" : "s");
}

}  // namespace vek::program
