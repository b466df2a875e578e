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

std::string Losses::text() const {
    std::string result;
    if (gaps != 0) {
        result = fmt::format("{} ({})", countText(gaps, "gap"), countText(gapBytes, "byte"));
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
