// The message that stands in for a record that could not be decoded: what it keeps, and how it is
// written back.

#include <gtest/gtest.h>

#include <memory>
#include <numeric>
#include <string_view>
#include <type_traits>

#include "libvektrace/MessageBase.h"
#include "libvektrace/SimpleMessage.h"
#include "support/GuardedBuffer.h"
#include "support/Settings.h"
#include "support/hex.h"
#include "support/virtualSlot.h"

namespace {

const char* const RECORD = "00 0E 0A B5 BE EF 01 02 03 04 05 06 07 08 AA BB";

InvalidMessage build(const byteVec_t& record) {
    const GuardedBuffer guarded(record);
    return {guarded.data(), guarded.size()};
}

/// An invalid message with a payload of `length` bytes 1, 2, 3, ...
InvalidMessage withPayload(size_t length) {
    byteVec_t record(14 + length);
    std::iota(record.begin() + 14, record.end(), uint8_t{1});
    return build(record);
}

// ---- What it keeps -----------------------------------------------------------------------------

TEST(InvalidMessage, KeepsIdentifierTimestampAndPayloadOfTheRecord) {
    const InvalidMessage message = build(bytes(RECORD));
    EXPECT_EQ(message.getOriginalMsgId(), 0xab5);
    EXPECT_EQ(message.MessageBase::getMessageId(), 0xFFFF);
    EXPECT_EQ(message.MessageBase::getTimeStamp(), 0x0102030405060708u);
    EXPECT_EQ(hex(message.getRawData()), "AA BB");
    EXPECT_EQ(hex(message), "AA BB") << "it is the vector of its payload";
}

TEST(InvalidMessage, StartsWithTheDefaultsOfItsFields) {
    const InvalidMessage message = build(bytes(RECORD));
    EXPECT_EQ(message.getCause(), IM_INVALID_MSGID);
    EXPECT_EQ(message.getDescription(), "Invalid Message");
    EXPECT_EQ(message.getInvalidEnumValue(), 0);
    EXPECT_EQ(message.getInvalidEnumDescription(), "");
    EXPECT_FALSE(message.isOverflow());
    EXPECT_EQ(message.getHeaderReserved(), 0) << "the record's reserved word is not kept";
    EXPECT_EQ(message.getSourceChannelIDMbnr(), 0u);
    EXPECT_TRUE(message.source.empty());
    EXPECT_TRUE(message.rawData.empty());
}

TEST(InvalidMessage, DoesNotConsultTheSizeField) {
    for (const char* size : {"00 00", "FF FF", "00 0C"}) {
        const InvalidMessage message =
            build(bytes(std::string(size) + std::string(RECORD).substr(5)));
        EXPECT_EQ(hex(message.getRawData()), "AA BB") << size;
    }
}

TEST(InvalidMessage, OwnsCopiesOfEverything) {
    byteVec_t record = bytes(RECORD);
    const InvalidMessage message(record.data(), record.size());
    std::fill(record.begin(), record.end(), uint8_t{0});
    EXPECT_EQ(hex(message.getRawData()), "AA BB");
}

struct ShortCase {
    const char* why;
    const char* record;
    unsigned id;
    uint64_t timeStamp;
};

const ShortCase SHORT_CASES[] = {
    {"nothing", "", 0, 0},
    {"half a size field", "FF", 0, 0},
    {"no identifier", "FF FF", 0, 0},
    {"the upper half of the identifier", "FF FF 12", 0x1200, 0},
    {"the identifier", "FF FF 12 34", 0x1234, 0},
    {"half a reserved word", "FF FF 12 34 FF", 0x1234, 0},
    {"no timestamp", "FF FF 12 34 FF FF", 0x1234, 0},
    {"the first byte of the timestamp", "FF FF 12 34 FF FF 01", 0x1234, 0x0100000000000000},
    {"seven bytes of the timestamp", "FF FF 12 34 FF FF 01 02 03 04 05 06 07", 0x1234,
     0x0102030405060700},
    {"the whole header", "FF FF 12 34 FF FF 01 02 03 04 05 06 07 08", 0x1234, 0x0102030405060708},
};

TEST(InvalidMessage, TakesMissingHeaderBytesAsZeroAndReadsNoneOfThem) {
    for (const ShortCase& c : SHORT_CASES) {
        const InvalidMessage message = build(bytes(c.record));
        EXPECT_EQ(message.getOriginalMsgId(), c.id) << c.why;
        EXPECT_EQ(message.MessageBase::getTimeStamp(), c.timeStamp) << c.why;
        EXPECT_TRUE(message.getRawData().empty()) << c.why;
        EXPECT_FALSE(message.isOverflow()) << c.why;
    }
}

TEST(InvalidMessage, TakesANullPointerWithLengthZero) {
    const InvalidMessage message(nullptr, 0);
    EXPECT_EQ(message.getOriginalMsgId(), 0);
    EXPECT_TRUE(message.getRawData().empty());
}

TEST(InvalidMessage, OfAHeaderAloneIsEmptyAndHasSize14) {
    const InvalidMessage message = withPayload(0);
    EXPECT_TRUE(message.getRawData().empty());
    EXPECT_FALSE(message.isOverflow());
    EXPECT_EQ(static_cast<const MessageBase&>(message).getSize(), 14u);
}

TEST(InvalidMessage, KeepsUpTo65536PayloadBytes) {
    const InvalidMessage message = withPayload(65536);
    EXPECT_EQ(message.getRawData().size(), 65536u);
    EXPECT_FALSE(message.isOverflow());
}

TEST(InvalidMessage, CutsALongerPayloadAndSaysSo) {
    const InvalidMessage message = withPayload(65537);
    EXPECT_EQ(message.getRawData(), withPayload(65536).getRawData()) << "the first ones";
    EXPECT_TRUE(message.isOverflow());
}

TEST(InvalidMessage, SettersReplaceTheirField) {
    InvalidMessage message = build(bytes(RECORD));
    message.setCause(IM_MISC);
    EXPECT_EQ(message.getCause(), IM_MISC);
    message.setDescription("Something else");
    EXPECT_EQ(message.getDescription(), "Something else");
    message.setInvalidEnumValue(7, "colour");
    EXPECT_EQ(message.getCause(), IM_INVALID_ENUM_VALUE);
    EXPECT_EQ(message.getInvalidEnumValue(), 7);
    EXPECT_EQ(message.getInvalidEnumDescription(), "colour");
}

TEST(InvalidMessage, TakesAnyStringLikeEnumDescription) {
    InvalidMessage message = build({});
    std::string text = "a string that is longer than any small string";
    message.setInvalidEnumValue(1, text);
    EXPECT_EQ(message.getInvalidEnumDescription(), text);
    message.setInvalidEnumValue(2, std::string_view("view"));
    EXPECT_EQ(message.getInvalidEnumDescription(), "view");
    const char* const pointer = "pointer";
    message.setInvalidEnumValue(3, pointer);
    EXPECT_EQ(message.getInvalidEnumDescription(), "pointer");
    const char* const characters = text.data();
    message.setInvalidEnumValue(4, std::move(text));
    EXPECT_EQ(message.getInvalidEnumDescription().data(), characters) << "moved, not copied";
}

// ---- Comparing and copying ---------------------------------------------------------------------

TEST(InvalidMessage, IsEqualToNothingNotEvenItself) {
    const InvalidMessage message = build(bytes(RECORD));
    const std::unique_ptr<InvalidMessage> copy(message.clone());
    const MessageBase& base = message;
    const InvalidMessage& same = message;
    EXPECT_FALSE(message == same);
    EXPECT_FALSE(message == *copy);
    EXPECT_FALSE(base == *copy);
    EXPECT_FALSE(message == base);
    EXPECT_FALSE(message == SimpleMessage<MSGID_START>(0));
    EXPECT_TRUE(message != *copy);
    EXPECT_TRUE(base != message);
}

TEST(InvalidMessage, CloneCopiesEveryField) {
    InvalidMessage message = withPayload(65537);
    message.source = "logger";
    message.rawData = {9, 8};
    message.setHeaderReserved(3);
    message.setSourceChannelIDMbnr(4);
    message.setDescription("title");
    message.setInvalidEnumValue(5, "colour");
    const MessageBase& base = message;
    const std::unique_ptr<MessageBase> copy(base.clone());
    const auto& clone = dynamic_cast<const InvalidMessage&>(*copy);
    EXPECT_EQ(clone.toString(), message.toString());
    EXPECT_EQ(clone.rawData, (byteVec_t{9, 8}));
    EXPECT_EQ(clone.getHeaderReserved(), 3);
    EXPECT_EQ(clone.getSourceChannelIDMbnr(), 4u);
    EXPECT_NE(clone.getRawData().data(), message.getRawData().data());
    static_assert(std::is_same_v<decltype(message.clone()), InvalidMessage*>, "covariant");
}

TEST(InvalidMessage, MovesWithoutCopyingThePayload) {
    InvalidMessage message = withPayload(100);
    const uint8_t* const payload = message.getRawData().data();
    InvalidMessage moved = std::move(message);
    EXPECT_EQ(moved.getRawData().data(), payload);
    InvalidMessage assigned = build({});
    assigned = std::move(moved);
    EXPECT_EQ(assigned.getRawData().data(), payload);
    static_assert(std::is_nothrow_move_constructible_v<InvalidMessage>);
    static_assert(std::is_nothrow_move_assignable_v<InvalidMessage>);
    static_assert(std::is_copy_assignable_v<InvalidMessage>);
}

// ---- Writing back ------------------------------------------------------------------------------

TEST(InvalidMessage, WritesTheHeaderButNotThePayload) {
    const InvalidMessage message = withPayload(10);
    const MessageBase& base = message;
    for (const bool sync : {false, true}) {
        uint8_t buffer[40];
        std::fill(std::begin(buffer), std::end(buffer), uint8_t{0xEE});
        uint8_t* data = buffer;
        EXPECT_EQ(base.writeToByteArray(data, sizeof buffer, sync), 24u);
        const size_t written = sync ? 16 : 14;
        EXPECT_EQ(data, buffer + written);
        EXPECT_EQ(hex(buffer, written),
                  std::string(sync ? "55 AA " : "") + "00 18 FF FF 00 00 00 00 00 00 00 00 00 00");
        EXPECT_EQ(hex(data, 40 - written), hex(byteVec_t(40 - written, 0xEE)));
    }
}

TEST(InvalidMessage, ReturnsItsSizeAlsoWhereTheHeaderWasRefused) {
    const InvalidMessage message = withPayload(10);
    const MessageBase& base = message;
    const GuardedBuffer buffer(25);
    std::fill_n(buffer.data(), 25, uint8_t{0xEE});
    uint8_t* data = buffer.data();
    EXPECT_EQ(base.writeToByteArray(data, 25, false), 24u);
    EXPECT_EQ(data, buffer.data());
    EXPECT_EQ(buffer.content(), byteVec_t(25, 0xEE));
}

TEST(InvalidMessage, ARefusedHeaderNeedsNoBufferAtAll) {
    const InvalidMessage message = withPayload(0);
    uint8_t* data = nullptr;
    EXPECT_EQ(static_cast<const MessageBase&>(message).writeToByteArray(data, 0, true), 14u);
    EXPECT_EQ(data, nullptr);
}

TEST(InvalidMessage, CopiesRawDataBehindTheHeaderWithoutMovingThePointer) {
    InvalidMessage message = withPayload(3);
    message.rawData = {0xAA, 0xBB};
    const MessageBase& base = message;
    const GuardedBuffer buffer(19);
    uint8_t* data = buffer.data();
    EXPECT_EQ(base.writeToByteArray(data, 19, false), 17u);
    EXPECT_EQ(data, buffer.data() + 14);
    EXPECT_EQ(hex(buffer.content()), "00 11 FF FF 00 00 00 00 00 00 00 00 00 00 AA BB 00 00 00");
}

TEST(InvalidMessage, CopiesRawDataAlsoWhereTheHeaderWasRefused) {
    InvalidMessage message = withPayload(3);
    message.rawData = {0xAA, 0xBB};
    const GuardedBuffer buffer(2);
    uint8_t* data = buffer.data();
    EXPECT_EQ(static_cast<const MessageBase&>(message).writeToByteArray(data, 2, true), 17u);
    EXPECT_EQ(data, buffer.data());
    EXPECT_EQ(hex(buffer.content()), "AA BB");
}

TEST(InvalidMessage, CreateByteArrayYieldsAWellFramedRecordOfZeroes) {
    byteVec_t record;
    EXPECT_EQ(build(bytes(RECORD)).createByteArray(record, false, false), 16u);
    EXPECT_EQ(hex(record), "00 10 FF FF 00 00 01 02 03 04 05 06 07 08 00 00 00 00");
    EXPECT_EQ(record.size(), size_t{2} + MessageBase::getMessageSize(record.data()));
    EXPECT_EQ(build(bytes(RECORD)).createByteArray(record, true, true), 16u);
    EXPECT_EQ(record.size(), 18u + 20u);
}

TEST(InvalidMessage, EncodesUpToTheLimitForAllMessagesAndNoFurther) {
    const CapturedErrors errors;
    byteVec_t record;
    EXPECT_EQ(withPayload(65526).createByteArray(record, false, false), 65540u);
    EXPECT_EQ(record.size(), 65542u);
    EXPECT_EQ(errors.str(), "");
    EXPECT_EQ(withPayload(65527).createByteArray(record, false, false), 0u);
    EXPECT_EQ(record.size(), 65542u);
    EXPECT_EQ(errors.str(), "[ERROR] Message size too big\n");
}

// ---- The creator -------------------------------------------------------------------------------

// A private member's address may be named in an explicit instantiation.
template <auto creator>
struct RevealCreator {
    friend pCreatorFunction privateCreator() { return creator; }
};
pCreatorFunction privateCreator();
template struct RevealCreator<&InvalidMessage::readFromByteArray>;

TEST(InvalidMessage, ItsPrivateCreatorMakesOneOfTheSameBytes) {
    const byteVec_t record = bytes(RECORD);
    const std::unique_ptr<MessageBase> message(privateCreator()(record.data(), record.size()));
    const auto& invalid = dynamic_cast<const InvalidMessage&>(*message);
    EXPECT_EQ(invalid.getOriginalMsgId(), 0xab5);
    EXPECT_EQ(message->getTimeStamp(), 0x0102030405060708u);
    EXPECT_EQ(hex(invalid.getRawData()), "AA BB");
    EXPECT_EQ(invalid.getCause(), IM_INVALID_MSGID);
}

// ---- Layout ------------------------------------------------------------------------------------

// A private member's address may be named in an explicit instantiation; that is how the order of
// the fields is seen from here.
template <class Tag, auto... members>
struct RevealAs {
    friend ptrdiff_t offsetOf(Tag, const InvalidMessage& message, size_t index) {
        const ptrdiff_t offsets[] = {(reinterpret_cast<const char*>(&(message.*members)) -
                                      reinterpret_cast<const char*>(&message))...};
        return offsets[index];
    }
};

struct Fields {};
ptrdiff_t offsetOf(Fields, const InvalidMessage& message, size_t index);
template struct RevealAs<Fields, &InvalidMessage::originalMsgId, &InvalidMessage::invalidEnumValue,
                         &InvalidMessage::enumDescription, &InvalidMessage::description,
                         &InvalidMessage::cause, &InvalidMessage::overflow>;

TEST(InvalidMessage, FieldsLieBehindBothBasesInTheirOrder) {
    const InvalidMessage message = build({});
    const auto* const begin = reinterpret_cast<const char*>(&message);
    const auto* const base =
        reinterpret_cast<const char*>(static_cast<const MessageBase*>(&message));
    const auto* const vector =
        reinterpret_cast<const char*>(static_cast<const byteVec_t*>(&message));
    EXPECT_EQ(base, begin);
    ptrdiff_t last = vector - begin;
    EXPECT_GT(last, 0);
    for (size_t i = 0; i < 6; ++i) {
        const ptrdiff_t offset = offsetOf(Fields(), message, i);
        EXPECT_GT(offset, last) << i;
        last = offset;
    }
}

TEST(InvalidMessage, AddsNoVirtualFunction) {
    EXPECT_EQ(virtualSlot(&InvalidMessage::getOriginalMsgId), NOT_VIRTUAL);
    EXPECT_EQ(virtualSlot(&InvalidMessage::setCause), NOT_VIRTUAL);
    EXPECT_EQ(virtualSlot(&InvalidMessage::clone), virtualSlot(&MessageBase::clone));
    EXPECT_EQ(virtualSlot(&InvalidMessage::toString), virtualSlot(&MessageBase::toString));
}

}  // namespace
