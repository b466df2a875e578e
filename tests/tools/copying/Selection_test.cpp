// The conditions of `vektrace filter`.

#include "tools/vektrace/copying/Selection.h"

#include <gtest/gtest.h>

#include "support/Settings.h"
#include "tools/copying/traceBytes.h"

namespace {

using vek::program::Selection;

bool wants(const Selection& selection, msgid_t id, timeStamp_t time) {
    const byteVec_t record = recordBytes(id, time);
    return selection.wants(spanOf(record));
}

TEST(Selection, TakesEveryRecordAtFirst) {
    const Selection selection;
    EXPECT_TRUE(wants(selection, MSGID_CAN, 0));
    EXPECT_TRUE(wants(selection, MSGID_INVALID, ~timeStamp_t{0}));
}

TEST(Selection, TakesOnlyIdentifiersThatAreSet) {
    Selection selection;
    selection.identifiers.reset(MSGID_LIN);
    EXPECT_TRUE(wants(selection, MSGID_CAN, 0));
    EXPECT_FALSE(wants(selection, MSGID_LIN, 0));
}

TEST(Selection, TakesTheFirstTimeOfAWindowAndNotTheLast) {
    Selection selection;
    selection.from = 10;
    selection.to = 20;
    EXPECT_FALSE(wants(selection, MSGID_CAN, 9));
    EXPECT_TRUE(wants(selection, MSGID_CAN, 10));
    EXPECT_TRUE(wants(selection, MSGID_CAN, 19));
    EXPECT_FALSE(wants(selection, MSGID_CAN, 20));
}

TEST(Selection, TakesOnlyWhatCannotBeDecodedWhereThatIsAskedFor) {
    const LibrarySettings settings;
    MessageBase::registerMessages();
    MessageBase::setInvalidMsgHandling(MessageBase::IMH_RETURN_INVALID_MESSAGE);
    const auto refuse = [](const uint8_t*, size_t) -> MessageBase* {
        throw InvalidMessageException(IM_INVALID_LEN, "refused");
    };
    ASSERT_TRUE(MessageBase::registerMessage(MSGID_LIN, refuse));
    Selection selection;
    selection.undecodable = true;
    EXPECT_FALSE(wants(selection, MSGID_STARTUP, 0));
    EXPECT_TRUE(wants(selection, MSGID_CAN, 0)) << "nothing is registered for it";
    EXPECT_TRUE(wants(selection, MSGID_LIN, 0)) << "it is refused";
}

}  // namespace
