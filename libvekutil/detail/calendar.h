/// @file
/// Calendar dates: from a count of seconds to fields, and from fields to characters.
#pragma once

#include <cstdint>
#include <ctime>

#include "libvekutil/detail/digits.h"

namespace vek::detail {

// ---- Layout ------------------------------------------------------------------------------------

/// `YYYY-MM-DD HH:MM:SS`, the numbers written by `writeYear` and `writeField`.
template <class Number, char* writeYear(char*, Number), char* writeField(char*, Number)>
char* writeLayout(char* out, Number year, Number month, Number day, Number hour, Number minute,
                  Number second) {
    out = writeYear(out, year);
    *out++ = '-';
    out = writeField(out, month);
    *out++ = '-';
    out = writeField(out, day);
    *out++ = ' ';
    out = writeField(out, hour);
    *out++ = ':';
    out = writeField(out, minute);
    *out++ = ':';
    return writeField(out, second);
}

// ---- Any fields --------------------------------------------------------------------------------

/// Room for a field of a tm, and for its year, which counts from 1900.
inline constexpr size_t ANY_FIELD_ROOM = sizeof "-2147483648" - 1;

/// Two digits, or a plain decimal number where two digits do not hold it. Room: ANY_FIELD_ROOM.
inline char* writeAnyField(char* out, int64_t value) {
    return value >= 0 && value < 100 ? writeTwoDigits(out, static_cast<uint32_t>(value))
                                     : writeDecimal(out, value, ANY_FIELD_ROOM);
}

/// Four digits, or a plain decimal number where four digits do not hold it. Room: ANY_FIELD_ROOM.
inline char* writeAnyYear(char* out, int64_t year) {
    return year >= 0 && year < 10000 ? writeFourDigits(out, static_cast<uint32_t>(year))
                                     : writeDecimal(out, year, ANY_FIELD_ROOM);
}

/// Room for writeCalendar: six numbers and five separators.
inline constexpr size_t CALENDAR_ROOM = 6 * ANY_FIELD_ROOM + 5;

inline char* writeCalendar(char* out, const tm& t) {
    return writeLayout<int64_t, writeAnyYear, writeAnyField>(out, int64_t{t.tm_year} + 1900,
                                                             int64_t{t.tm_mon} + 1, t.tm_mday,
                                                             t.tm_hour, t.tm_min, t.tm_sec);
}

// ---- UTC ---------------------------------------------------------------------------------------

struct Date {
    uint32_t year;
    uint32_t month;  ///< from 1
    uint32_t day;    ///< from 1
};

/// The date of a day counted from 1 March of the year 0, for counts up to 4,000,000 (year 10951).
///
/// The years begin in March, so that a leap day is the last of its year. 400 years have 146097
/// days and 4 years 1461, so a century, and then a year in it, is found by dividing a count of
/// quarter days. Two divisions are multiplications by a rounded reciprocal, exact in their range:
/// 2939745 is 2^32 / 1461; 2141 is 2^16 / 30.6, where 30.6 days are the average month from March
/// to January, in which long and short months take turns.
inline Date dateFromDays(uint32_t days) {
    const uint32_t quarterDays = 4 * days + 3;
    const uint32_t century = quarterDays / 146097;
    const uint32_t quarterDaysOfCentury = quarterDays % 146097 | 3;

    const uint64_t scaled = uint64_t{2939745} * quarterDaysOfCentury;
    const auto yearOfCentury = static_cast<uint32_t>(scaled >> 32);
    const uint32_t dayOfYear = static_cast<uint32_t>(scaled) / 2939745 / 4;

    const uint32_t scaledMonth = 2141 * dayOfYear + 197913;
    const uint32_t month = scaledMonth >> 16;  // 3 is March, 14 is February
    const uint32_t day = (scaledMonth & 0xffff) / 2141 + 1;
    const uint32_t nextYear = month > 12 ? 1 : 0;
    return {100 * century + yearOfCentury + nextYear, month - 12 * nextYear, day};
}

/// Room for writeUtc.
inline constexpr size_t UTC_ROOM = sizeof "YYYY-MM-DD HH:MM:SS" - 1;

/// Date and time of day in UTC of a count of seconds since 1970, for every count that 32 bits hold,
/// signed or unsigned. Takes the place of gmtime_r, which holds a process-wide lock.
inline char* writeUtc(char* out, int64_t seconds) {
    constexpr int64_t SECONDS_PER_DAY = 86400;
    constexpr int64_t DAYS_BEFORE_1970 = 719468;  // from 1 March of the year 0

    const auto count = static_cast<uint64_t>(seconds + DAYS_BEFORE_1970 * SECONDS_PER_DAY);
    const Date date = dateFromDays(static_cast<uint32_t>(count / SECONDS_PER_DAY));
    const auto second = static_cast<uint32_t>(count % SECONDS_PER_DAY);
    return writeLayout<uint32_t, writeFourDigits, writeTwoDigits>(
        out, date.year, date.month, date.day, second / 3600, second / 60 % 60, second % 60);
}

}  // namespace vek::detail
