/// @file
/// What of a trace is no message: gaps as wholes, and a count of what is lost.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

#include "libvekstream/TraceSpan.h"
#include "libvekutil/utility.h"

namespace vek::program {

/// A gap, however many spans it was divided into.
struct Gap {
    static constexpr size_t MAX_HEAD = 4096;

    uint64_t offset = 0;
    uint64_t length = 0;
    gapReason_t reason = GAP_NONE;
    byteVec_t head;  ///< the first bytes, at most MAX_HEAD
};

/// Puts together the spans of gaps.
class GapCollector {
public:
    /// `done` is called with every gap once it is known to be whole.
    explicit GapCollector(std::function<void(const Gap&)> done);

    /// To be called with every span, in order; true for one of a gap.
    bool add(const TraceSpan& span) {
        if (span.isRecord() && !open) {
            return false;
        }
        return addSlowly(span);
    }
    /// To be called at the end of the trace.
    void finish();

private:
    bool addSlowly(const TraceSpan& span);

    const std::function<void(const Gap&)> done;
    Gap gap;
    bool open = false;
};

struct GapCount {
    uint64_t gaps = 0;
    uint64_t bytes = 0;

    GapCount& operator+=(const GapCount& other);
    /// "2 gaps (45 bytes)".
    std::string text() const;
};

/// How many gaps there were, and why.
struct GapTotals {
    GapCount all;
    std::array<GapCount, GAP_NUM> byReason;

    void add(const Gap& gap) { add(gap.reason, {1, gap.length}); }
    /// The spans of one gap count as one.
    void add(const TraceSpan& gap) { add(gap.reason, {gap.continued ? 0U : 1U, gap.length}); }
    GapTotals& operator+=(const GapTotals& other);

    /// Calls `visit` with every reason for which there were gaps, and their count.
    template <class Visitor>
    void forEachReason(const Visitor& visit) const {
        for (size_t reason = 0; reason < byReason.size(); ++reason) {
            if (byReason[reason].gaps > 0) {
                visit(static_cast<gapReason_t>(reason), byReason[reason]);
            }
        }
    }

private:
    void add(gapReason_t reason, const GapCount& count);
};

/// "3 gaps, 1234 bytes (2 no sync marker, 1 truncated record)".
std::string gapText(const GapTotals& totals);

/// What of a trace is damaged or cannot be decoded.
struct Losses {
    GapTotals gaps;
    uint64_t refused = 0;  ///< records whose decoder refused them

    bool any() const { return gaps.all.gaps + refused != 0; }
    /// "2 gaps (45 bytes), 1 record refused by its decoder".
    std::string text() const;
};

/// "1 record", "2 records".
std::string countText(uint64_t count, const std::string& noun);

}  // namespace vek::program
