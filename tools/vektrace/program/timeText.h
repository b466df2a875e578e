/// @file
/// Microseconds since 1970 as text. All 64 bits are shown, up to the year 586524, and no digit is
/// ever rounded: those beyond the precision are cut off.
#pragma once

#include <cstdint>
#include <string>

#include "libvektrace/MessageBase.h"

namespace vek::program {

/// Decimal places of a second, 0 to 6.
inline constexpr unsigned MAX_PRECISION = 6;

/// Appends "2009-02-13 23:31:30.123456" in UTC. A year beyond 9999 has as many digits as it takes.
void appendUtc(std::string& out, timeStamp_t stamp, unsigned precision = MAX_PRECISION,
               char separator = ' ');

/// Appends the same in the process's local time, and how far that is from UTC: "+01:00". Seconds of
/// this distance are left out of both, so that the text names the moment.
void appendLocal(std::string& out, timeStamp_t stamp, unsigned precision = MAX_PRECISION);

/// Appends "1234567890.123456".
void appendSeconds(std::string& out, uint64_t microseconds, unsigned precision = MAX_PRECISION);

/// Appends the seconds from `from` to `to` with their sign: "+12.345678", "-0.000001".
void appendDifference(std::string& out, timeStamp_t from, timeStamp_t to,
                      unsigned precision = MAX_PRECISION);

/// "2009-02-13T23:31:30.123456Z".
std::string rfc3339(timeStamp_t stamp);

/// "3 h 25 min 1.5 s", from the largest unit that is not zero.
std::string durationText(uint64_t microseconds);

/// What a column of times shows.
enum timeStyle_t : int {
    TIMES_UTC = 0,
    TIMES_LOCAL = 1,
    TIMES_EPOCH = 2,
    TIMES_RELATIVE = 3,  ///< to the first one
    TIMES_DELTA = 4,     ///< to the one before
};

/// The times of one trace, one after the other.
class TimeColumn {
public:
    TimeColumn(timeStyle_t style, unsigned precision);

    void append(std::string& out, timeStamp_t stamp);

private:
    timeStyle_t style;
    unsigned precision;
    bool empty = true;
    timeStamp_t reference = 0;
};

}  // namespace vek::program
