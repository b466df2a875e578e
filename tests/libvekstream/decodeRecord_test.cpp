#include "libvekstream/decodeRecord.h"

#include <gtest/gtest.h>

#include "libvektrace/SimpleMessage.h"
#include "support/Settings.h"
#include "support/hex.h"

namespace {

const byteVec_t START = bytes("55 AA 00 0C 80 20 00 07 00 00 00 00 00 00 00 2A");

TraceSpan spanOf(const byteVec_t& record, bool marked) {
    TraceSpan span;
    span.data = record.data();
    span.length = record.size();
    span.marked = marked;
    return span;
}

class DecodeRecord : public testing::Test {
protected:
    void SetUp() override { MessageBase::registerMessages(); }
    LibrarySettings guard;
};

TEST_F(DecodeRecord, MakesTheMessageOfARecordWithAMarker) {
    const auto message = decodeRecord(spanOf(START, true));
    ASSERT_NE(message, nullptr);
    EXPECT_EQ(message->getMessageId(), MSGID_START);
    EXPECT_EQ(message->getHeaderReserved(), 7);
    EXPECT_EQ(message->getTimeStamp(), 42U);
}

TEST_F(DecodeRecord, MakesTheMessageOfARecordWithoutAMarker) {
    const byteVec_t record(START.begin() + 2, START.end());
    const auto message = decodeRecord(spanOf(record, false));
    ASSERT_NE(message, nullptr);
    EXPECT_EQ(message->getTimeStamp(), 42U);
}

TEST_F(DecodeRecord, FollowsThePolicyWhereThereIsNoCreator) {
    byteVec_t unknown = START;
    unknown[5] = 0x7f;
    MessageBase::setInvalidMsgHandling(MessageBase::IMH_RETURN_NULL);
    EXPECT_EQ(decodeRecord(spanOf(unknown, true)), nullptr);
    MessageBase::setInvalidMsgHandling(MessageBase::IMH_RETURN_INVALID_MESSAGE);
    const auto message = decodeRecord(spanOf(unknown, true));
    ASSERT_NE(message, nullptr);
    EXPECT_EQ(message->getMessageId(), MSGID_INVALID);
}

TEST_F(DecodeRecord, HandsOverTheRecordsOwnBytesOnly) {
    byteVec_t more = START;
    more[5] = 0x7f;
    more.push_back(0xff);
    TraceSpan span = spanOf(more, true);
    --span.length;
    MessageBase::setInvalidMsgHandling(MessageBase::IMH_RETURN_INVALID_MESSAGE);
    const auto message = decodeRecord(span);
    const auto* invalid = dynamic_cast<const InvalidMessage*>(message.get());
    ASSERT_NE(invalid, nullptr);
    EXPECT_EQ(hex(invalid->getRawData()), "");
}

TEST_F(DecodeRecord, IsNullForAGap) {
    TraceSpan gap = spanOf(START, false);
    gap.reason = GAP_NOT_FOLLOWED;
    MessageBase::setInvalidMsgHandling(MessageBase::IMH_RETURN_INVALID_MESSAGE);
    EXPECT_EQ(decodeRecord(gap), nullptr);
}

TEST(GapReasonText, IsThereForEveryReasonAndNoTwoAreAlike) {
    for (int a = GAP_NONE; a < GAP_NUM; ++a) {
        for (int b = GAP_NONE; b < a; ++b) {
            EXPECT_STRNE(gapReasonText(static_cast<gapReason_t>(a)),
                         gapReasonText(static_cast<gapReason_t>(b)));
        }
        EXPECT_STRNE(gapReasonText(static_cast<gapReason_t>(a)), "unknown reason");
    }
}

TEST(GapReasonText, SaysSoForANumberThatIsNoReason) {
    EXPECT_STREQ(gapReasonText(GAP_NUM), "unknown reason");
    EXPECT_STREQ(gapReasonText(static_cast<gapReason_t>(-1)), "unknown reason");
}

}  // namespace
