#include <gtest/gtest.h>

#include "tools/vektrace/program/Progress.h"

namespace vek::program {
namespace {

constexpr uint64_t MIB = 1024 * 1024;

TEST(ProgressText, TellsBytesRatePartAndTimeLeft) {
    EXPECT_EQ(progressText(300 * MIB, 1200 * MIB, 2.0), "300 MiB, 150 MiB/s, 25%, 0:06 left");
    EXPECT_EQ(progressText(MIB, 4000 * MIB, 1.0), "1.0 MiB, 1.0 MiB/s, 0%, 1:06:39 left");
}

TEST(ProgressText, TellsNoPartOfAnUnknownTotal) {
    EXPECT_EQ(progressText(1536, 0, 1.0), "1.5 KiB, 1.5 KiB/s");
    EXPECT_EQ(progressText(1536, 1000, 1.0), "1.5 KiB, 1.5 KiB/s");
}

TEST(ProgressText, BeforeAnyTimeHasGoneByTellsNoTimeLeft) {
    EXPECT_EQ(progressText(0, 1000, 0.0), "0 B, 0 B/s, 0%");
}

}  // namespace
}  // namespace vek::program
