// What allocates memory and how often, and what remains when there is none.

#include <gtest/gtest.h>

#include <memory>
#include <sstream>

#include "libvektrace/MessageBase.h"
#include "libvektrace/SimpleMessage.h"
#include "support/Settings.h"
#include "support/TestMessage.h"
#include "support/allocations.h"
#include "support/hex.h"

namespace {

const byteVec_t RECORD = bytes("00 0E 80 20 BE EF 01 02 03 04 05 06 07 08 AA BB");

class Allocations : public testing::Test {
    LibrarySettings settings;
};

// ---- How often ---------------------------------------------------------------------------------

long madeAtCreator = 0;

MessageBase* notingCreator(const uint8_t*, size_t) {
    madeAtCreator = allocations::made;
    return nullptr;
}

TEST_F(Allocations, NoneIsMadeOnTheWayToTheCreator) {
    MessageBase::registerMessage(MSGID_START, notingCreator);
    const long before = allocations::made;
    MessageBase::readFromByteArray(RECORD.data(), RECORD.size());
    EXPECT_EQ(madeAtCreator - before, 0);
    EXPECT_EQ(allocations::made - before, 0);
}

TEST_F(Allocations, NoneIsMadeForAnUndecodableRecordUnderTheNullPolicy) {
    MessageBase::setInvalidMsgHandling(MessageBase::IMH_RETURN_NULL);
    EXPECT_EQ(allocations::madeBy([] {
                  for (size_t len = 0; len <= RECORD.size(); ++len) {
                      MessageBase::readFromByteArray(RECORD.data(), len);
                  }
              }),
              0);
}

TEST_F(Allocations, AnInvalidMessageTakesTwoTheObjectAndItsPayload) {
    MessageBase::setInvalidMsgHandling(MessageBase::IMH_RETURN_INVALID_MESSAGE);
    EXPECT_EQ(allocations::madeBy(
                  [] { delete MessageBase::readFromByteArray(RECORD.data(), RECORD.size()); }),
              2);
}

TEST_F(Allocations, EncodingIntoAVectorWithRoomTakesNone) {
    const TestMessage message(MSGID_START, 5, byteVec_t(100));
    byteVec_t buffer;
    buffer.reserve(1000);
    EXPECT_EQ(allocations::madeBy([&] {
                  for (int i = 0; i < 5; ++i) {
                      message.createByteArray(buffer, true, true);
                  }
                  message.createByteArray(buffer, true, false);
              }),
              0);
}

TEST_F(Allocations, AppendingLetsTheVectorGrowGeometrically) {
    const TestMessage message(MSGID_START, 5, byteVec_t(100));
    byteVec_t buffer;
    EXPECT_LT(allocations::madeBy([&] {
                  for (int i = 0; i < 1000; ++i) {
                      message.createByteArray(buffer, true, true);
                  }
              }),
              25);
}

TEST_F(Allocations, TextForAStreamTakesNone) {
    struct Swallow : std::streambuf {
        std::streamsize xsputn(const char*, std::streamsize length) override { return length; }
    } buffer;
    std::ostream os(&buffer);
    const InvalidMessage message(RECORD.data(), RECORD.size());
    EXPECT_EQ(allocations::madeBy([&] {
                  MessageBase::printTimestamp(os, 5);
                  os << message << MessageBase::PORT_DIR_NUM;
                  os << static_cast<const MessageBase&>(message);
                  MessageBase::dumpData(os, RECORD.data(), RECORD.size());
                  MessageBase::printPrintable(os, message.getDescription());
              }),
              0);
}

TEST_F(Allocations, TextAsAStringTakesTheStringOnly) {
    const InvalidMessage message(RECORD.data(), RECORD.size());
    EXPECT_EQ(allocations::madeBy([] { MessageBase::printTimestamp(5); }), 1);
    EXPECT_EQ(allocations::madeBy([&] { message.MessageBase::toString(); }), 1);
    EXPECT_EQ(allocations::madeBy([&] { message.toString(); }), 1);
}

TEST_F(Allocations, TextOfAnInvalidMessageTakesTheStringOnlyHoweverLongItIs) {
    for (const size_t length : {0u, 340u, 1400u, 65536u, 65537u}) {
        for (const std::string& text : {std::string(), std::string(2000, 't')}) {
            const byteVec_t record(14 + length, 0xFF);
            InvalidMessage message(record.data(), record.size());
            message.source = text;
            message.setDescription(text.c_str());
            message.setInvalidEnumValue(0xFFFF, text);
            EXPECT_EQ(allocations::madeBy([&] { message.toString(); }), 1) << length;
            EXPECT_EQ(allocations::madeBy([&] { message.MessageBase::toString(); }),
                      text.size() > 900 ? 2 : 1);
        }
    }
}

TEST_F(Allocations, TextOfASimpleMessageTakesOneForTheCommonTextAndOneForItsOwn) {
    const SimpleMessage<MSGID_STARTUP> message(5);
    EXPECT_EQ(allocations::madeBy([&] { message.toString(); }), 2);
}

TEST_F(Allocations, ASizeErrorTakesNoneAndIsReportedWithoutMemoryToo) {
    const CapturedErrors errors;
    std::cerr << std::string(100, ' ');  // the capture has room now
    allocations::untilFailure = 0;
    byteVec_t buffer;
    EXPECT_EQ(SizedMessage(65541).createByteArray(buffer, false, false), 0u);
    allocations::untilFailure = -1;
    EXPECT_NE(errors.str().find("[ERROR] Message size too big\n"), std::string::npos);
}

// ---- When there is none ------------------------------------------------------------------------

/// Runs `code` with its first, second, ... allocation failing until it succeeds; each failure must
/// pass to the caller and leave nothing behind.
template <class Code>
int failuresUntilSuccess(Code code) {
    for (int failures = 0;; ++failures) {
        const long alive = allocations::alive;
        allocations::untilFailure = failures;
        try {
            code();
            allocations::untilFailure = -1;
            EXPECT_EQ(allocations::alive, alive) << "after success";
            return failures;
        } catch (const std::bad_alloc&) {
            EXPECT_EQ(allocations::alive, alive) << "after failure " << failures;
        }
    }
}

const char* const LONG_TEXT = "a description that is longer than any small string holds";

MessageBase* badEnumCreator(const uint8_t*, size_t) {
    throw InvalidMessageException(IM_INVALID_ENUM_VALUE, LONG_TEXT, 7);
}

TEST_F(Allocations, NothingLeaksWhereStandingInForARecordRunsOutOfMemory) {
    MessageBase::registerMessage(MSGID_START, badEnumCreator);
    MessageBase::setInvalidMsgHandling(MessageBase::IMH_RETURN_INVALID_MESSAGE);
    const int failures = failuresUntilSuccess(
        [] { delete MessageBase::readFromByteArray(RECORD.data(), RECORD.size()); });
    EXPECT_EQ(failures, 4) << "the exception's text, the object, its payload, its description";
}

TEST_F(Allocations, NothingLeaksWhereCloningRunsOutOfMemory) {
    InvalidMessage message(RECORD.data(), RECORD.size());
    message.source = LONG_TEXT;
    message.rawData = RECORD;
    message.setInvalidEnumValue(7, LONG_TEXT);
    const int failures = failuresUntilSuccess([&] { delete message.clone(); });
    EXPECT_EQ(failures, 5) << "the object and four fields";
}

TEST_F(Allocations, AVectorThatCannotGrowKeepsWhatItHeld) {
    const TestMessage message(MSGID_START, 5);
    byteVec_t buffer = RECORD;
    buffer.shrink_to_fit();
    allocations::untilFailure = 0;
    EXPECT_THROW(message.createByteArray(buffer, true, true), std::bad_alloc);
    EXPECT_EQ(buffer, RECORD);
}

TEST_F(Allocations, AFailedRegistrationChangesNothing) {
    const int failures = failuresUntilSuccess([] {
        MessageBase::creators_t empty;
        MessageBase::creators.swap(empty);
        try {
            MessageBase::registerMessage(MSGID_PING, badEnumCreator);
        } catch (const std::bad_alloc&) {
            EXPECT_TRUE(MessageBase::creators.empty());
            MessageBase::creators.swap(empty);
            throw;
        }
        MessageBase::creators.swap(empty);
    });
    EXPECT_GE(failures, 1);
}

}  // namespace
