#include "tools/vektrace/program/losses.h"

#include <gtest/gtest.h>

#include <vector>

namespace vek::program {
namespace {

const uint8_t BYTES[3 * Gap::MAX_HEAD] = {1, 2, 3};

TraceSpan span(uint64_t offset, size_t length, gapReason_t reason, bool continued = false) {
    TraceSpan result;
    result.offset = offset;
    result.data = BYTES;
    result.length = length;
    result.reason = reason;
    result.continued = continued;
    return result;
}

TEST(GapCollector, PutsContinuedSpansTogetherAndKeepsOthersApart) {
    std::vector<Gap> gaps;
    GapCollector collector([&](const Gap& gap) { gaps.push_back(gap); });
    EXPECT_TRUE(collector.add(span(0, 100, GAP_FILLER)));
    EXPECT_TRUE(collector.add(span(100, 50, GAP_FILLER, true)));
    EXPECT_TRUE(collector.add(span(150, 7, GAP_NO_MARKER)));
    EXPECT_EQ(gaps.size(), 1U);
    EXPECT_FALSE(collector.add(span(157, 16, GAP_NONE)));
    EXPECT_EQ(gaps.size(), 2U);
    EXPECT_TRUE(collector.add(span(173, 1, GAP_TRUNCATED)));
    EXPECT_EQ(gaps.size(), 2U);
    collector.finish();
    collector.finish();
    ASSERT_EQ(gaps.size(), 3U);
    EXPECT_EQ(gaps[0].length, 150U);
    EXPECT_EQ(gaps[0].reason, GAP_FILLER);
    EXPECT_EQ(gaps[1].offset, 150U);
    EXPECT_EQ(gaps[2].offset, 173U);
    EXPECT_EQ(gaps[2].head, byteVec_t{1});
}

TEST(GapCollector, KeepsTheFirstBytesOfALongGap) {
    Gap gap;
    GapCollector collector([&](const Gap& whole) { gap = whole; });
    collector.add(span(0, sizeof BYTES, GAP_FILLER));
    collector.finish();
    EXPECT_EQ(gap.head, byteVec_t(BYTES, BYTES + Gap::MAX_HEAD));
    EXPECT_EQ(gap.length, sizeof BYTES);
}

TEST(Losses, AreToldInOneLine) {
    Losses losses;
    EXPECT_FALSE(losses.any());
    losses.refused = 1;
    EXPECT_TRUE(losses.any());
    EXPECT_EQ(losses.text(), "1 record refused by its decoder");
    losses.refused = 2;
    Gap gap;
    gap.length = 1;
    losses.gaps.add(gap);
    EXPECT_EQ(losses.text(), "1 gap (1 byte), 2 records refused by their decoders");
    gap.length = 44;
    losses.gaps.add(gap);
    losses.refused = 0;
    EXPECT_EQ(losses.text(), "2 gaps (45 bytes)");
}

}  // namespace
}  // namespace vek::program
