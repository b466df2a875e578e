#include "libvekutil/utility.h"

#include <gtest/gtest.h>

#include <climits>
#include <random>
#include <sstream>
#include <type_traits>

#include "support/Settings.h"
#include "support/streams.h"

namespace {

// ---- Byte order --------------------------------------------------------------------------------

TEST(ByteOrder, NetworkOrderHasTheMostSignificantByteFirst) {
    const uint64_t network = (htonll)(0x0102030405060708);
    uint8_t memory[8];
    std::memcpy(memory, &network, 8);
    for (uint8_t i = 0; i < 8; ++i) {
        EXPECT_EQ(memory[i], i + 1);
    }
}

TEST(ByteOrder, ThereAndBackIsTheIdentity) {
    std::mt19937_64 random(2);
    for (int i = 0; i < 10000; ++i) {
        const uint64_t value = i == 0 ? 0 : i == 1 ? ~uint64_t{0} : random();
        ASSERT_EQ((ntohll)((htonll)(value)), value);
        ASSERT_EQ((htonll)((ntohll)(value)), value);
    }
}

TEST(Utility, ConstantsAndTypes) {
    static_assert(std::is_same_v<decltype(HEXDUMP_DEFAULT_ROWSIZE), const size_t>);
    static_assert(std::is_same_v<byteVec_t, std::vector<uint8_t>>);
    EXPECT_EQ(HEXDUMP_DEFAULT_ROWSIZE, 16u);
}

// ---- Calendar text -----------------------------------------------------------------------------

tm calendar(int year, int month, int day, int hour, int minute, int second) {
    tm t{};
    t.tm_year = year;
    t.tm_mon = month;
    t.tm_mday = day;
    t.tm_hour = hour;
    t.tm_min = minute;
    t.tm_sec = second;
    return t;
}

std::string text(const tm& t) {
    std::ostringstream os;
    os << t;
    return os.str();
}

TEST(CalendarText, HasDateTimeAndNothingBehindTheSeconds) {
    EXPECT_EQ(text(calendar(109, 1, 13, 23, 31, 30)), "2009-02-13 23:31:30");
    EXPECT_EQ(text(calendar(70, 0, 1, 0, 0, 0)), "1970-01-01 00:00:00");
    EXPECT_EQ(text(calendar(-1900, 11, 31, 23, 59, 60)), "0000-12-31 23:59:60");
}

TEST(CalendarText, FieldsOutsideTheirDigitsArePlainNumbers) {
    EXPECT_EQ(text(calendar(8100, 0, 1, 0, 0, 0)), "10000-01-01 00:00:00");
    EXPECT_EQ(text(calendar(-1905, 99, -3, 100, -1, 12345)), "-5-100--3 100:-1:12345");
    EXPECT_EQ(text(calendar(INT_MAX, INT_MAX, INT_MAX, INT_MAX, INT_MAX, INT_MAX)),
              "2147485547-2147483648-2147483647 2147483647:2147483647:2147483647");
    EXPECT_EQ(text(calendar(INT_MIN, INT_MIN, INT_MIN, INT_MIN, INT_MIN, INT_MIN)),
              "-2147481748--2147483647--2147483648 -2147483648:-2147483648:-2147483648");
}

TEST(CalendarText, DependsOnNoStreamStateAndLeavesAllOfItUntouched) {
    std::mt19937 random(3);
    for (int i = 0; i < 2000; ++i) {
        const StreamState state = randomStreamState(random);
        std::ostringstream os;
        state.applyTo(os);
        os << calendar(109, 1, 3, 4, 5, 6);
        ASSERT_EQ(os.str(), "2009-02-03 04:05:06") << state;
        ASSERT_EQ(StreamState::of(os), state);
    }
}

TEST(CalendarText, ReturnsTheStream) {
    std::ostringstream os;
    const tm t{};
    EXPECT_EQ(&(os << t), &os);
}

// ---- Unknown enumeration values ----------------------------------------------------------------

std::string unknown(int value) {
    std::ostringstream os;
    printUnknownEnum(os, value);
    return os.str();
}

TEST(UnknownEnum, ShowsTheNumberInDecimal) {
    EXPECT_EQ(unknown(3), "Unknown (3)");
    EXPECT_EQ(unknown(-12), "Unknown (-12)");
    EXPECT_EQ(unknown(INT_MIN), "Unknown (-2147483648)");
    EXPECT_EQ(unknown(INT_MAX), "Unknown (2147483647)");
}

TEST(UnknownEnum, DependsOnNoStreamStateAndLeavesTheWidthAtZero) {
    std::mt19937 random(4);
    for (int i = 0; i < 2000; ++i) {
        StreamState state = randomStreamState(random);
        std::ostringstream os;
        state.applyTo(os);
        printUnknownEnum(os, 1234567);
        ASSERT_EQ(os.str(), "Unknown (1234567)") << state;
        state.width = 0;
        ASSERT_EQ(StreamState::of(os), state);
    }
}

}  // namespace
