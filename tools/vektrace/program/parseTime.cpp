#include "tools/vektrace/program/parseTime.h"

#include <fmt/format.h>

#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>

#include "tools/vektrace/program/number.h"
#include "tools/vektrace/program/timeUnits.h"

namespace vek::program {

namespace {

/// A text, taken from the front piece by piece. Throws UsageError where a piece is not there.
class Pieces {
public:
    explicit Pieces(std::string_view text) : whole(text), rest(text) {}

    bool atEnd() const { return rest.empty(); }
    char front() const { return rest.empty() ? '\0' : rest.front(); }

    bool take(char c) {
        if (front() != c) {
            return false;
        }
        rest.remove_prefix(1);
        return true;
    }
    void need(char c) {
        if (!take(c)) {
            fail(fmt::format("'{}' is missing", c));
        }
    }
    void needEnd() const {
        if (!rest.empty()) {
            fail(fmt::format("'{}' is too much", rest));
        }
    }

    /// A number of `least` to `most` digits that is at most `limit`.
    uint64_t number(size_t least, size_t most, uint64_t limit) {
        const std::string_view digits = takeDigits(rest);
        uint64_t value = 0;
        if (digits.size() < least || digits.size() > most || !isNumber(digits, value) ||
            value > limit) {
            failAtNumber(digits);
        }
        return value;
    }

    /// What stands behind a decimal point, in millionths; 0 without one.
    uint64_t fraction() {
        if (!take('.')) {
            return 0;
        }
        const std::string_view digits = takeDigits(rest);
        uint64_t millionths = 0;
        if (!isFraction(digits, millionths)) {
            failAtNumber(digits);
        }
        return millionths;
    }

    [[noreturn]] void fail(const std::string& reason) const {
        throw UsageError(fmt::format("'{}' is no time: {}", whole, reason));
    }

private:
    [[noreturn]] void failAtNumber(std::string_view digits) const {
        fail(digits.empty() ? "a number is missing"
                            : fmt::format("the number '{}' is not valid here", digits));
    }

    std::string_view whole;
    std::string_view rest;
};

constexpr char BEFORE_1970[] = "traces begin in 1970";
constexpr uint64_t MAX_SECONDS = std::numeric_limits<uint64_t>::max() / MICROSECONDS_PER_SECOND;

/// Throws where 64 bits do not hold the microseconds.
uint64_t microseconds(const Pieces& pieces, uint64_t seconds, uint64_t fraction) {
    if (seconds > MAX_SECONDS ||
        seconds * MICROSECONDS_PER_SECOND > std::numeric_limits<uint64_t>::max() - fraction) {
        pieces.fail("it is later than a trace can tell");
    }
    return seconds * MICROSECONDS_PER_SECOND + fraction;
}

uint64_t secondsAndFraction(Pieces& pieces) {
    const uint64_t seconds = pieces.number(1, 20, MAX_SECONDS);
    return microseconds(pieces, seconds, pieces.fraction());
}

bool isLeapYear(uint64_t year) { return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0); }

uint64_t daysOfMonth(uint64_t year, uint64_t month) {
    constexpr uint64_t DAYS[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return DAYS[month - 1] + (month == 2 && isLeapYear(year) ? 1 : 0);
}

/// Days since 1970. Years begin in March here, so that a leap day is the last of its year.
int64_t daysSince1970(uint64_t year, uint64_t month, uint64_t day) {
    const uint64_t y = month > 2 ? year : year - 1;
    const uint64_t m = month > 2 ? month - 3 : month + 9;
    const uint64_t days = 365 * y + y / 4 - y / 100 + y / 400 + (153 * m + 2) / 5 + day - 1;
    return static_cast<int64_t>(days) - static_cast<int64_t>(DAYS_BEFORE_1970);
}

int64_t parseDate(Pieces& pieces) {
    const uint64_t year = pieces.number(4, 6, 999'999);
    pieces.need('-');
    const uint64_t month = pieces.number(2, 2, 12);
    pieces.need('-');
    const uint64_t day = pieces.number(2, 2, 31);
    if (year < 1969) {  // whose end is 1970 in UTC where the clock is behind
        pieces.fail(BEFORE_1970);
    }
    if (month == 0 || day == 0 || day > daysOfMonth(year, month)) {
        pieces.fail("there is no such day");
    }
    return daysSince1970(year, month, day);
}

uint64_t parseTimeOfDay(Pieces& pieces) {
    const uint64_t hour = pieces.number(2, 2, 23);
    pieces.need(':');
    const uint64_t minute = pieces.number(2, 2, 59);
    pieces.need(':');
    return hour * 3600 + minute * 60 + pieces.number(2, 2, 59);
}

/// Seconds that the clock is ahead of UTC.
int64_t parseOffset(Pieces& pieces) {
    if (pieces.atEnd() || pieces.take('Z') || pieces.take('z')) {
        return 0;
    }
    const bool behind = pieces.front() == '-';
    if (!behind && pieces.front() != '+') {
        return 0;
    }
    pieces.need(pieces.front());
    const uint64_t hours = pieces.number(2, 2, 23);
    pieces.need(':');
    const auto seconds = static_cast<int64_t>(hours * 3600 + pieces.number(2, 2, 59) * 60);
    return behind ? -seconds : seconds;
}

uint64_t parseMoment(Pieces& pieces) {
    int64_t seconds = parseDate(pieces) * static_cast<int64_t>(SECONDS_PER_DAY);
    uint64_t fraction = 0;
    if (!pieces.atEnd()) {
        if (!pieces.take('T') && !pieces.take('t')) {
            pieces.need(' ');
        }
        seconds += static_cast<int64_t>(parseTimeOfDay(pieces));
        fraction = pieces.fraction();
        seconds -= parseOffset(pieces);
    }
    if (seconds < 0) {
        pieces.fail(BEFORE_1970);
    }
    return microseconds(pieces, static_cast<uint64_t>(seconds), fraction);
}

}  // namespace

TimeBound parseTime(std::string_view text) {
    Pieces pieces(text);
    TimeBound bound;
    if (pieces.take('@')) {
        bound.microseconds = secondsAndFraction(pieces);
    } else if (pieces.take('+')) {
        bound.fromFirst = true;
        bound.microseconds = secondsAndFraction(pieces);
        pieces.take('s');
    } else {
        bound.microseconds = parseMoment(pieces);
    }
    pieces.needEnd();
    return bound;
}

}  // namespace vek::program
