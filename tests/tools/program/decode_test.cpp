#include "tools/vektrace/program/decode.h"

#include <gtest/gtest.h>

#include <new>
#include <stdexcept>

#include "libvektrace/SimpleMessage.h"
#include "support/Settings.h"
#include "support/TestMessage.h"

namespace vek::program {
namespace {

// Creators that fail in every way there is.
MessageBase* returnNothing(const uint8_t*, size_t) { return nullptr; }
MessageBase* throwError(const uint8_t*, size_t) { throw std::runtime_error("odd"); }
MessageBase* throwNumber(const uint8_t*, size_t) { throw 7; }
MessageBase* throwNoMemory(const uint8_t*, size_t) { throw std::bad_alloc(); }
MessageBase* throwIdentifier(const uint8_t*, size_t) {
    throw InvalidMessageException(IM_INVALID_MSGID, "not mine");
}
MessageBase* throwValue(const uint8_t*, size_t) {
    throw InvalidMessageException(IM_INVALID_ENUM_VALUE, "colour", 3);
}

MessageBase* throwUnknownCause(const uint8_t*, size_t) {
    throw InvalidMessageException(static_cast<invalidMessageCause_t>(77), "");
}

class Decode : public testing::Test {
protected:
    Decode() {
        MessageBase::setInvalidMsgHandling(MessageBase::IMH_RETURN_INVALID_MESSAGE);
        SimpleMessage<MSGID_STARTUP>(5).createByteArray(bytes, true, false);
        span.data = bytes.data();
        span.length = bytes.size();
        span.marked = true;
    }

    Decoded decodeWith(pCreatorFunction creator) {
        MessageBase::registerMessage(MSGID_STARTUP, nullptr);
        MessageBase::registerMessage(MSGID_STARTUP, creator);
        return decode(span);
    }

    void expectRefused(pCreatorFunction creator, const char* reason) {
        const Decoded decoded = decodeWith(creator);
        EXPECT_EQ(decoded.decoding, DECODING_REFUSED);
        EXPECT_EQ(decoded.reason, reason);
    }

    LibrarySettings settings;
    byteVec_t bytes;
    TraceSpan span;
};

TEST_F(Decode, GivesTheMessage) {
    const Decoded decoded = decodeWith(SimpleMessage<MSGID_STARTUP>::readFromByteArray);
    EXPECT_EQ(decoded.decoding, DECODING_DONE);
    EXPECT_EQ(*decoded.message, SimpleMessage<MSGID_STARTUP>(5));
    EXPECT_EQ(decoded.reason, "");
}

TEST_F(Decode, AnIdentifierWithoutACreatorIsNoFault) {
    MessageBase::registerMessage(MSGID_STARTUP, nullptr);
    const Decoded decoded = decode(span);
    EXPECT_EQ(decoded.decoding, DECODING_UNREGISTERED);
    EXPECT_NE(dynamic_cast<InvalidMessage*>(decoded.message.get()), nullptr);
}

TEST_F(Decode, TellsWhyACreatorRefused) {
    expectRefused(throwIdentifier, "invalid identifier");
    expectRefused(throwValue, "invalid value 3 of colour");
    expectRefused(throwUnknownCause, "cause 77");
    EXPECT_NE(decodeWith(throwValue).message, nullptr);
}

TEST_F(Decode, OutlivesWhateverACreatorDoes) {
    expectRefused(returnNothing, "its decoder returned no message");
    expectRefused(throwError, "its decoder failed: odd");
    expectRefused(throwNumber, "its decoder failed: unknown exception");
}

TEST_F(Decode, ShowsThePayloadWhateverACreatorDoes) {
    TestMessage(MSGID_STARTUP, 5, {0x01, 0xFF}).createByteArray(bytes, true, false);
    span.data = bytes.data();
    span.length = bytes.size();
    EXPECT_EQ(decodeWith(returnNothing).message->toString(),
              "1970-01-01 00:00:00.000005  Not decodable, its decoder returned no message: "
              "Id=0x85, n=2 01 ff");
    EXPECT_EQ(decodeWith(throwError).message->toString(),
              "1970-01-01 00:00:00.000005  Not decodable, its decoder failed: odd: "
              "Id=0x85, n=2 01 ff");
}

TEST_F(Decode, DoesNotHideThatThereIsNoMemory) {
    EXPECT_THROW(decodeWith(throwNoMemory), std::bad_alloc);
}

TEST_F(Decode, HeaderFieldsAreReadBehindTheMarker) {
    EXPECT_EQ(identifierOf(span), MSGID_STARTUP);
    EXPECT_EQ(timeOf(span), 5U);
    EXPECT_EQ(reservedOf(span), 0U);
}

}  // namespace
}  // namespace vek::program
