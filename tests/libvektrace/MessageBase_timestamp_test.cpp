// Timestamps as text.

#include <gtest/gtest.h>

#include <random>
#include <sstream>

#include "libvektrace/MessageBase.h"
#include "support/PlainText.h"
#include "support/Settings.h"
#include "support/TestMessage.h"
#include "support/streams.h"

namespace {

constexpr bool UTC = true;
constexpr bool LOCAL = false;

std::string configurable(timeStamp_t stamp, bool utc, unsigned precision) {
    std::ostringstream os;
    MessageBase::printTimeStamp(os, stamp, utc, static_cast<uint8_t>(precision));
    return os.str();
}

std::string plainText(timeStamp_t stamp, bool utc, unsigned precision) {
    std::ostringstream os;
    plain::timestamp(os, stamp, utc, precision);
    return os.str();
}

struct Case {
    timeStamp_t stamp;
    const char* text;
};

// ---- The fixed form ----------------------------------------------------------------------------

const Case FIXED[] = {
    {0, "1970-01-01 00:00:00.000000"},
    {1, "1970-01-01 00:00:00.000001"},
    {999999, "1970-01-01 00:00:00.999999"},
    {1000000, "1970-01-01 00:00:01.000000"},
    {1005000, "1970-01-01 00:00:01.005000"},
    {951827696000000, "2000-02-29 12:34:56.000000"},
    {1234567890123456, "2009-02-13 23:31:30.123456"},
    {2147483647999999, "2038-01-19 03:14:07.999999"},
};

TEST(TimestampText, TheFixedFormIsUtcWithSixDigits) {
    for (const Case& c : FIXED) {
        std::ostringstream os;
        MessageBase::printTimestamp(os, c.stamp);
        EXPECT_EQ(os.str(), c.text);
    }
}

TEST(TimestampText, TheStringFormEqualsWhatTheStreamGets) {
    for (const Case& c : FIXED) {
        EXPECT_EQ(MessageBase::printTimestamp(c.stamp), c.text);
    }
}

// The wrap shows differently where time_t is a signed 32-bit type.
const Case WRAPPING[] = {
    {2147483648000000,
     sizeof(time_t) > 4 ? "2038-01-19 03:14:08.000000" : "1901-12-13 20:45:52.000000"},
    {4294967295999999,
     sizeof(time_t) > 4 ? "2106-02-07 06:28:15.999999" : "1969-12-31 23:59:59.999999"},
    {4294967296000000, "1970-01-01 00:00:00.000000"},
    {4294967296000001, "1970-01-01 00:00:00.000001"},
    {~timeStamp_t{0},
     sizeof(time_t) > 4 ? "2101-08-26 13:04:45.551615" : "1965-07-20 06:36:29.551615"},
};

TEST(TimestampText, SecondsWrapAfter32Bits) {
    for (const Case& c : WRAPPING) {
        EXPECT_EQ(MessageBase::printTimestamp(c.stamp), c.text);
    }
}

TEST(TimestampText, MemberFormsRenderTheMessagesOwnTimestamp) {
    TestMessage message(MSGID_CAN, 1234567890123456);
    EXPECT_EQ(message.printTimestamp(), "2009-02-13 23:31:30.123456");
    std::ostringstream os;
    message.printTimestamp(os);
    EXPECT_EQ(os.str(), "2009-02-13 23:31:30.123456");
}

// ---- The configurable form ---------------------------------------------------------------------

struct PrecisionCase {
    unsigned precision;
    const char* of123456;
    const char* of5000;
    const char* of999999;
};

const PrecisionCase PRECISIONS[] = {
    {0, "", "", ""},
    {1, ".1", ".0", ".9"},
    {2, ".12", ".00", ".99"},
    {3, ".123", ".005", ".999"},
    {4, ".1234", ".0050", ".9999"},
    {5, ".12345", ".00500", ".99999"},
    {6, ".123456", ".005000", ".999999"},
    {7, ".123456", ".005000", ".999999"},
    {255, ".123456", ".005000", ".999999"},
};

TEST(TimestampText, PrecisionCutsDigitsOffAndNeverRounds) {
    for (const PrecisionCase& c : PRECISIONS) {
        const std::string second = "2009-02-13 23:31:30";
        EXPECT_EQ(configurable(1234567890123456, UTC, c.precision), second + c.of123456);
        EXPECT_EQ(configurable(1234567890005000, UTC, c.precision), second + c.of5000);
        EXPECT_EQ(configurable(1234567890999999, UTC, c.precision), second + c.of999999);
    }
}

TEST(TimestampText, PrecisionSixInUtcEqualsTheFixedForm) {
    std::mt19937_64 random(7);
    for (int i = 0; i < 10000; ++i) {
        const timeStamp_t stamp = random() >> random() % 64;
        ASSERT_EQ(configurable(stamp, UTC, 6), MessageBase::printTimestamp(stamp));
    }
}

TEST(TimestampText, EqualsThePlainTextForRandomTimestampsAndPrecisions) {
    std::mt19937_64 random(8);
    for (int i = 0; i < 20000; ++i) {
        const timeStamp_t stamp = random() >> random() % 64;
        const auto precision = static_cast<unsigned>(random() % 7);
        ASSERT_EQ(configurable(stamp, UTC, precision), plainText(stamp, UTC, precision)) << stamp;
    }
}

TEST(TimestampText, ReturnsTheStream) {
    std::ostringstream os;
    EXPECT_EQ(&MessageBase::printTimeStamp(os, 0, UTC, 3), &os);
}

// ---- Local time --------------------------------------------------------------------------------

TEST(TimestampText, LocalTimeInZoneUtcEqualsUtc) {
    const TimeZone zone("UTC0");
    for (unsigned precision = 0; precision <= 6; ++precision) {
        EXPECT_EQ(configurable(1234567890123456, LOCAL, precision),
                  configurable(1234567890123456, UTC, precision));
    }
}

// Given by their rules, so that no time zone data need be installed.
const char* const ZONES[] = {"CET-1CEST,M3.5.0,M10.5.0/3",
                             "EST5EDT,M3.2.0,M11.1.0",
                             "AEST-10AEDT,M10.1.0,M4.1.0/3",
                             "<+1030>-10:30<+11>-11,M10.1.0,M4.1.0",
                             "<+0545>-5:45",
                             "NST3:30NDT,M3.2.0,M11.1.0"};

TEST(TimestampText, LocalTimeEqualsThePlainTextInZonesWithDaylightSaving) {
    std::mt19937_64 random(9);
    for (const char* rule : ZONES) {
        const TimeZone zone(rule);
        for (int i = 0; i < 2000; ++i) {
            const timeStamp_t stamp = random() % 2147483648000000;
            ASSERT_EQ(configurable(stamp, LOCAL, 6), plainText(stamp, LOCAL, 6)) << rule;
        }
    }
}

TEST(TimestampText, LocalTimeFollowsTheChangeOfTheClocks) {
    const TimeZone zone("CET-1CEST,M3.5.0,M10.5.0/3");
    EXPECT_EQ(configurable(1774745999000000, LOCAL, 0), "2026-03-29 01:59:59");
    EXPECT_EQ(configurable(1774746000000000, LOCAL, 0), "2026-03-29 03:00:00");
    EXPECT_EQ(configurable(1792889999000000, LOCAL, 0), "2026-10-25 02:59:59");
    EXPECT_EQ(configurable(1792890000000000, LOCAL, 0), "2026-10-25 02:00:00");
}

TEST(TimestampText, EveryFixedFormIsUtcInAnyZone) {
    const TimeZone zone("CET-1CEST,M3.5.0,M10.5.0/3");
    const char* const text = "2009-02-13 23:31:30.123456";
    TestMessage message(MSGID_CAN, 1234567890123456);
    std::ostringstream os;
    MessageBase::printTimestamp(os, 1234567890123456);
    message.printTimestamp(os << '|');
    os << '|' << message;
    EXPECT_EQ(os.str(), std::string(text) + '|' + text + '|' + text);
    EXPECT_EQ(MessageBase::printTimestamp(1234567890123456), text);
    EXPECT_EQ(message.printTimestamp(), text);
    EXPECT_EQ(message.MessageBase::toString(), text);
}

TEST(TimestampText, NoZoneOffsetIsKeptBetweenCalls) {
    for (int i = 0; i < 2; ++i) {
        const TimeZone east("<+05>-5");
        EXPECT_EQ(configurable(0, LOCAL, 0), "1970-01-01 05:00:00");
        const TimeZone west("<-03>3");
        EXPECT_EQ(configurable(0, LOCAL, 0), "1969-12-31 21:00:00");
        EXPECT_EQ(MessageBase::printTimestamp(0), "1970-01-01 00:00:00.000000");
    }
}

// ---- The stream's state ------------------------------------------------------------------------

TEST(TimestampText, DependsOnNoStreamStateAndTakesTheWidthOnlyWithAFraction) {
    std::mt19937 random(10);
    for (int i = 0; i < 5000; ++i) {
        const unsigned precision = static_cast<unsigned>(random() % 7);
        StreamState state = randomStreamState(random);
        std::ostringstream os;
        state.applyTo(os);
        MessageBase::printTimeStamp(os, 1234567890005678, UTC, static_cast<uint8_t>(precision));
        ASSERT_EQ(os.str(), configurable(1234567890005678, UTC, precision)) << state;
        state.width = precision == 0 ? state.width : 0;
        ASSERT_EQ(StreamState::of(os), state);
    }
}

TEST(TimestampText, AHexadecimalUppercaseLeftStreamWithStarsKeepsItsSettings) {
    std::ostringstream os;
    os << std::hex << std::uppercase << std::left;
    os.fill('*');
    const auto flags = os.flags();
    MessageBase::printTimestamp(os, 10);
    EXPECT_EQ(os.str(), "1970-01-01 00:00:00.000010");
    EXPECT_EQ(os.flags(), flags);
    EXPECT_EQ(os.fill(), '*');
}

TEST(TimestampText, TheStringFormIgnoresTheGlobalLocale) {
    const GlobalLocale locale(groupingLocale());
    EXPECT_EQ(MessageBase::printTimestamp(1234567890123456), "2009-02-13 23:31:30.123456");
    EXPECT_EQ(TestMessage(MSGID_CAN, 1234567890123456).toString(), "2009-02-13 23:31:30.123456");
}

}  // namespace
