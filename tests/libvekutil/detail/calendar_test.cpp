#include "libvekutil/detail/calendar.h"

#include <gtest/gtest.h>

#include <limits>
#include <random>

namespace {

using vek::detail::utcFromSeconds;

constexpr int64_t SECONDS_PER_DAY = 86400;

/// Whether our conversion agrees with the C library's on a count of seconds.
testing::AssertionResult agrees(int64_t seconds) {
    const auto time = static_cast<time_t>(seconds);
    tm theirs{};
    gmtime_r(&time, &theirs);
    const tm ours = utcFromSeconds(seconds);
    if (ours.tm_year == theirs.tm_year && ours.tm_mon == theirs.tm_mon &&
        ours.tm_mday == theirs.tm_mday && ours.tm_hour == theirs.tm_hour &&
        ours.tm_min == theirs.tm_min && ours.tm_sec == theirs.tm_sec) {
        return testing::AssertionSuccess();
    }
    char text[vek::detail::CALENDAR_ROOM];
    return testing::AssertionFailure()
           << seconds << " gives " << std::string(text, vek::detail::writeCalendar(text, ours));
}

// Where time_t has 32 bits, later counts cannot be put to the C library.
constexpr int64_t FIRST = std::numeric_limits<int32_t>::min();
constexpr int64_t LAST = sizeof(time_t) > 4 ? int64_t{std::numeric_limits<uint32_t>::max()}
                                            : int64_t{std::numeric_limits<int32_t>::max()};

TEST(UtcFromSeconds, AgreesAroundEveryMidnightFrom1901To2106) {
    const int64_t firstDay = FIRST / SECONDS_PER_DAY;
    for (int64_t day = firstDay; day * SECONDS_PER_DAY < LAST; ++day) {
        const int64_t midnight = day * SECONDS_PER_DAY;
        ASSERT_TRUE(agrees(midnight - 1));
        ASSERT_TRUE(agrees(midnight));
        ASSERT_TRUE(agrees(midnight + 1));
    }
}

TEST(UtcFromSeconds, AgreesAtBothEndsOfTheRange) {
    ASSERT_TRUE(agrees(FIRST));
    ASSERT_TRUE(agrees(-1));
    ASSERT_TRUE(agrees(0));
    ASSERT_TRUE(agrees(LAST));
}

TEST(UtcFromSeconds, AgreesOnEverySecondOfADay) {
    for (int64_t second = 0; second < SECONDS_PER_DAY; ++second) {
        ASSERT_TRUE(agrees(1234567890 / SECONDS_PER_DAY * SECONDS_PER_DAY + second));
        ASSERT_TRUE(agrees(-second));
    }
}

TEST(UtcFromSeconds, AgreesOnAMillionRandomCounts) {
    std::mt19937_64 random(5);
    std::uniform_int_distribution<int64_t> seconds(FIRST, LAST);
    for (int i = 0; i < 1000000; ++i) {
        ASSERT_TRUE(agrees(seconds(random)));
    }
}

}  // namespace
