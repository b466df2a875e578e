#include "tools/vektrace/program/number.h"

#include <gtest/gtest.h>

#include "tools/vektrace/program/errors.h"

using namespace vek::program;

TEST(ParseNumber, TakesDecimalNumbersOf64Bits) {
    EXPECT_EQ(parseNumber("0"), 0u);
    EXPECT_EQ(parseNumber("010"), 10u);
    EXPECT_EQ(parseNumber("18446744073709551615"), UINT64_MAX);
}

TEST(ParseNumber, RefusesWhatIsNone) {
    for (const char* const text :
         {"", "-1", "+1", " 1", "1 ", "0x10", "1k", "1.0", "18446744073709551616"}) {
        EXPECT_THROW(parseNumber(text), UsageError) << text;
    }
}

TEST(IsNumber, ReadsOtherBasesToo) {
    uint64_t value = 0;
    EXPECT_TRUE(isNumber("Ff", value, 16));
    EXPECT_EQ(value, 255u);
    EXPECT_FALSE(isNumber("fg", value, 16));
    EXPECT_FALSE(isNumber("-1", value, 16));
}

TEST(IsFraction, ReadsUpToSixDigitsAsMillionths) {
    uint64_t millionths = 0;
    EXPECT_TRUE(isFraction("5", millionths));
    EXPECT_EQ(millionths, 500'000u);
    EXPECT_TRUE(isFraction("000001", millionths));
    EXPECT_EQ(millionths, 1u);
    EXPECT_TRUE(isFraction("999999", millionths));
    EXPECT_EQ(millionths, 999'999u);
    for (const char* const text : {"", "1234567", "0000000", "-1", "1 ", "1s"}) {
        EXPECT_FALSE(isFraction(text, millionths)) << text;
    }
}

TEST(TakeDigits, LeavesWhatComesBehindThem) {
    std::string_view text = "012.5";
    EXPECT_EQ(takeDigits(text), "012");
    EXPECT_EQ(text, ".5");
    EXPECT_EQ(takeDigits(text), "");
    EXPECT_EQ(text, ".5");
}
