#include "tools/vektrace/program/timeText.h"

#include <gtest/gtest.h>

#include <ctime>
#include <limits>
#include <random>

namespace vek::program {
namespace {

constexpr timeStamp_t STAMP = 1234567890123456;
constexpr timeStamp_t LAST = std::numeric_limits<timeStamp_t>::max();

std::string utc(timeStamp_t stamp, unsigned precision = MAX_PRECISION) {
    std::string text;
    appendUtc(text, stamp, precision);
    return text;
}

TEST(TimeText, UtcEqualsTheTextOfTheLibraryAsLongAsThatDoesNotWrap) {
    // Until 2106, or 2038 where time_t has 32 bits.
    const timeStamp_t end = (uint64_t{1} << (sizeof(time_t) > 4 ? 32 : 31)) * 1000000;
    std::mt19937_64 random(1);
    for (int i = 0; i < 20000; ++i) {
        const timeStamp_t stamp = random() % end;
        EXPECT_EQ(utc(stamp), MessageBase::printTimestamp(stamp));
    }
}

TEST(TimeText, UtcEqualsTheSystemsCalendarForEveryTimeThereIs) {
    if (sizeof(time_t) < 8) {
        return;  // the system's calendar ends in 2038
    }
    std::mt19937_64 random(2);
    for (int i = 0; i < 20000; ++i) {
        const timeStamp_t stamp = random() >> (i % 20);
        const auto seconds = static_cast<time_t>(stamp / 1000000);
        tm fields = {};
        ASSERT_NE(gmtime_r(&seconds, &fields), nullptr);
        char text[64];
        const int length = std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d",
                                         fields.tm_year + 1900, fields.tm_mon + 1, fields.tm_mday,
                                         fields.tm_hour, fields.tm_min, fields.tm_sec);
        EXPECT_EQ(utc(stamp, 0), std::string(text, static_cast<size_t>(length)));
    }
}

TEST(TimeText, TheLastTimeThereIsDoesNotWrap) {
    EXPECT_EQ(utc(LAST), "586524-01-19 08:01:49.551615");
    EXPECT_EQ(rfc3339(LAST), "586524-01-19T08:01:49.551615Z");
}

TEST(TimeText, PrecisionCutsDigitsOffAndNeverRounds) {
    const char* const expected[] = {"", ".9", ".99", ".999", ".9999", ".99999", ".999999"};
    for (unsigned precision = 0; precision <= MAX_PRECISION; ++precision) {
        EXPECT_EQ(utc(999999, precision), std::string("1970-01-01 00:00:00") + expected[precision]);
    }
}

TEST(TimeText, SecondsHaveNoCalendar) {
    std::string text;
    appendSeconds(text, STAMP, 3);
    EXPECT_EQ(text, "1234567890.123");
}

TEST(TimeText, DifferencesHaveTheirSign) {
    std::string text;
    appendDifference(text, STAMP, STAMP + 1);
    appendDifference(text, STAMP + 1500000, STAMP);
    appendDifference(text, STAMP, STAMP, 0);
    appendDifference(text, 0, LAST);
    EXPECT_EQ(text, "+0.000001-1.500000+0+18446744073709.551615");
}

TEST(TimeText, DurationsBeginWithTheirLargestUnit) {
    EXPECT_EQ(durationText(0), "0 s");
    EXPECT_EQ(durationText(1), "0.000001 s");
    EXPECT_EQ(durationText(59999999), "59.999999 s");
    EXPECT_EQ(durationText(60000000), "1 min 0 s");
    EXPECT_EQ(durationText(3600500000), "1 h 0 min 0.5 s");
    EXPECT_EQ(durationText(uint64_t{90061} * 1000000), "1 d 1 h 1 min 1 s");
}

}  // namespace
}  // namespace vek::program
