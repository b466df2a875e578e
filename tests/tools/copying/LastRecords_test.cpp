// What `vektrace filter --last` keeps while it reads.

#include "tools/vektrace/copying/LastRecords.h"

#include <gtest/gtest.h>

#include "tools/copying/traceBytes.h"

namespace {

using vek::program::LastRecords;

constexpr size_t ROOM = 1000;

byteVec_t kept(const LastRecords& last) {
    byteVec_t all;
    last.forEach([&all](const TraceSpan& record) {
        all.insert(all.end(), record.data, record.data + record.length);
    });
    return all;
}

TEST(LastRecords, KeepsAllWhenThereAreFewerThanWanted) {
    const byteVec_t record = recordBytes(MSGID_CAN, 1);
    LastRecords last(3, ROOM);
    EXPECT_TRUE(last.add(spanOf(record)));
    EXPECT_EQ(kept(last), record);
}

TEST(LastRecords, KeepsTheNewestInTheirOrder) {
    LastRecords last(3, ROOM);
    byteVec_t expected;
    for (timeStamp_t time = 0; time < 200; ++time) {
        const byteVec_t record = recordBytes(MSGID_CAN, time, static_cast<size_t>(time % 7));
        EXPECT_TRUE(last.add(spanOf(record)));
        if (time >= 197) {
            expected.insert(expected.end(), record.begin(), record.end());
        }
    }
    EXPECT_EQ(kept(last), expected);
    EXPECT_EQ(last.added(), 200u);
    EXPECT_TRUE(last.isComplete());
}

TEST(LastRecords, RemembersWhichRecordsHaveAMarker) {
    const byteVec_t record = recordBytes(MSGID_CAN, 1);
    TraceSpan marked = spanOf(record);
    TraceSpan unmarked = marked;
    unmarked.marked = false;
    LastRecords last(2, ROOM);
    last.add(marked);
    last.add(unmarked);
    std::vector<bool> found;
    last.forEach([&found](const TraceSpan& span) { found.push_back(span.marked); });
    EXPECT_EQ(found, (std::vector<bool>{true, false}));
}

TEST(LastRecords, TakesRecordsThatFillTheRoomExactly) {
    const byteVec_t record = recordBytes(MSGID_CAN, 1, ROOM / 2 - 16);
    LastRecords last(2, ROOM);
    EXPECT_TRUE(last.add(spanOf(record)));
    EXPECT_TRUE(last.add(spanOf(record)));
    EXPECT_TRUE(last.add(spanOf(record))) << "the first of them is not wanted any more";
    EXPECT_EQ(kept(last).size(), ROOM);
}

TEST(LastRecords, KeepsNothingButTheCountWhenThereIsNoRoom) {
    const byteVec_t record = recordBytes(MSGID_CAN, 1, ROOM / 2);
    LastRecords last(2, ROOM);
    EXPECT_TRUE(last.add(spanOf(record)));
    EXPECT_FALSE(last.add(spanOf(record)));
    EXPECT_FALSE(last.add(spanOf(record)));
    EXPECT_FALSE(last.isComplete());
    EXPECT_TRUE(kept(last).empty());
    EXPECT_EQ(last.added(), 3u);
}

}  // namespace
