#include "libvektrace/SimpleMessage.h"

#include <gtest/gtest.h>

#include <memory>
#include <sstream>
#include <type_traits>

#include "SimpleMessage_user.h"
#include "support/GuardedBuffer.h"
#include "support/Settings.h"
#include "support/TestMessage.h"
#include "support/hex.h"

namespace {

using Stop = SimpleMessage<MSGID_STOP>;

std::unique_ptr<MessageBase> decode(const byteVec_t& record) {
    const GuardedBuffer guarded(record);
    return std::unique_ptr<MessageBase>(Stop::readFromByteArray(guarded.data(), record.size()));
}

invalidMessageCause_t causeOf(const byteVec_t& record) {
    try {
        decode(record);
    } catch (const InvalidMessageException& e) {
        return e.getCause();
    }
    return static_cast<invalidMessageCause_t>(0);
}

const char* const RECORD = "00 0C 80 21 BE EF 01 02 03 04 05 06 07 08";

// ---- Names -------------------------------------------------------------------------------------

template <msgid_t id, size_t size>
void expectName(const char* name) {
    static_assert(sizeof(SimpleMessage<id>::messageName) == size);
    EXPECT_STREQ(SimpleMessage<id>::messageName, name);
    EXPECT_EQ(std::char_traits<char>::length(name) + 1, size) << name;
}

TEST(SimpleMessageName, TheTenNamesHaveTheirTextsAndSizes) {
    expectName<MSGID_STARTUP, 15>("SYSTEM STARTUP");
    expectName<MSGID_DATALOGGINGSTARTED, 28>("SYSTEM: DATALOGGING STARTED");
    expectName<MSGID_DATALOGGINGSTOPPED, 28>("SYSTEM: DATALOGGING STOPPED");
    expectName<MSGID_GETVERSION, 12>("GET VERSION");
    expectName<MSGID_GETTIME, 9>("GET TIME");
    expectName<MSGID_TIMEJUMP, 10>("TIME JUMP");
    expectName<MSGID_START, 6>("START");
    expectName<MSGID_STOP, 5>("STOP");
    expectName<MSGID_TRIGGERCLEAR, 14>("TRIGGER CLEAR");
    expectName<MSGID_CUSTOMER, 18>("CUSTOMER RESERVED");
}

TEST(SimpleMessageName, StopIsAnArrayOfFiveConstantCharacters) {
    static_assert(std::is_same_v<decltype(Stop::messageName), const char[5]>);
}

TEST(SimpleMessageName, AUserDefinesTheNameOfAnotherTypeInAnotherUnit) {
    EXPECT_STREQ(Ping::messageName, "PING");
    EXPECT_EQ(Ping(0).toString(), "1970-01-01 00:00:00.000000  PING");
}

// ---- Encoding and decoding ---------------------------------------------------------------------

TEST(SimpleMessage, IsTheHeaderOnly) {
    byteVec_t record;
    Stop message(0x0102030405060708);
    message.setHeaderReserved(0xBEEF);
    EXPECT_EQ(message.createByteArray(record, false, false), 14u);
    EXPECT_EQ(hex(record), RECORD);
}

TEST(SimpleMessage, DecodingRestoresReservedWordAndTimestamp) {
    const auto message = decode(bytes(RECORD));
    EXPECT_EQ(message->getMessageId(), MSGID_STOP);
    EXPECT_EQ(message->getHeaderReserved(), 0xBEEF);
    EXPECT_EQ(message->getTimeStamp(), 0x0102030405060708u);
    EXPECT_NE(dynamic_cast<const Stop*>(message.get()), nullptr);
}

TEST(SimpleMessage, FewerThan14BytesAreAnInvalidLength) {
    for (size_t len = 0; len < 14; ++len) {
        byteVec_t record = bytes(RECORD);
        record.resize(len);
        EXPECT_EQ(causeOf(record), IM_INVALID_LEN) << len;
    }
}

TEST(SimpleMessage, ASizeFieldOtherThan12IsAnInvalidLength) {
    for (const char* size : {"00 0B", "00 0D", "00 00", "01 0C", "FF FF"}) {
        EXPECT_EQ(causeOf(bytes(std::string(size) + std::string(RECORD).substr(5))), IM_INVALID_LEN)
            << size;
    }
}

TEST(SimpleMessage, BytesBehindTheRecordAreLeftAlone) {
    byteVec_t record = bytes(RECORD);
    record.push_back(0x55);
    EXPECT_EQ(*decode(record), *decode(bytes(RECORD)));
}

TEST(SimpleMessage, ItsConstructorIsExplicit) {
    static_assert(std::is_constructible_v<Stop, timeStamp_t>);
    static_assert(!std::is_convertible_v<timeStamp_t, Stop>);
}

// ---- Comparing and copying ---------------------------------------------------------------------

TEST(SimpleMessage, EqualWhenIdentifierReservedWordAndTimestampAre) {
    const Stop message(5);
    EXPECT_TRUE(message == Stop(5));
    EXPECT_FALSE(message != Stop(5));
    EXPECT_FALSE(message == Stop(6));
    EXPECT_TRUE(message != Stop(6));
    EXPECT_FALSE(message == SimpleMessage<MSGID_START>(5));
    Stop other(5);
    other.setHeaderReserved(1);
    EXPECT_FALSE(message == other);
    other.setHeaderReserved(0);
    other.source = "elsewhere";
    EXPECT_TRUE(message == other) << "the source is no part of the record";
}

TEST(SimpleMessage, EqualsAMessageOfAnotherClassThatHasThemToo) {
    EXPECT_TRUE(SimpleMessage<MSGID_STOP>(5) == TestMessage(MSGID_STOP, 5, {1, 2}));
    EXPECT_FALSE(SimpleMessage<MSGID_STOP>(5) == TestMessage(MSGID_START, 5));
}

TEST(SimpleMessage, CloneIsACopyOfItsOwnType) {
    Stop message(5);
    message.source = "logger";
    message.rawData = {1, 2};
    message.setHeaderReserved(3);
    message.setSourceChannelIDMbnr(4);
    const std::unique_ptr<Stop> copy(message.clone());
    EXPECT_NE(copy.get(), &message);
    EXPECT_EQ(*copy, message);
    EXPECT_EQ(copy->source, "logger");
    EXPECT_EQ(copy->rawData, (byteVec_t{1, 2}));
    EXPECT_EQ(copy->getSourceChannelIDMbnr(), 4u);
}

// ---- Text --------------------------------------------------------------------------------------

TEST(SimpleMessage, TextIsTheCommonTextTwoBlanksAndTheName) {
    Stop message(1234567890123456);
    EXPECT_EQ(message.toString(), "2009-02-13 23:31:30.123456  STOP");
    message.source = "logger 1";
    std::ostringstream os;
    EXPECT_EQ(&message.print(os), &os);
    EXPECT_EQ(os.str(), "logger 1: 2009-02-13 23:31:30.123456  STOP");
    EXPECT_EQ(message.toString(), os.str());
}

TEST(SimpleMessage, TextDependsOnNoWidthFillOrFlags) {
    std::ostringstream os;
    os << std::hex << std::left << std::showbase;
    os.fill('*');
    os.width(60);
    Stop(0).print(os);
    EXPECT_EQ(os.str(), "1970-01-01 00:00:00.000000  STOP");
    EXPECT_EQ(os.fill(), '*');
    EXPECT_EQ(os.width(), 0);
}

}  // namespace
