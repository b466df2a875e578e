// Whether an output reads as the records that were written into it.

#include "tools/vektrace/copying/OutputScan.h"

#include <gtest/gtest.h>

#include "tools/copying/traceBytes.h"

namespace {

using vek::program::OutputScan;
using vek::program::RecordDigest;

constexpr timeStamp_t DAY = 86'400'000'000;
constexpr auto UNKNOWN = static_cast<msgid_t>(0x7777);

void add(OutputScan& scan, const byteVec_t& record) { scan.add(record.data(), record.size()); }

RecordDigest digestOf(const std::vector<byteVec_t>& records) {
    RecordDigest digest;
    for (const byteVec_t& record : records) {
        digest.add(record.data(), record.size());
    }
    return digest;
}

TEST(RecordDigest, IsEqualForTheSameRecords) {
    EXPECT_EQ(digestOf({{1, 2, 3}, {4}}), digestOf({{1, 2, 3}, {4}}));
    EXPECT_EQ(digestOf({{1, 2, 3}, {4}}).records(), 2u);
    EXPECT_EQ(digestOf({{1, 2, 3}, {4}}).bytes(), 4u);
}

TEST(RecordDigest, TellsADifferenceOfOneBit) {
    const byteVec_t record(37, 0);
    for (size_t bit = 0; bit < record.size() * 8; ++bit) {
        byteVec_t other = record;
        other[bit / 8] = static_cast<uint8_t>(1u << bit % 8);
        EXPECT_NE(digestOf({record}), digestOf({other})) << bit;
    }
}

TEST(RecordDigest, TellsTheOrderAndWhereRecordsEnd) {
    EXPECT_NE(digestOf({{1}, {2}}), digestOf({{2}, {1}}));
    EXPECT_NE(digestOf({{1, 2}, {3}}), digestOf({{1}, {2, 3}}));
    EXPECT_NE(digestOf({{0, 0}, {0}}), digestOf({{0}, {0, 0}}));
}

TEST(OutputScan, FindsNothingWrongWithAnEmptyOutput) { EXPECT_TRUE(OutputScan().finish()); }

TEST(OutputScan, FindsTheRecordsOfALongOutput) {
    OutputScan scan;
    for (timeStamp_t time = 0; time < 3000; ++time) {
        add(scan, recordBytes(MSGID_CAN, time, static_cast<size_t>(time)));
    }
    EXPECT_TRUE(scan.finish());
}

TEST(OutputScan, FindsUnmarkedRecordsThatCannotBeBelievedSideBySide) {
    OutputScan scan;
    for (const timeStamp_t time : {DAY, DAY + 1, DAY + 2, 9 * DAY, 9 * DAY + 1}) {
        add(scan, recordBytes(UNKNOWN, time, 0, false));
    }
    EXPECT_FALSE(scan.finish());
}

TEST(OutputScan, FindsARecordThatReadsAsTwo) {
    const byteVec_t first = recordBytes(MSGID_CAN, 1);
    byteVec_t two = first;
    two.insert(two.end(), first.begin(), first.end());
    OutputScan scan;
    add(scan, two);
    EXPECT_FALSE(scan.finish());
}

TEST(OutputScan, FindsBytesThatAreNoRecord) {
    OutputScan scan;
    add(scan, recordBytes(MSGID_CAN, 1));
    add(scan, byteVec_t(100, 7));
    EXPECT_FALSE(scan.finish());
}

}  // namespace
