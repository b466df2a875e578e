// The one-line text of a record that could not be decoded.

#include <gtest/gtest.h>

#include <sstream>

#include "libvektrace/MessageBase.h"
#include "support/PlainText.h"
#include "support/hex.h"
#include "support/streams.h"

namespace {

const std::string TIME = "1970-01-01 00:00:00.000001";

InvalidMessage invalid(unsigned id, const char* payload = "") {
    byteVec_t record = bytes("00 00 00 00 00 00 00 00 00 00 00 00 00 01");
    uint16ToByteArray(record.data() + MessageBase::MO_MSGID, static_cast<uint16_t>(id));
    const byteVec_t tail = bytes(payload);
    record.insert(record.end(), tail.begin(), tail.end());
    return {record.data(), record.size()};
}

std::string text(const InvalidMessage& message) {
    std::ostringstream os;
    os << message;
    return os.str();
}

TEST(InvalidMessageText, HasTitleIdentifierLengthAndBytes) {
    EXPECT_EQ(text(invalid(0x5, "01 FF")), TIME + "  Invalid Message: Id=0x05, n=2 01 ff");
}

TEST(InvalidMessageText, TheIdentifierHasAtLeastTwoDigitsAndGrows) {
    EXPECT_EQ(text(invalid(0)), TIME + "  Invalid Message: Id=0x00, n=0 ");
    EXPECT_EQ(text(invalid(0xab)), TIME + "  Invalid Message: Id=0xab, n=0 ");
    EXPECT_EQ(text(invalid(0x123)), TIME + "  Invalid Message: Id=0x123, n=0 ");
    EXPECT_EQ(text(invalid(0xab5)), TIME + "  Invalid Message: Id=0xab5, n=0 ");
    EXPECT_EQ(text(invalid(0x1000)), TIME + "  Invalid Message: Id=0x1000, n=0 ");
    EXPECT_EQ(text(invalid(0xffff)), TIME + "  Invalid Message: Id=0xffff, n=0 ");
}

TEST(InvalidMessageText, AnInvalidLengthFollowsTheIdentifierWithoutSeparator) {
    InvalidMessage message = invalid(0xab);
    message.setCause(IM_INVALID_LEN);
    EXPECT_EQ(text(message), TIME + "  Invalid Message: Id=0xabInvalid message length, n=0 ");
}

TEST(InvalidMessageText, ABadEnumerationValueShowsDescriptionAndValue) {
    InvalidMessage message = invalid(0xab, "00");
    message.setInvalidEnumValue(0x3, "colour");
    EXPECT_EQ(text(message),
              TIME + "  Invalid Message: Id=0xab, Invalid enum value 'colour'=0x03, n=1 00");
    message.setInvalidEnumValue(0xABCD, "");
    EXPECT_EQ(text(message),
              TIME + "  Invalid Message: Id=0xab, Invalid enum value ''=0xabcd, n=1 00");
}

TEST(InvalidMessageText, OtherCausesAddNoWords) {
    for (const int cause :
         {IM_INVALID_MSGID + 0, IM_INVALID_PARAMETER + 0, IM_MISC + 0, 0, -1, 77}) {
        InvalidMessage message = invalid(0xab);
        message.setInvalidEnumValue(3, "colour");
        message.setCause(static_cast<invalidMessageCause_t>(cause));
        EXPECT_EQ(text(message), TIME + "  Invalid Message: Id=0xab, n=0 ") << cause;
    }
}

TEST(InvalidMessageText, AnEmptyPayloadEndsWithTheBlank) {
    EXPECT_EQ(text(invalid(1)).substr(TIME.size()), "  Invalid Message: Id=0x01, n=0 ");
}

TEST(InvalidMessageText, TheLengthIsDecimalAmidHexadecimal) {
    const std::string payload(2 * 26, '1');
    std::string dump = "11";
    for (int i = 1; i < 26; ++i) {
        dump += " 11";
    }
    EXPECT_EQ(text(invalid(0x1a, payload.c_str())),
              TIME + "  Invalid Message: Id=0x1a, n=26 " + dump);
}

TEST(InvalidMessageText, ASourceStandsInFront) {
    InvalidMessage message = invalid(5);
    message.source = "logger 1";
    EXPECT_EQ(text(message), "logger 1: " + TIME + "  Invalid Message: Id=0x05, n=0 ");
}

TEST(InvalidMessageText, TheTitleCanBeReplaced) {
    InvalidMessage message = invalid(5);
    message.setDescription("Lost");
    EXPECT_EQ(text(message), TIME + "  Lost: Id=0x05, n=0 ");
}

TEST(InvalidMessageText, ACutPayloadEndsInTheMisspeltMark) {
    const byteVec_t record(14 + 65537);
    const InvalidMessage message(record.data(), record.size());
    const std::string whole = text(message);
    const std::string mark = " 00 *** OVERRFLOW";
    EXPECT_EQ(whole.substr(whole.size() - mark.size()), mark);
    EXPECT_NE(whole.find(", n=65536 00 00"), std::string::npos);
    EXPECT_EQ(message.toString(), whole);
}

TEST(InvalidMessageText, PrintAndToStringGiveTheSame) {
    InvalidMessage message = invalid(0xab5, "01 02 03");
    message.source = "logger 1";
    message.setInvalidEnumValue(7, "a description that is longer than any small string");
    const MessageBase& base = message;
    std::ostringstream os;
    EXPECT_EQ(&base.print(os), &os);
    EXPECT_EQ(os.str(), text(message));
    EXPECT_EQ(base.toString(), text(message));
}

TEST(InvalidMessageText, AnUppercaseShowbaseLeftStreamGetsThemBack) {
    std::ostringstream os;
    os << std::uppercase << std::showbase << std::left << std::dec;
    os.fill('*');
    os.width(100);
    const auto flags = os.flags();
    os << invalid(0xab, "0A");
    EXPECT_EQ(os.str(), TIME + "  Invalid Message: Id=0xab, n=1 0a");
    EXPECT_EQ(os.flags(), flags);
    EXPECT_EQ(os.fill(), '*');
    EXPECT_EQ(os.width(), 0);
}

TEST(InvalidMessageText, EqualsThePlainTextForEveryPayloadLengthAroundTheBuffersEnd) {
    for (size_t length = 0; length < 1200; ++length) {
        const byteVec_t record(14 + length, 0xA5);
        InvalidMessage message(record.data(), record.size());
        message.source.assign(length % 7, 's');
        std::ostringstream os;
        plain::invalidMessage(os, message);
        ASSERT_EQ(text(message), os.str()) << length;
        ASSERT_EQ(message.toString(), os.str()) << length;
    }
}

TEST(InvalidMessageText, LongTextsInEveryPlaceAreWrittenWhole) {
    for (const size_t length : {900u, 1000u, 1023u, 1024u, 1025u, 3000u}) {
        InvalidMessage message = invalid(0x1234, "01 02");
        message.source.assign(length, 's');
        message.setDescription(std::string(length, 'd').c_str());
        message.setInvalidEnumValue(1, std::string(length, 'e'));
        std::ostringstream os;
        plain::invalidMessage(os, message);
        EXPECT_EQ(text(message), os.str());
        EXPECT_EQ(message.toString(), os.str());
    }
}

}  // namespace
