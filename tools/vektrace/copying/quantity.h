/// @file
/// Numbers, sizes and durations as a user writes them.
#pragma once

#include <cstdint>
#include <string_view>

#include "tools/vektrace/program/errors.h"

namespace vek::program {

/// Reads bytes: "500", or with a k, M or G behind, which are powers of 1024: "1.5M". Throws
/// UsageError, also for 0, for what is no whole number of bytes and where the digits, without the
/// point, times the unit are beyond 64 bits.
uint64_t parseSize(std::string_view text);

/// Reads a whole number above 0. Throws UsageError.
uint64_t parseCount(std::string_view text);

/// Reads microseconds: "90s", "1.5s", "5m", "1h", also ms and d; without a unit it is seconds.
/// Throws UsageError, also for 0 and for what is no whole number of microseconds.
uint64_t parseDuration(std::string_view text);

}  // namespace vek::program
