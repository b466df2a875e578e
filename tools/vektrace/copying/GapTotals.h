/// @file
/// How many gaps there were, and why.
#pragma once

#include <array>
#include <string>

#include "libvekstream/TraceSpan.h"

namespace vek::program {

/// The pieces of a long gap count as one.
struct GapTotals {
    struct Count {
        uint64_t gaps = 0;
        uint64_t bytes = 0;
    };

    Count all;
    std::array<Count, GAP_NUM> byReason;

    void add(const TraceSpan& gap);
    GapTotals& operator+=(const GapTotals& other);
};

/// "3 gaps, 1234 bytes (2 no sync marker, 1 truncated record)".
std::string gapText(const GapTotals& totals);

}  // namespace vek::program
