/// @file
/// The numbers of the calendar.
#pragma once

#include <cstdint>

namespace vek::program {

inline constexpr uint64_t MICROSECONDS_PER_SECOND = 1'000'000;
inline constexpr uint64_t SECONDS_PER_DAY = 86400;
/// From 1 March of the year 0.
inline constexpr uint64_t DAYS_BEFORE_1970 = 719468;

}  // namespace vek::program
