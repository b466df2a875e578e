// Where `vektrace split` cuts.

#include "tools/vektrace/copying/PieceRule.h"

#include <gtest/gtest.h>

#include <string>

#include "tools/copying/traceBytes.h"

namespace {

using vek::program::PieceRule;

/// "r12" a record of the time 12, "g99" a gap of 99 bytes, with a '|' before each that begins a
/// piece.
class Cuts {
public:
    Cuts(PieceRule::measure_t measure, uint64_t limit) : rule(measure, limit) {}

    Cuts& record(timeStamp_t time, size_t length = 16) {
        const byteVec_t bytes = recordBytes(MSGID_CAN, time, length - 16);
        return take(spanOf(bytes), 'r' + std::to_string(time));
    }

    Cuts& gap(size_t length) {
        const byteVec_t bytes(length);
        return take(spanOf(bytes, GAP_FILLER), 'g' + std::to_string(length));
    }

    std::string text;

private:
    Cuts& take(const TraceSpan& span, const std::string& name) {
        text += (rule.beginsPiece(span) ? "|" : " ") + name;
        return *this;
    }

    PieceRule rule;
};

TEST(PieceRule, BySizeFillsAPieceExactly) {
    Cuts cuts(PieceRule::MEASURE_BYTES, 48);
    cuts.record(1, 16).record(2, 32).record(3, 32).record(4, 17).record(5, 16);
    EXPECT_EQ(cuts.text, "|r1 r2|r3|r4 r5");
}

TEST(PieceRule, BySizeMakesALongRecordAPieceOfItsOwn) {
    Cuts cuts(PieceRule::MEASURE_BYTES, 20);
    cuts.record(1, 16).record(2, 100).record(3, 16).record(4, 100).record(5, 100);
    EXPECT_EQ(cuts.text, "|r1|r2|r3|r4|r5");
}

TEST(PieceRule, BySizeTreatsAGapAsARecord) {
    Cuts cuts(PieceRule::MEASURE_BYTES, 48);
    cuts.gap(40).record(1).gap(32).gap(1).record(2);
    EXPECT_EQ(cuts.text, "|g40|r1 g32|g1 r2");
}

TEST(PieceRule, ByCountCutsBehindSoManyRecords) {
    Cuts cuts(PieceRule::MEASURE_RECORDS, 2);
    cuts.record(1).record(2).record(3).record(4).record(5);
    EXPECT_EQ(cuts.text, "|r1 r2|r3 r4|r5");
}

TEST(PieceRule, ByCountLeavesGapsWithTheRecordBefore) {
    Cuts cuts(PieceRule::MEASURE_RECORDS, 2);
    cuts.gap(9).record(1).gap(8).record(2).gap(7).gap(6).record(3);
    EXPECT_EQ(cuts.text, "|g9 r1 g8 r2 g7 g6|r3");
}

TEST(PieceRule, ByTimeCutsWhereAStepEnds) {
    Cuts cuts(PieceRule::MEASURE_TIME, 10);
    cuts.record(5).record(14).record(15).record(24).record(25);
    EXPECT_EQ(cuts.text, "|r5 r14|r15 r24|r25");
}

TEST(PieceRule, ByTimeCountsStepsFromTheFirstRecordAcrossEmptyOnes) {
    Cuts cuts(PieceRule::MEASURE_TIME, 10);
    cuts.record(5).record(38).record(44).record(45);
    EXPECT_EQ(cuts.text, "|r5|r38 r44|r45");
}

TEST(PieceRule, ByTimeCutsNothingWhereTheClockStepsBack) {
    Cuts cuts(PieceRule::MEASURE_TIME, 10);
    cuts.record(20).record(0).record(29).record(30).record(20);
    EXPECT_EQ(cuts.text, "|r20 r0 r29|r30 r20");
}

TEST(PieceRule, ByTimeLeavesGapsWithTheRecordBefore) {
    Cuts cuts(PieceRule::MEASURE_TIME, 10);
    cuts.gap(3).record(0).gap(4).record(10);
    EXPECT_EQ(cuts.text, "|g3 r0 g4|r10");
}

TEST(PieceRule, ByTimeTakesTheLargestTimes) {
    Cuts cuts(PieceRule::MEASURE_TIME, ~uint64_t{0});
    cuts.record(0).record(~timeStamp_t{0} - 1).record(~timeStamp_t{0});
    EXPECT_EQ(cuts.text, "|r0 r18446744073709551614|r18446744073709551615");
}

}  // namespace
