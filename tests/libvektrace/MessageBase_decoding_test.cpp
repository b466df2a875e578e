// Decoding: the registry of creators, and the way from bytes to a message or what stands in for it.

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>

#include "libvektrace/MessageBase.h"
#include "libvektrace/SimpleMessage.h"
#include "support/GuardedBuffer.h"
#include "support/Settings.h"
#include "support/TestMessage.h"
#include "support/hex.h"

namespace {

constexpr auto RETURN_NULL = MessageBase::IMH_RETURN_NULL;
constexpr auto RETURN_MESSAGE = MessageBase::IMH_RETURN_INVALID_MESSAGE;

const char* const RECORD = "00 0E 80 20 BE EF 01 02 03 04 05 06 07 08 AA BB";

std::unique_ptr<MessageBase> decode(const byteVec_t& record, int policy) {
    MessageBase::setInvalidMsgHandling(static_cast<MessageBase::invalidMsgHandling_t>(policy));
    const GuardedBuffer guarded(record);
    return std::unique_ptr<MessageBase>(
        MessageBase::readFromByteArray(guarded.data(), guarded.size()));
}

/// Decodes under the policy that returns a message; fails the test when it is not an invalid one.
std::unique_ptr<InvalidMessage> decodeInvalid(const byteVec_t& record) {
    auto message = decode(record, RETURN_MESSAGE);
    auto* invalid = dynamic_cast<InvalidMessage*>(message.get());
    if (invalid == nullptr) {
        throw std::runtime_error("not an InvalidMessage");
    }
    message.release();
    return std::unique_ptr<InvalidMessage>(invalid);
}

MessageBase* otherCreator(const uint8_t*, size_t) { return new TestMessage(MSGID_PING); }
MessageBase* nullCreator(const uint8_t*, size_t) { return nullptr; }

/// Puts the library's settings back after each test.
class Registry : public testing::Test {
    LibrarySettings settings;
};

class Factory : public testing::Test {
protected:
    Factory() { MessageBase::registerMessage(MSGID_START, TestMessage::readFromByteArray); }

private:
    LibrarySettings settings;
};

// ---- The registry ------------------------------------------------------------------------------

TEST_F(Registry, TheFirstRegistrationOfAnIdentifierWins) {
    EXPECT_TRUE(MessageBase::registerMessage(MSGID_START, TestMessage::readFromByteArray));
    EXPECT_FALSE(MessageBase::registerMessage(MSGID_START, otherCreator));
    EXPECT_EQ(MessageBase::creators.at(MSGID_START), TestMessage::readFromByteArray);
    EXPECT_EQ(decode(bytes(RECORD), RETURN_NULL)->getMessageId(), MSGID_START);
}

TEST_F(Registry, ANullCreatorRemovesTheEntryOnce) {
    MessageBase::registerMessage(MSGID_START, TestMessage::readFromByteArray);
    EXPECT_TRUE(MessageBase::registerMessage(MSGID_START, nullptr));
    EXPECT_FALSE(MessageBase::registerMessage(MSGID_START, nullptr));
    EXPECT_EQ(decode(bytes(RECORD), RETURN_NULL), nullptr);
    EXPECT_EQ(decodeInvalid(bytes(RECORD))->getCause(), IM_INVALID_MSGID);
}

TEST_F(Registry, ReplacingTakesARemovalAndANewRegistration) {
    MessageBase::registerMessage(MSGID_START, TestMessage::readFromByteArray);
    MessageBase::registerMessage(MSGID_START, nullptr);
    EXPECT_TRUE(MessageBase::registerMessage(MSGID_START, otherCreator));
    EXPECT_EQ(decode(bytes(RECORD), RETURN_NULL)->getMessageId(), MSGID_PING);
}

TEST_F(Registry, ANullCreatorForAnUnknownIdentifierInsertsNothing) {
    EXPECT_FALSE(MessageBase::registerMessage(MSGID_START, nullptr));
    EXPECT_TRUE(MessageBase::creators.empty());
}

TEST_F(Registry, NoIdentifierIsReserved) {
    EXPECT_TRUE(MessageBase::registerMessage(MSGID_INVALID, otherCreator));
    EXPECT_TRUE(MessageBase::registerMessage(static_cast<msgid_t>(0x000F), otherCreator));
    EXPECT_NE(decode(bytes("00 0C FF FF"), RETURN_NULL), nullptr);
}

TEST_F(Registry, RegisterMessagesRegistersTheTenHeaderOnlyTypesAndNoOther) {
    MessageBase::registerMessages();
    EXPECT_EQ(MessageBase::creators.size(), 10u);
    for (const msgid_t id : {MSGID_STARTUP, MSGID_DATALOGGINGSTARTED, MSGID_DATALOGGINGSTOPPED,
                             MSGID_GETVERSION, MSGID_GETTIME, MSGID_TIMEJUMP, MSGID_START,
                             MSGID_STOP, MSGID_TRIGGERCLEAR, MSGID_CUSTOMER}) {
        byteVec_t record = bytes("00 0C 00 00 00 07 00 00 00 00 00 00 00 05");
        uint16ToByteArray(record.data() + MessageBase::MO_MSGID, id);
        const auto message = decode(record, RETURN_NULL);
        ASSERT_NE(message, nullptr) << id;
        EXPECT_EQ(message->getMessageId(), id);
        EXPECT_EQ(message->getHeaderReserved(), 7) << id;
    }
}

TEST_F(Registry, RegisterMessagesMayBeCalledAgainAndKeepsWhatWasThere) {
    MessageBase::registerMessage(MSGID_START, otherCreator);
    MessageBase::registerMessages();
    MessageBase::registerMessages();
    EXPECT_EQ(MessageBase::creators.size(), 10u);
    EXPECT_EQ(MessageBase::creators.at(MSGID_START), otherCreator);
    EXPECT_EQ(MessageBase::creators.count(MSGID_INVALID), 0u);
}

// ---- Records that decode -----------------------------------------------------------------------

TEST_F(Factory, ARecordBecomesTheMessageOfItsIdentifier) {
    for (const auto policy : {RETURN_NULL, RETURN_MESSAGE}) {
        const auto message = decode(bytes(RECORD), policy);
        const auto& decoded = dynamic_cast<const TestMessage&>(*message);
        EXPECT_EQ(decoded.getMessageId(), MSGID_START);
        EXPECT_EQ(decoded.getHeaderReserved(), 0xBEEF);
        EXPECT_EQ(decoded.getTimeStamp(), 0x0102030405060708u);
        EXPECT_EQ(hex(decoded.payload), "AA BB");
    }
}

TEST_F(Factory, EncodingWhatWasDecodedGivesTheSameBytes) {
    byteVec_t record;
    decode(bytes(RECORD), RETURN_NULL)->createByteArray(record, false, false);
    EXPECT_EQ(hex(record), RECORD);
}

const uint8_t* seenPointer = nullptr;
size_t seenLength = 0;

MessageBase* notingCreator(const uint8_t* data, size_t len) {
    seenPointer = data;
    seenLength = len;
    return new TestMessage;
}

TEST_F(Registry, TheCreatorGetsTheSamePointerAndLength) {
    MessageBase::registerMessage(MSGID_START, notingCreator);
    const GuardedBuffer record(bytes("00 0C 80 20"));
    // Of the length only the comparison with 4 is the factory's: whatever it is, it is handed on.
    for (const size_t len : {size_t{4}, size_t{5}, size_t{70000}, SIZE_MAX}) {
        const std::unique_ptr<MessageBase> message(
            MessageBase::readFromByteArray(record.data(), len));
        EXPECT_NE(message, nullptr);
        EXPECT_EQ(seenPointer, record.data());
        EXPECT_EQ(seenLength, len);
    }
}

TEST_F(Registry, TheSizeFieldIsNotComparedWithTheLength) {
    MessageBase::registerMessage(MSGID_START, notingCreator);
    EXPECT_NE(decode(bytes("FF FF 80 20"), RETURN_NULL), nullptr);
    EXPECT_NE(decode(bytes("00 00 80 20"), RETURN_NULL), nullptr);
}

TEST_F(Registry, ANullFromTheCreatorStaysNullUnderBothPolicies) {
    MessageBase::registerMessage(MSGID_START, nullCreator);
    EXPECT_EQ(decode(bytes(RECORD), RETURN_NULL), nullptr);
    EXPECT_EQ(decode(bytes(RECORD), RETURN_MESSAGE), nullptr);
}

// ---- Records that do not -----------------------------------------------------------------------

TEST_F(Factory, UnderTheNullPolicyNotAByteOfAShortRecordIsRead) {
    MessageBase::setInvalidMsgHandling(RETURN_NULL);
    const GuardedBuffer nothing(0);
    for (size_t len = 0; len < 4; ++len) {
        EXPECT_EQ(MessageBase::readFromByteArray(nothing.data(), len), nullptr);
    }
}

TEST_F(Factory, ANullPointerWithLengthZeroIsFineUnderBothPolicies) {
    MessageBase::setInvalidMsgHandling(RETURN_NULL);
    EXPECT_EQ(MessageBase::readFromByteArray(nullptr, 0), nullptr);
    MessageBase::setInvalidMsgHandling(RETURN_MESSAGE);
    const std::unique_ptr<MessageBase> message(MessageBase::readFromByteArray(nullptr, 0));
    EXPECT_EQ(dynamic_cast<InvalidMessage&>(*message).getCause(), IM_INVALID_LEN);
}

TEST_F(Factory, EveryLengthFrom0To40UnderBothPolicies) {
    const byteVec_t whole = bytes(
        "00 26 80 20 BE EF 01 02 03 04 05 06 07 08 10 11 12 13 14 15"
        "16 17 18 19 1A 1B 1C 1D 1E 1F 20 21 22 23 24 25 26 27 28 29");
    for (size_t len = 0; len <= whole.size(); ++len) {
        const byteVec_t record(whole.begin(), whole.begin() + static_cast<ptrdiff_t>(len));
        const bool decodes = len >= 14;
        EXPECT_EQ(decode(record, RETURN_NULL) != nullptr, decodes) << len;
        const auto message = decode(record, RETURN_MESSAGE);
        ASSERT_NE(message, nullptr) << len;
        EXPECT_EQ(message->getMessageId(), decodes ? MSGID_START : MSGID_INVALID) << len;
    }
}

TEST_F(Factory, EveryLengthOfAnUnknownRecordKeepsWhatExists) {
    const byteVec_t whole = bytes(
        "00 26 0A B5 BE EF 01 02 03 04 05 06 07 08 10 11 12 13 14 15"
        "16 17 18 19 1A 1B 1C 1D 1E 1F 20 21 22 23 24 25 26 27 28 29");
    for (size_t len = 0; len <= whole.size(); ++len) {
        const byteVec_t record(whole.begin(), whole.begin() + static_cast<ptrdiff_t>(len));
        byteVec_t header = record;
        header.resize(std::max<size_t>(14, len));
        EXPECT_EQ(decode(record, RETURN_NULL), nullptr) << len;
        const auto message = decodeInvalid(record);
        EXPECT_EQ(message->getCause(), len < 4 ? IM_INVALID_LEN : IM_INVALID_MSGID) << len;
        EXPECT_EQ(message->getOriginalMsgId(), MessageBase::getMessageId(header)) << len;
        EXPECT_EQ(message->getTimeStamp(), MessageBase::getTimeStamp(header)) << len;
        EXPECT_EQ(message->getRawData(), byteVec_t(header.begin() + 14, header.end())) << len;
    }
}

TEST_F(Factory, AnUnknownIdentifierCarriesNeitherTextNorValue) {
    const auto message = decodeInvalid(bytes("00 0C 12 34"));
    EXPECT_EQ(message->getCause(), IM_INVALID_MSGID);
    EXPECT_EQ(message->getInvalidEnumValue(), 0);
    EXPECT_EQ(message->getInvalidEnumDescription(), "");
    EXPECT_EQ(message->getDescription(), "Invalid Message");
}

TEST_F(Factory, APolicyThatIsNeitherActsAsNull) {
    for (const int policy : {2, -1, 7, 256, 0x101}) {
        EXPECT_EQ(decode(bytes("00 0C 12 34"), policy), nullptr) << policy;
        EXPECT_EQ(decode(bytes("00"), policy), nullptr) << policy;
    }
}

// ---- Creators that throw -----------------------------------------------------------------------

const char* const LONG_TEXT = "a description that is longer than any small string holds";

template <int cause>
MessageBase* throwingCreator(const uint8_t*, size_t) {
    const std::string text(LONG_TEXT);  // gone when the exception is caught
    throw InvalidMessageException(static_cast<invalidMessageCause_t>(cause), text.c_str(), 7);
}

template <int cause>
std::unique_ptr<InvalidMessage> decodeThrown() {
    MessageBase::registerMessage(MSGID_START, nullptr);
    MessageBase::registerMessage(MSGID_START, throwingCreator<cause>);
    EXPECT_EQ(decode(bytes(RECORD), RETURN_NULL), nullptr);
    return decodeInvalid(bytes(RECORD));
}

TEST_F(Factory, ABadEnumerationValueComesWithValueAndDescription) {
    const auto message = decodeThrown<IM_INVALID_ENUM_VALUE>();
    EXPECT_EQ(message->getCause(), IM_INVALID_ENUM_VALUE);
    EXPECT_EQ(message->getInvalidEnumValue(), 7);
    EXPECT_EQ(message->getInvalidEnumDescription(), LONG_TEXT);
    EXPECT_EQ(message->getOriginalMsgId(), MSGID_START);
    EXPECT_EQ(hex(message->getRawData()), "AA BB");
}

template <int cause>
void expectCauseOnly() {
    const auto message = decodeThrown<cause>();
    EXPECT_EQ(message->getCause(), cause);
    EXPECT_EQ(message->getInvalidEnumValue(), 0) << cause;
    EXPECT_EQ(message->getInvalidEnumDescription(), "") << cause;
}

TEST_F(Factory, OfEveryOtherCauseOnlyTheCauseIsCarried) {
    expectCauseOnly<IM_INVALID_MSGID>();
    expectCauseOnly<IM_INVALID_LEN>();
    expectCauseOnly<IM_INVALID_PARAMETER>();
    expectCauseOnly<IM_MISC>();
    expectCauseOnly<0>();
    expectCauseOnly<4711>();
}

class DerivedException : public InvalidMessageException {
public:
    DerivedException() : InvalidMessageException(IM_INVALID_ENUM_VALUE, "base", 9) {}
    const char* what() const noexcept override { return "derived"; }
};

MessageBase* deepCreator(const uint8_t*, size_t) {
    const auto nested = [] { throw DerivedException(); };
    nested();
    return nullptr;
}

TEST_F(Registry, ADerivedExceptionFromAnyDepthIsCaughtAndAskedVirtually) {
    MessageBase::registerMessage(MSGID_START, deepCreator);
    EXPECT_EQ(decodeInvalid(bytes(RECORD))->getInvalidEnumDescription(), "derived");
}

MessageBase* outOfMemoryCreator(const uint8_t*, size_t) { throw std::bad_alloc(); }
MessageBase* runtimeErrorCreator(const uint8_t*, size_t) { throw std::runtime_error("foreign"); }
MessageBase* intCreator(const uint8_t*, size_t) { throw 5; }

/// What comes out of decoding a record with the identifier `id`, in words.
std::string outcome(msgid_t id, int policy) {
    byteVec_t record = bytes(RECORD);
    uint16ToByteArray(record.data() + MessageBase::MO_MSGID, id);
    try {
        decode(record, policy);
        return "nothing";
    } catch (const std::bad_alloc&) {
        return "out of memory";
    } catch (const std::runtime_error& e) {
        return e.what();
    } catch (int number) {
        return std::to_string(number);
    }
}

TEST_F(Registry, EveryOtherExceptionPassesUnchangedUnderBothPolicies) {
    MessageBase::registerMessage(MSGID_START, outOfMemoryCreator);
    MessageBase::registerMessage(MSGID_STOP, intCreator);
    MessageBase::registerMessage(MSGID_PING, runtimeErrorCreator);
    for (const auto policy : {RETURN_NULL, RETURN_MESSAGE}) {
        EXPECT_EQ(outcome(MSGID_START, policy), "out of memory");
        EXPECT_EQ(outcome(MSGID_STOP, policy), "5");
        EXPECT_EQ(outcome(MSGID_PING, policy), "foreign");
    }
}

// ---- Lengths near the maximum ------------------------------------------------------------------

TEST_F(Registry, OnlyTheHeaderAnd65536BytesAreReadOfAnyLength) {
    MessageBase::setInvalidMsgHandling(RETURN_MESSAGE);
    byteVec_t content(14 + 65536);
    content[3] = 1;
    const GuardedBuffer record(content);
    for (const size_t len : {size_t{14 + 65537}, SIZE_MAX / 2, SIZE_MAX}) {
        const std::unique_ptr<MessageBase> message(
            MessageBase::readFromByteArray(record.data(), len));
        const auto& invalid = dynamic_cast<const InvalidMessage&>(*message);
        EXPECT_EQ(invalid.getRawData().size(), 65536u);
        EXPECT_TRUE(invalid.isOverflow());
    }
}

}  // namespace
