// Numbers, sizes and durations on the command line of `vektrace split`.

#include "tools/vektrace/copying/quantity.h"

#include <gtest/gtest.h>

namespace {

using vek::program::parseCount;
using vek::program::parseDuration;
using vek::program::parseSize;
using vek::program::UsageError;

TEST(Size, IsANumberOfBytesOrOfPowersOf1024) {
    EXPECT_EQ(parseSize("1"), 1u);
    EXPECT_EQ(parseSize("10k"), 10240u);
    EXPECT_EQ(parseSize("10K"), 10240u);
    EXPECT_EQ(parseSize("3M"), 3145728u);
    EXPECT_EQ(parseSize("1.5G"), 1610612736u);
    EXPECT_EQ(parseSize("18446744073709551615"), 18446744073709551615u);
}

TEST(Size, IsNothingElse) {
    for (const char* text : {"", "0", "0k", "-1", "+1", "k", "1 k", "1kk", "1T", "0x10", "1.0001k",
                             ".5k", "1.k", "18446744073709551616", "17179869184G", "1e3"}) {
        EXPECT_THROW(parseSize(text), UsageError) << text;
    }
}

TEST(Count, IsAWholeNumberAboveZero) {
    EXPECT_EQ(parseCount("1"), 1u);
    EXPECT_EQ(parseCount("007"), 7u);
    for (const char* text : {"", "0", "-1", "1k", "1.5", "x"}) {
        EXPECT_THROW(parseCount(text), UsageError) << text;
    }
}

TEST(Duration, IsInSecondsOrAnyOfItsUnits) {
    EXPECT_EQ(parseDuration("2"), 2'000'000u);
    EXPECT_EQ(parseDuration("60s"), 60'000'000u);
    EXPECT_EQ(parseDuration("1.5s"), 1'500'000u);
    EXPECT_EQ(parseDuration("0.000001s"), 1u);
    EXPECT_EQ(parseDuration("250ms"), 250'000u);
    EXPECT_EQ(parseDuration("5m"), 300'000'000u);
    EXPECT_EQ(parseDuration("0.5h"), 1'800'000'000u);
    EXPECT_EQ(parseDuration("7d"), 604'800'000'000u);
}

TEST(Duration, IsNothingElse) {
    for (const char* text : {"", "0", "0s", "-1s", "s", "1 s", "1us", "1w", "1h30m", "0.0000001s",
                             "1.s", "99999999999999999999s", "0.0000000000001d", "300000000d"}) {
        EXPECT_THROW(parseDuration(text), UsageError) << text;
    }
}

}  // namespace
