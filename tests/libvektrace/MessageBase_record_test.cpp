// The record that all messages share: its fields, their order, what the base class answers, and
// the class-wide settings.

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <type_traits>

#include "libvektrace/MessageBase.h"
#include "support/Settings.h"
#include "support/TestMessage.h"
#include "support/streams.h"
#include "support/virtualSlot.h"

namespace {

/// Every field set to something of its own.
TestMessage fullMessage() {
    TestMessage message(MSGID_CAN, 123456789);
    message.source = "a source that is longer than any small string";
    message.rawData = {1, 2, 3};
    message.setHeaderReserved(0xBEEF);
    message.setSourceChannelIDMbnr(0xCAFEBABE);
    return message;
}

void expectFull(const TestMessage& message) {
    EXPECT_EQ(message.source, "a source that is longer than any small string");
    EXPECT_EQ(message.rawData, (byteVec_t{1, 2, 3}));
    EXPECT_EQ(message.getMessageId(), MSGID_CAN);
    EXPECT_EQ(message.getHeaderReserved(), 0xBEEF);
    EXPECT_EQ(message.getTimeStamp(), 123456789u);
    EXPECT_EQ(message.getSourceChannelIDMbnr(), 0xCAFEBABE);
}

// ---- Construction ------------------------------------------------------------------------------

TEST(MessageRecord, AFreshMessageHoldsTheArgumentsAndNothingElse) {
    const TestMessage message(MSGID_FLEXRAY, 42);
    EXPECT_EQ(message.getMessageId(), MSGID_FLEXRAY);
    EXPECT_EQ(message.getTimeStamp(), 42u);
    EXPECT_TRUE(message.source.empty());
    EXPECT_TRUE(message.rawData.empty());
    EXPECT_EQ(message.getHeaderReserved(), 0);
    EXPECT_EQ(message.getSourceChannelIDMbnr(), 0u);
}

TEST(MessageRecord, TakesTheInvalidIdentifierAndExtremeTimestampsAsTheyAre) {
    EXPECT_EQ(TestMessage(MSGID_INVALID, 0).getMessageId(), MSGID_INVALID);
    EXPECT_EQ(TestMessage(MSGID_INVALID, 0).getTimeStamp(), 0u);
    EXPECT_EQ(TestMessage(MSGID_CAN, ~timeStamp_t{0}).getTimeStamp(), ~timeStamp_t{0});
    EXPECT_EQ(TestMessage(static_cast<msgid_t>(0x000F), 0).getMessageId(), 0x000F);
}

TEST(MessageRecord, SettersChangeTheirFieldOnly) {
    TestMessage message(MSGID_CAN, 1);
    message.setTimeStamp(2);
    EXPECT_EQ(message.getTimeStamp(), 2u);
    message.setHeaderReserved(3);
    EXPECT_EQ(message.getHeaderReserved(), 3);
    message.setSourceChannelIDMbnr(4);
    EXPECT_EQ(message.getSourceChannelIDMbnr(), 4u);
    EXPECT_EQ(message.getTimeStamp(), 2u);
    EXPECT_EQ(message.getHeaderReserved(), 3);
    EXPECT_EQ(message.getMessageId(), MSGID_CAN);
}

// ---- Copying -----------------------------------------------------------------------------------

TEST(MessageRecord, ACopyCarriesEveryField) {
    const TestMessage original = fullMessage();
    const TestMessage copy = original;
    expectFull(copy);
    expectFull(original);
}

TEST(MessageRecord, ChangingACopyLeavesTheOriginalUntouched) {
    const TestMessage original = fullMessage();
    TestMessage copy = original;
    copy.rawData[0] = 99;
    copy.source[0] = 'A';
    expectFull(original);
}

TEST(MessageRecord, CloneCopiesThroughTheBase) {
    const TestMessage original = fullMessage();
    const MessageBase& base = original;
    const std::unique_ptr<MessageBase> copy(base.clone());
    expectFull(dynamic_cast<const TestMessage&>(*copy));
}

TEST(MessageRecord, MovesAndAssignmentsAreMemberWise) {
    TestMessage original = fullMessage();
    TestMessage assigned;
    assigned = original;
    expectFull(assigned);
    const TestMessage moved = std::move(original);
    expectFull(moved);
    TestMessage moveAssigned;
    moveAssigned = std::move(assigned);
    expectFull(moveAssigned);
    static_assert(std::is_nothrow_move_constructible_v<TestMessage>);
    static_assert(std::is_nothrow_move_assignable_v<TestMessage>);
}

TEST(MessageRecord, OnlyDerivedClassesMakeAMessageBase) {
    static_assert(std::is_abstract_v<MessageBase>);
    static_assert(std::has_virtual_destructor_v<MessageBase>);
    static_assert(!std::is_constructible_v<MessageBase, msgid_t, timeStamp_t>);
    static_assert(!std::is_copy_constructible_v<MessageBase>);
    static_assert(!std::is_move_constructible_v<MessageBase>);
    static_assert(!std::is_copy_assignable_v<MessageBase>);
    static_assert(!std::is_move_assignable_v<MessageBase>);
}

// ---- Layout ------------------------------------------------------------------------------------

TEST(MessageRecord, FieldsLieInTheirOrderOfDeclaration) {
    const TestMessage message;
    const void* const order[] = {&message,
                                 &message.source,
                                 &message.rawData,
                                 message.addressOfMsgid(),
                                 message.addressOfHeaderReserved(),
                                 message.addressOfTimeStamp(),
                                 message.addressOfSourceChannelIDMbnr()};
    for (size_t i = 1; i < std::size(order); ++i) {
        EXPECT_LT(order[i - 1], order[i]) << i;
    }
}

TEST(MessageRecord, VirtualFunctionsHaveTheirSlots) {
    size_t slot = VIRTUAL_SLOTS_OF_DESTRUCTOR;
    EXPECT_EQ(virtualSlot(&MessageBase::clone), slot++);
    EXPECT_EQ(virtualSlot(&MessageBase::writeToByteArray), slot++);
    EXPECT_EQ(virtualSlot(&MessageBase::getSize), slot++);
    EXPECT_EQ(virtualSlot(&MessageBase::operator==), slot++);
    EXPECT_EQ(virtualSlot(&MessageBase::print), slot++);
    EXPECT_EQ(virtualSlot(&MessageBase::toString), slot++);
    EXPECT_EQ(virtualSlot(&MessageBase::getSourceChannel), slot++);
    EXPECT_EQ(virtualSlot(
                  static_cast<uint64_t (MessageBase::*)() const>(&MessageBase::getSourceChannelID)),
              slot++);
    EXPECT_EQ(virtualSlot(&MessageBase::cascadeChannel), slot++);
}

TEST(MessageRecord, NothingElseIsVirtual) {
    using Text = std::string (MessageBase::*)();
    using Stream = void (MessageBase::*)(std::ostream&);
    EXPECT_EQ(virtualSlot(&MessageBase::getHeaderReserved), NOT_VIRTUAL);
    EXPECT_EQ(virtualSlot(&MessageBase::operator!=), NOT_VIRTUAL);
    EXPECT_EQ(virtualSlot(static_cast<Text>(&MessageBase::printTimestamp)), NOT_VIRTUAL);
    EXPECT_EQ(virtualSlot(static_cast<Stream>(&MessageBase::printTimestamp)), NOT_VIRTUAL);
    EXPECT_EQ(virtualSlot(static_cast<size_t (MessageBase::*)(byteVec_t&, bool, bool) const>(
                  &MessageBase::createByteArray)),
              NOT_VIRTUAL);
    EXPECT_EQ(virtualSlot(static_cast<size_t (MessageBase::*)(bool, bool) const>(
                  &MessageBase::createByteArray)),
              NOT_VIRTUAL);
}

TEST(MessageRecord, OffsetsOfBothHeaderVersions) {
    EXPECT_EQ(int{MessageBase::MO_MSGSIZE}, 0);
    EXPECT_EQ(int{MessageBase::MO_MSGID}, 2);
    EXPECT_EQ(int{MessageBase::MO_HDRRESERVED}, 4);
    EXPECT_EQ(int{MessageBase::MO_TIMESTAMP}, 6);
    EXPECT_EQ(int{MessageBase::MO_BASE_DERIVED}, 14);
    EXPECT_EQ(int{MessageBase::MO2_MSGID}, 0);
    EXPECT_EQ(int{MessageBase::MO2_MSGSIZE}, 1);
    EXPECT_EQ(int{MessageBase::MO2_TIMESTAMP}, 3);
    EXPECT_EQ(int{MessageBase::MO2_BASE_DERIVED}, 7);
}

TEST(MessageRecord, ConstantsMayBeBoundToReferences) {
    const uint16_t& marker = MessageBase::SYNC_MARKER;
    const uint8_t& marker2 = MessageBase::SYNC_MARKER2;
    const uint8_t& version = TestMessage::version;
    EXPECT_EQ(marker, 0x55AA);
    EXPECT_EQ(marker2, 0x5A);
    EXPECT_EQ(version, 1);
}

TEST(MessageRecord, EnumerationsHaveTheirValuesAndOrdinaryWidth) {
    EXPECT_EQ(MessageBase::IMH_RETURN_NULL, 0);
    EXPECT_EQ(MessageBase::IMH_RETURN_INVALID_MESSAGE, 1);
    EXPECT_EQ(MessageBase::PORT_DIR_UNKNOWN, 0);
    EXPECT_EQ(MessageBase::PORT_DIR_IN, 1);
    EXPECT_EQ(MessageBase::PORT_DIR_OUT, 2);
    EXPECT_EQ(MessageBase::PORT_DIR_NUM, 3);
    static_assert(sizeof(MessageBase::portDirection_t) == sizeof(int));
    static_assert(sizeof(timeStamp_t) == 8 && std::is_unsigned_v<timeStamp_t>);
}

// ---- What the base class answers ---------------------------------------------------------------

TEST(MessageRecord, SizeOfAMessageThatAddsNothingIs12) { EXPECT_EQ(TestMessage().getSize(), 12u); }

TEST(MessageRecord, TheSourceChannelIsTheLoggersOwn) {
    const TestMessage message;
    EXPECT_EQ(message.getSourceChannel(), "LOGGER INTERN");
    EXPECT_EQ(message.getSourceChannelID(), 18446744073709551615u);
}

TEST(MessageRecord, CascadingLeavesEveryFieldUnchanged) {
    TestMessage message = fullMessage();
    message.cascadeChannel(5);
    expectFull(message);
    EXPECT_EQ(message.getSourceChannelID(), 18446744073709551615u);
}

TEST(MessageRecord, NotEqualIsTheOppositeOfEqual) {
    const TestMessage one(MSGID_CAN);
    const TestMessage other(MSGID_LIN);
    const MessageBase& base = one;
    EXPECT_FALSE(base != one);
    EXPECT_TRUE(base != other);
}

// ---- Class-wide settings -----------------------------------------------------------------------

/// Read before any test runs, and thus before anything can have changed them.
const MessageBase::invalidMsgHandling_t HANDLING_AT_START = MessageBase::invalidHandling;
const bool DEBUG_BYTES_AT_START = MessageBase::fpgaMsgHasDebugBytes;

TEST(ClassWideSettings, HoldTheirDefaultsFromLoadTime) {
    EXPECT_EQ(HANDLING_AT_START, MessageBase::IMH_RETURN_NULL);
    EXPECT_TRUE(DEBUG_BYTES_AT_START);
    EXPECT_TRUE(MessageBase::creators.empty());
}

TEST(ClassWideSettings, SetInvalidMsgHandlingStoresThePolicy) {
    const LibrarySettings settings;
    MessageBase::setInvalidMsgHandling(MessageBase::IMH_RETURN_INVALID_MESSAGE);
    EXPECT_EQ(MessageBase::invalidHandling, MessageBase::IMH_RETURN_INVALID_MESSAGE);
    MessageBase::setInvalidMsgHandling(static_cast<MessageBase::invalidMsgHandling_t>(7));
    EXPECT_EQ(MessageBase::invalidHandling, 7);
}

// ---- Header version ----------------------------------------------------------------------------

TEST(HeaderVersion, IsOneAndStaysOne) {
    EXPECT_EQ(MessageBase::getVersion(), 1);
    MessageBase::setVersion(1);
    EXPECT_EQ(MessageBase::getVersion(), 1);
}

/// Ends with a status of its own, so that the way through the handler can be told from abort().
[[noreturn]] void handler() { std::_Exit(42); }

void reportWithHandler(uint8_t version) {
    std::set_terminate(handler);
    TestMessage::reportInvalidVersion(version);
}

TEST(HeaderVersionDeathTest, AnyOtherEndsTheProcessThroughTheTerminateHandler) {
    EXPECT_EXIT(reportWithHandler(7), testing::ExitedWithCode(42),
                "^Trying to set an invalid VekTrace version of 7\n$");
    EXPECT_EXIT(
        {
            std::set_terminate(handler);
            MessageBase::setVersion(2);
        },
        testing::ExitedWithCode(42), "^Trying to set an invalid VekTrace version of 2\n$");
    EXPECT_EXIT(
        {
            std::set_terminate(handler);
            MessageBase::setVersion(0);
        },
        testing::ExitedWithCode(42), "^Trying to set an invalid VekTrace version of 0\n$");
}

TEST(HeaderVersionDeathTest, WithoutAHandlerTheProcessEndsAbnormally) {
    EXPECT_EXIT(TestMessage::reportInvalidVersion(255), testing::KilledBySignal(SIGABRT),
                "Trying to set an invalid VekTrace version of 255\n");
}

TEST(HeaderVersionDeathTest, NoCallerCanCatchIt) {
    EXPECT_EXIT(
        {
            std::set_terminate(handler);
            try {
                MessageBase::setVersion(3);
            } catch (...) {
                std::_Exit(1);
            }
        },
        testing::ExitedWithCode(42), "version of 3\n");
}

TEST(HeaderVersionDeathTest, NoCallerSurvivesItWhereTheLineCannotBeWritten) {
    EXPECT_EXIT(
        {
            std::set_terminate(handler);
            LimitedBuffer full(0, LimitedBuffer::THROWS);
            std::cerr.rdbuf(&full);
            std::cerr.exceptions(std::ios_base::badbit);
            try {
                MessageBase::setVersion(3);
            } catch (...) {
                std::_Exit(1);
            }
        },
        testing::ExitedWithCode(42), "");
}

TEST(HeaderVersionDeathTest, TheLineIsDecimalAndUnpaddedWhateverTheStreamsState) {
    EXPECT_EXIT(
        {
            std::locale::global(groupingLocale());
            std::cerr.imbue(groupingLocale());
            std::cerr << std::hex << std::showbase << std::showpos << std::left;
            std::cerr.fill('*');
            std::cerr.width(90);
            reportWithHandler(200);
        },
        testing::ExitedWithCode(42), "^Trying to set an invalid VekTrace version of 200\n$");
}

// ---- Source channel ID -------------------------------------------------------------------------

TEST(SourceChannelId, HasBusChannelAndThirdPartAtTheirBits) {
    EXPECT_EQ(MessageBase::getSourceChannelID(BUSID_CAN, 0, 0), 0x0000010000000000u);
    EXPECT_EQ(MessageBase::getSourceChannelID(BUSID_UNKNOWN, 0xFF, 0), 0x000000FF00000000u);
    EXPECT_EQ(MessageBase::getSourceChannelID(BUSID_UNKNOWN, 0, 0xFFFFFFFF), 0x00000000FFFFFFFFu);
    EXPECT_EQ(MessageBase::getSourceChannelID(BUSID_WAKEUPLINE, 0x12, 0x3456789A),
              0x000014123456789Au);
}

TEST(SourceChannelId, TakesOnlyTheLow8BitsOfABus) {
    EXPECT_EQ(MessageBase::getSourceChannelID(static_cast<busid_t>(256 + BUSID_ETHERNET), 1, 2),
              MessageBase::getSourceChannelID(BUSID_ETHERNET, 1, 2));
    EXPECT_EQ(MessageBase::getSourceChannelID(static_cast<busid_t>(-1), 0, 0), 0x0000FF0000000000u);
}

TEST(SourceChannelId, ComposingAndSplittingAreInverses) {
    for (int bus = 0; bus < BUSID_NUM; ++bus) {
        for (unsigned channel = 0; channel <= 255; ++channel) {
            for (const uint32_t mbnr : {0u, 1u, 0x80000000u, 0x12345678u, 0xFFFFFFFFu}) {
                const uint64_t id = MessageBase::getSourceChannelID(
                    static_cast<busid_t>(bus), static_cast<uint8_t>(channel), mbnr);
                ASSERT_NE(id, ~uint64_t{0}) << "means: no channel";
                busid_t busOut{};
                uint8_t channelOut{};
                uint32_t mbnrOut{};
                MessageBase::getBusAndChannelFromSourceID(id, busOut, channelOut, mbnrOut);
                ASSERT_EQ(busOut, bus);
                ASSERT_EQ(channelOut, channel);
                ASSERT_EQ(mbnrOut, mbnr);
            }
        }
    }
}

TEST(SourceChannelId, AnArbitraryIdMaySplitIntoNoBusOfTheCatalogue) {
    busid_t bus{};
    uint8_t channel{};
    uint32_t mbnr{};
    MessageBase::getBusAndChannelFromSourceID(~uint64_t{0}, bus, channel, mbnr);
    EXPECT_EQ(bus, 255);
    EXPECT_EQ(channel, 255);
    EXPECT_EQ(mbnr, 0xFFFFFFFF);
}

}  // namespace
