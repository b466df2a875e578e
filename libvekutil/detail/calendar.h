/// @file
/// Calendar dates: from a count of seconds to fields, and from fields to characters.
#pragma once

#include <cstdint>
#include <ctime>

#include "libvekutil/detail/digits.h"

namespace vek::detail {

/// Room for writeCalendar with any fields: six numbers of up to 11 characters, 5 separators.
inline constexpr size_t CALENDAR_ROOM = 6 * 11 + 5;

/// Date and time of day in UTC of a count of seconds since 1970, for every count that 32 bits hold,
/// signed or unsigned. Only the six fields from tm_year to tm_sec are set; the others are 0.
///
/// Takes the place of gmtime_r, which holds a process-wide lock. The years begin in March here,
/// so that a leap day is the last of its year, and are counted from March of the year 0.
inline tm utcFromSeconds(int64_t seconds) {
    constexpr int64_t DAYS_BEFORE_1970 = 719468;
    constexpr int64_t SECONDS_PER_DAY = 86400;
    constexpr uint32_t DAYS_PER_ERA = 146097;  // 400 years, after which the calendar repeats

    const auto sinceYear0 = static_cast<uint64_t>(seconds + DAYS_BEFORE_1970 * SECONDS_PER_DAY);
    const auto days = static_cast<uint32_t>(sinceYear0 / SECONDS_PER_DAY);
    const auto secondOfDay = static_cast<uint32_t>(sinceYear0 % SECONDS_PER_DAY);

    const uint32_t era = days / DAYS_PER_ERA;
    const uint32_t dayOfEra = days % DAYS_PER_ERA;
    const uint32_t yearOfEra =
        (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / (DAYS_PER_ERA - 1)) / 365;
    const uint32_t dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const uint32_t monthFromMarch = (5 * dayOfYear + 2) / 153;  // months of 31, 30, 31, 30, 31 days
    const bool nextYear = monthFromMarch >= 10;                 // January and February

    tm t{};
    t.tm_year = static_cast<int>(era * 400 + yearOfEra + (nextYear ? 1 : 0)) - 1900;
    t.tm_mon = static_cast<int>(nextYear ? monthFromMarch - 10 : monthFromMarch + 2);
    t.tm_mday = static_cast<int>(dayOfYear - (153 * monthFromMarch + 2) / 5 + 1);
    t.tm_hour = static_cast<int>(secondOfDay / 3600);
    t.tm_min = static_cast<int>(secondOfDay / 60 % 60);
    t.tm_sec = static_cast<int>(secondOfDay % 60);
    return t;
}

/// Two digits, or a plain decimal number where two digits do not hold it. Room: 11.
inline char* writeField(char* out, int64_t value) {
    return value >= 0 && value < 100 ? writeTwoDigits(out, static_cast<unsigned>(value))
                                     : writeDecimal(out, value);
}

/// Four digits, or a plain decimal number where four digits do not hold it. Room: 11.
inline char* writeYear(char* out, int64_t year) {
    if (year < 0 || year > 9999) {
        return writeDecimal(out, year);
    }
    out = writeTwoDigits(out, static_cast<unsigned>(year) / 100);
    return writeTwoDigits(out, static_cast<unsigned>(year) % 100);
}

/// `YYYY-MM-DD HH:MM:SS`. Room: CALENDAR_ROOM.
inline char* writeCalendar(char* out, const tm& t) {
    out = writeYear(out, int64_t{t.tm_year} + 1900);
    *out++ = '-';
    out = writeField(out, int64_t{t.tm_mon} + 1);
    *out++ = '-';
    out = writeField(out, t.tm_mday);
    *out++ = ' ';
    out = writeField(out, t.tm_hour);
    *out++ = ':';
    out = writeField(out, t.tm_min);
    *out++ = ':';
    return writeField(out, t.tm_sec);
}

}  // namespace vek::detail
