#include "libvekutil/detail/calendar.h"

#include <gtest/gtest.h>

#include <limits>
#include <random>
#include <string_view>

namespace {

constexpr int64_t SECONDS_PER_DAY = 86400;

/// Whether our conversion agrees with the C library's on a count of seconds.
testing::AssertionResult agrees(int64_t seconds) {
    const auto time = static_cast<time_t>(seconds);
    tm t{};
    gmtime_r(&time, &t);
    char theirs[vek::detail::CALENDAR_ROOM];
    char* const theirEnd = vek::detail::writeCalendar(theirs, t);
    char ours[vek::detail::UTC_ROOM];
    char* const ourEnd = vek::detail::writeUtc(ours, seconds);
    const std::string_view our(ours, static_cast<size_t>(ourEnd - ours));
    const std::string_view their(theirs, static_cast<size_t>(theirEnd - theirs));
    if (our == their) {
        return testing::AssertionSuccess();
    }
    return testing::AssertionFailure() << seconds << " gives " << our << ", not " << their;
}

// Where time_t has 32 bits, later counts cannot be put to the C library.
constexpr int64_t FIRST = std::numeric_limits<int32_t>::min();
constexpr int64_t LAST = sizeof(time_t) > 4 ? int64_t{std::numeric_limits<uint32_t>::max()}
                                            : int64_t{std::numeric_limits<int32_t>::max()};

TEST(Utc, AgreesAroundEveryMidnightFrom1901To2106) {
    const int64_t firstDay = FIRST / SECONDS_PER_DAY;
    for (int64_t day = firstDay; day * SECONDS_PER_DAY < LAST; ++day) {
        const int64_t midnight = day * SECONDS_PER_DAY;
        ASSERT_TRUE(agrees(midnight - 1));
        ASSERT_TRUE(agrees(midnight));
        ASSERT_TRUE(agrees(midnight + 1));
    }
}

TEST(Utc, AgreesAtBothEndsOfTheRange) {
    ASSERT_TRUE(agrees(FIRST));
    ASSERT_TRUE(agrees(-1));
    ASSERT_TRUE(agrees(0));
    ASSERT_TRUE(agrees(LAST));
}

TEST(Utc, AgreesOnEverySecondOfADay) {
    for (int64_t second = 0; second < SECONDS_PER_DAY; ++second) {
        ASSERT_TRUE(agrees(1234567890 / SECONDS_PER_DAY * SECONDS_PER_DAY + second));
        ASSERT_TRUE(agrees(-second));
    }
}

TEST(Utc, AgreesOnAMillionRandomCounts) {
    std::mt19937_64 random(5);
    std::uniform_int_distribution<int64_t> seconds(FIRST, LAST);
    for (int i = 0; i < 1000000; ++i) {
        ASSERT_TRUE(agrees(seconds(random)));
    }
}

TEST(Date, OfEveryDayOfItsRangeFollowsTheOneBefore) {
    const uint32_t lengths[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    vek::detail::Date expected = {0, 3, 1};
    for (uint32_t days = 0; days < 4000000; ++days) {
        const vek::detail::Date date = vek::detail::dateFromDays(days);
        ASSERT_EQ(date.year, expected.year) << days;
        ASSERT_EQ(date.month, expected.month) << days;
        ASSERT_EQ(date.day, expected.day) << days;
        const bool leap = date.year % 4 == 0 && (date.year % 100 != 0 || date.year % 400 == 0);
        ++expected.day;
        if (expected.day > lengths[date.month - 1] + (leap && date.month == 2 ? 1 : 0)) {
            expected.day = 1;
            expected.month = date.month % 12 + 1;
            expected.year += expected.month == 1 ? 1 : 0;
        }
    }
}

// ---- Room --------------------------------------------------------------------------------------

TEST(Room, IsWhatTheLongestCalendarTextTakes) {
    constexpr int LOWEST = std::numeric_limits<int>::min();
    tm t{};
    t.tm_year = t.tm_mon = t.tm_mday = t.tm_hour = t.tm_min = t.tm_sec = LOWEST;
    char text[2 * vek::detail::CALENDAR_ROOM + 100];
    EXPECT_EQ(vek::detail::writeCalendar(text, t), text + vek::detail::CALENDAR_ROOM);
    EXPECT_EQ(vek::detail::writeUtc(text, LAST), text + vek::detail::UTC_ROOM);
}

TEST(Room, OfAFieldIsAllThatIsGivenAway) {
    // A number of another origin than a tm, too long for it.
    for (const auto write : {vek::detail::writeAnyField, vek::detail::writeAnyYear}) {
        char text[] = "....................";
        write(text, std::numeric_limits<int64_t>::min());
        EXPECT_STREQ(text + vek::detail::ANY_FIELD_ROOM, ".........");
    }
}

TEST(Room, IsWhatTheLongestNumberTakes) {
    char text[2 * vek::detail::DECIMAL_ROOM];
    char* const end = vek::detail::writeDecimal(text, std::numeric_limits<int64_t>::min());
    EXPECT_EQ(std::string_view(text, static_cast<size_t>(end - text)), "-9223372036854775808");
    EXPECT_EQ(end, text + vek::detail::DECIMAL_ROOM);
}

// ---- Digits ------------------------------------------------------------------------------------

TEST(Digits, NothingIsWrittenBehindThem) {
    for (uint32_t value = 0; value < 100; ++value) {
        char text[] = "....";
        EXPECT_EQ(vek::detail::writeTwoDigits(text, value), text + 2);
        EXPECT_STREQ(text + 2, "..") << value;
    }
    for (uint32_t value = 0; value < 10000; ++value) {
        char text[] = "......";
        EXPECT_EQ(vek::detail::writeFourDigits(text, value), text + 4);
        EXPECT_STREQ(text + 4, "..") << value;
    }
}

}  // namespace
