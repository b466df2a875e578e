/// @file
/// Timestamps as characters in memory.
#pragma once

#include <ctime>

#include "libvektrace/MessageBase.h"
#include "libvekutil/detail/calendar.h"

namespace vek::detail {

inline constexpr uint32_t oneus = 1000000;  ///< microseconds per second

/// The most digits behind the point: a timestamp counts microseconds.
inline constexpr uint8_t MAX_PRECISION = 6;

/// Room for any timestamp's text.
inline constexpr size_t TIMESTAMP_ROOM = CALENDAR_ROOM + 1 + MAX_PRECISION;

/// The whole seconds, cut to 32 bits; where time_t is a signed 32-bit type, the upper half of
/// these becomes negative. Both are meant.
inline time_t wholeSeconds(timeStamp_t stamp) {
    return static_cast<time_t>(static_cast<uint32_t>(stamp / oneus));
}

inline tm localFromSeconds(time_t seconds) {
    tm timeStruct{};
    localtime_r(&seconds, &timeStruct);
    return timeStruct;
}

/// "." and the first `precision` of the six digits of `microseconds`; nothing for 0. Room: 1 + 6.
inline char* writeFraction(char* out, uint32_t microseconds, uint8_t precision) {
    if (precision == 0) {
        return out;
    }
    *out = '.';
    writeTwoDigits(out + 1, microseconds / 10000);
    writeFourDigits(out + 3, microseconds % 10000);
    return out + 1 + (precision < MAX_PRECISION ? precision : MAX_PRECISION);
}

/// Date and time of day, and the fraction with `precision` digits. Room: TIMESTAMP_ROOM.
inline char* writeTimestamp(char* out, timeStamp_t stamp, bool utc, uint8_t precision) {
    const time_t seconds = wholeSeconds(stamp);
    out = utc ? writeUtc(out, seconds) : writeCalendar(out, localFromSeconds(seconds));
    return writeFraction(out, static_cast<uint32_t>(stamp % oneus), precision);
}

/// The fixed form: UTC with six digits. Room: TIMESTAMP_ROOM.
inline char* writeTimestamp(char* out, timeStamp_t stamp) {
    return writeTimestamp(out, stamp, true, MAX_PRECISION);
}

}  // namespace vek::detail
