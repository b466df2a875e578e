/// @file
/// Moments as a user writes them.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "libvektrace/MessageBase.h"
#include "tools/vektrace/program/errors.h"

namespace vek::program {

/// A moment, or a distance from the first record of a trace.
struct TimeBound {
    bool fromFirst = false;
    uint64_t microseconds = 0;

    /// The moment in a trace whose first record has the time `first`; nothing where it is later than
    /// any record can be.
    std::optional<timeStamp_t> at(timeStamp_t first) const {
        if (!fromFirst) {
            return microseconds;
        }
        return microseconds <= ~first ? std::optional(first + microseconds) : std::nullopt;
    }
};

/// Reads one of these; throws UsageError with the reason:
///
///     2009-02-13T23:31:30.5Z       RFC 3339; also with a blank for the T, or +01:00 for the Z
///     2009-02-13 23:31:30.123456   without an offset it is UTC, as the texts of a dump are
///     2009-02-13                   midnight in UTC
///     @1234567890.5                seconds since 1970
///     +1.5s                        seconds from the first record; the s may be left out
///
/// Six decimal places are the most, and the year may have up to six digits.
TimeBound parseTime(std::string_view text);

}  // namespace vek::program
