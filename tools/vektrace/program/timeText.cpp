#include "tools/vektrace/program/timeText.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <iterator>

#include "libvekutil/detail/calendar.h"
#include "tools/vektrace/program/timeUnits.h"

namespace vek::program {

namespace {

constexpr uint32_t DAYS_OF_400_YEARS = 146097;

/// Appends a point and the first `precision` of the six digits; nothing for none.
void appendFraction(std::string& out, uint64_t microseconds, unsigned precision) {
    if (precision == 0) {
        return;
    }
    const auto fraction = static_cast<uint32_t>(microseconds % MICROSECONDS_PER_SECOND);
    char text[1 + MAX_PRECISION] = {'.'};
    char* const end = detail::writeTwoDigits(text + 1, fraction / 10000);
    detail::writeFourDigits(end, fraction % 10000);
    out.append(text, 1 + std::min(precision, MAX_PRECISION));
}

/// The calendar repeats itself every 400 years, which keeps the count of days in dateFromDays's range.
detail::Date dateOfDay(uint64_t days) {
    detail::Date date = detail::dateFromDays(static_cast<uint32_t>(days % DAYS_OF_400_YEARS));
    date.year += static_cast<uint32_t>(days / DAYS_OF_400_YEARS * 400);
    return date;
}

/// Date and time of day of these seconds since 1970, with `separator` between them. Local time may
/// lie before that.
void appendCalendar(std::string& out, int64_t secondsSince1970, char separator) {
    constexpr auto SECONDS_BEFORE_1970 = static_cast<int64_t>(DAYS_BEFORE_1970 * SECONDS_PER_DAY);
    const auto seconds = static_cast<uint64_t>(secondsSince1970 + SECONDS_BEFORE_1970);
    const detail::Date date = dateOfDay(seconds / SECONDS_PER_DAY);
    const auto second = static_cast<uint32_t>(seconds % SECONDS_PER_DAY);
    char text[detail::CALENDAR_ROOM];
    char* const end = detail::writeLayout<int64_t, detail::writeAnyYear, detail::writeAnyField>(
        text, date.year, date.month, date.day, second / 3600, second / 60 % 60, second % 60);
    out.append(text, end);
    // The separator and the time are as many bytes as the time and a terminating 0.
    out[out.size() - sizeof "HH:MM:SS"] = separator;
}

bool toLocal(uint64_t seconds, tm& local) {
    const auto count = static_cast<time_t>(seconds);
    return count >= 0 && static_cast<uint64_t>(count) == seconds &&
           localtime_r(&count, &local) != nullptr;
}

}  // namespace

void appendUtc(std::string& out, timeStamp_t stamp, unsigned precision, char separator) {
    appendCalendar(out, static_cast<int64_t>(stamp / MICROSECONDS_PER_SECOND), separator);
    appendFraction(out, stamp, precision);
}

void appendLocal(std::string& out, timeStamp_t stamp, unsigned precision) {
    const uint64_t seconds = stamp / MICROSECONDS_PER_SECOND;
    tm local = {};
    if (!toLocal(seconds, local)) {
        appendUtc(out, stamp, precision);
        out += "+00:00";
        return;
    }
    // Of a zone whose offset has seconds the time is as far from UTC as is shown.
    const int64_t minutes = local.tm_gmtoff / 60;
    appendCalendar(out, static_cast<int64_t>(seconds) + minutes * 60, ' ');
    appendFraction(out, stamp, precision);
    fmt::format_to(std::back_inserter(out), "{}{:02}:{:02}", minutes < 0 ? '-' : '+',
                   std::abs(minutes) / 60, std::abs(minutes) % 60);
}

void appendSeconds(std::string& out, uint64_t microseconds, unsigned precision) {
    fmt::format_to(std::back_inserter(out), "{}", microseconds / MICROSECONDS_PER_SECOND);
    appendFraction(out, microseconds, precision);
}

void appendDifference(std::string& out, timeStamp_t from, timeStamp_t to, unsigned precision) {
    out += to < from ? '-' : '+';
    appendSeconds(out, to < from ? from - to : to - from, precision);
}

std::string rfc3339(timeStamp_t stamp) {
    std::string text;
    appendUtc(text, stamp, MAX_PRECISION, 'T');
    return text += 'Z';
}

std::string durationText(uint64_t microseconds) {
    const uint64_t seconds = microseconds / MICROSECONDS_PER_SECOND;
    std::string text;
    if (seconds >= SECONDS_PER_DAY) {
        text += fmt::format("{} d ", seconds / SECONDS_PER_DAY);
    }
    if (seconds >= 3600) {
        text += fmt::format("{} h ", seconds % SECONDS_PER_DAY / 3600);
    }
    if (seconds >= 60) {
        text += fmt::format("{} min ", seconds % 3600 / 60);
    }
    appendSeconds(text, microseconds % (60 * MICROSECONDS_PER_SECOND), MAX_PRECISION);
    text.erase(text.find_last_not_of('0') + 1);
    if (text.back() == '.') {
        text.pop_back();
    }
    return text + " s";
}

// ---- Columns -----------------------------------------------------------------------------------

TimeColumn::TimeColumn(timeStyle_t _style, unsigned _precision)
    : style(_style), precision(_precision) {}

void TimeColumn::append(std::string& out, timeStamp_t stamp) {
    if (empty || style == TIMES_DELTA) {
        const timeStamp_t before = empty ? stamp : reference;
        reference = stamp;
        empty = false;
        if (style == TIMES_DELTA) {
            appendDifference(out, before, stamp, precision);
            return;
        }
    }
    switch (style) {
        case TIMES_LOCAL:
            appendLocal(out, stamp, precision);
            break;
        case TIMES_EPOCH:
            appendSeconds(out, stamp, precision);
            break;
        case TIMES_RELATIVE:
            appendDifference(out, reference, stamp, precision);
            break;
        default:
            appendUtc(out, stamp, precision);
            break;
    }
}

}  // namespace vek::program
