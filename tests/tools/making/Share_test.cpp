#include "tools/vektrace/making/Share.h"

#include <gtest/gtest.h>

#include "tools/vektrace/program/errors.h"

using namespace vek::program;

TEST(Share, IsANumberWhateverTheTotal) {
    EXPECT_EQ(Share("0").of(10), 0u);
    EXPECT_EQ(Share("12").of(10), 12u);
}

TEST(Share, IsAPercentageRoundedDown) {
    EXPECT_EQ(Share("50%").of(9), 4u);
    EXPECT_EQ(Share("0.01%").of(1'000'000), 100u);
    EXPECT_EQ(Share("12.5%").of(80), 10u);
    EXPECT_EQ(Share("0.000001%").of(100'000'000), 1u);
    EXPECT_EQ(Share("0.000001%").of(99'999'999), 0u);
}

TEST(Share, OfAllIsAllAlsoOfTheLargestTotal) {
    EXPECT_EQ(Share("100%").of(UINT64_MAX), UINT64_MAX);
}

TEST(Share, RefusesMoreThanAllAndWhatIsNone) {
    for (const char* const text :
         {"100.000001%", "101%", "18446744073709551615%", "18446744073709551616%", "", "%", ".5%",
          "1.%", "1.1234567%", "1.-1%", "1k", "-1%", "1 %", "1%%"}) {
        EXPECT_THROW(Share{text}, UsageError) << text;
    }
}
