#include "tools/vektrace/program/parseTime.h"

#include <gtest/gtest.h>

#include <limits>
#include <random>

#include "tools/vektrace/program/timeText.h"

namespace vek::program {
namespace {

constexpr timeStamp_t LAST = std::numeric_limits<timeStamp_t>::max();

uint64_t moment(const char* text) {
    const TimeBound bound = parseTime(text);
    EXPECT_FALSE(bound.fromFirst) << text;
    return bound.microseconds;
}

TEST(ParseTime, IsTheInverseOfTheTexts) {
    std::mt19937_64 random(1);
    for (int i = 0; i < 20000; ++i) {
        const timeStamp_t stamp = random() >> (i % 20);
        EXPECT_EQ(moment(rfc3339(stamp).c_str()), stamp);
        std::string text;
        appendUtc(text, stamp);
        EXPECT_EQ(moment(text.c_str()), stamp);
    }
    EXPECT_EQ(moment(rfc3339(LAST).c_str()), LAST);
}

TEST(ParseTime, TakesTheOffsetOff) {
    EXPECT_EQ(moment("2009-02-13T23:31:30Z"), 1234567890000000);
    EXPECT_EQ(moment("2009-02-14T00:31:30.5+01:00"), 1234567890500000);
    EXPECT_EQ(moment("2009-02-13t20:01:30.123456-03:30"), 1234567890123456);
    EXPECT_EQ(moment("1970-01-01T01:00:00+01:00"), 0);
    EXPECT_EQ(moment("1969-12-31T19:00:00-05:00"), 0);
}

TEST(ParseTime, TakesDaysAndSeconds) {
    EXPECT_EQ(moment("1970-01-02"), uint64_t{86400} * 1000000);
    EXPECT_EQ(moment("2000-02-29"), uint64_t{951782400} * 1000000);
    EXPECT_EQ(moment("@0"), 0);
    EXPECT_EQ(moment("@1234567890.000001"), 1234567890000001);
    EXPECT_EQ(moment("@18446744073709.551615"), LAST);
}

TEST(ParseTime, TakesSecondsFromTheFirstRecord) {
    for (const char* const text : {"+1.5s", "+1.5", "+1.500000"}) {
        const TimeBound bound = parseTime(text);
        EXPECT_TRUE(bound.fromFirst) << text;
        EXPECT_EQ(bound.microseconds, 1500000) << text;
        EXPECT_EQ(bound.at(7), 1500007) << text;
    }
}

TEST(ParseTime, ThereIsNoMomentBeyondTheLastOne) {
    EXPECT_EQ(parseTime("+0.000005s").at(LAST - 5), LAST);
    EXPECT_EQ(parseTime("+0.000006s").at(LAST - 5), std::nullopt);
    EXPECT_EQ(parseTime("@5").at(LAST), 5000000);
}

TEST(ParseTime, RefusesWhatIsNoTime) {
    for (const char* const text : {"",
                                   "now",
                                   "2009",
                                   "2009-02",
                                   "2009-2-13",
                                   "2009-13-01",
                                   "2009-00-01",
                                   "2009-02-00",
                                   "2009-02-29",
                                   "1900-02-29",
                                   "1969-12-31",
                                   "1969-12-31T18:59:59.999999-05:00",
                                   "1968-12-31T23:59:59-23:59",
                                   "0000-01-01",
                                   "2009-02-13T",
                                   "2009-02-13T23:31",
                                   "2009-02-13T24:00:00",
                                   "2009-02-13T23:60:00",
                                   "2009-02-13T23:31:60",
                                   "2009-02-13T23:31:30.",
                                   "2009-02-13T23:31:30.1234567",
                                   "2009-02-13T23:31:30+1",
                                   "2009-02-13T23:31:30+0100",
                                   "2009-02-13T23:31:30Zx",
                                   "1970-01-01T00:00:00+00:01",
                                   "@",
                                   "@-1",
                                   "@1s",
                                   "@18446744073709.551616",
                                   "@99999999999999999999",
                                   "+",
                                   "+1m",
                                   "+-1",
                                   "1.5s",
                                   "586524-01-19T08:01:49.551616Z",
                                   "1000000-01-01",
                                   "2009-02-13T23:31:30 Z",
                                   " @1"}) {
        EXPECT_THROW(parseTime(text), UsageError) << text;
    }
}

TEST(ParseTime, SaysWhatWasGivenAndWhatIsWrong) {
    try {
        parseTime("2009-02-30");
        FAIL();
    } catch (const UsageError& e) {
        EXPECT_STREQ(e.what(), "'2009-02-30' is no time: there is no such day");
    }
}

}  // namespace
}  // namespace vek::program
