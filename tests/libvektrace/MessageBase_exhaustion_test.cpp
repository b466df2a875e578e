// Decoding tried to exhaustion: every input of up to three bytes, and every single-byte change and
// every length of one record of each kind, against the plain decoder.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <memory>
#include <sstream>
#include <vector>

#include "examples/ethernet/EthernetMessage.h"
#include "libvektrace/MessageBase.h"
#include "support/GuardedBuffer.h"
#include "support/PlainDecoder.h"
#include "support/Settings.h"
#include "support/hex.h"

namespace {

class Exhaustion : public testing::Test {
protected:
    Exhaustion() {
        MessageBase::registerMessages();
        MessageBase::registerMessage(MSGID_ETHERNET_RX, EthernetMessage::readFromByteArray);
    }

    /// Decodes under a policy.
    static std::unique_ptr<MessageBase> decode(const GuardedBuffer& record,
                                               MessageBase::invalidMsgHandling_t policy) {
        MessageBase::setInvalidMsgHandling(policy);
        return std::unique_ptr<MessageBase>(
            MessageBase::readFromByteArray(record.data(), record.size()));
    }

private:
    LibrarySettings settings;
};

constexpr auto RETURN_NULL = MessageBase::IMH_RETURN_NULL;
constexpr auto RETURN_MESSAGE = MessageBase::IMH_RETURN_INVALID_MESSAGE;

// ---- Comparing whole messages ------------------------------------------------------------------

void compareInvalid(const InvalidMessage& message, const plain::Decoded& expected) {
    ASSERT_EQ(message.getCause(), expected.cause);
    ASSERT_EQ(message.getOriginalMsgId(), expected.id);
    ASSERT_EQ(message.getRawData(), expected.payload);
    ASSERT_EQ(message.getInvalidEnumValue(), expected.enumValue);
    ASSERT_EQ(message.getInvalidEnumDescription(), expected.enumDescription);
    ASSERT_FALSE(message.isOverflow());
}

void compareEncoding(const MessageBase& message, const plain::Decoded& expected) {
    byteVec_t encoded;
    ASSERT_EQ(message.createByteArray(encoded, false, false), expected.result);
    ASSERT_EQ(encoded, expected.encoded);
    // Only an invalid message's result does not count the marker.
    ASSERT_EQ(message.createByteArray(encoded, true, true),
              expected.result + (expected.valid ? 2 : 0));
    byteVec_t twice = expected.encoded;
    twice.insert(twice.end(), {0x55, 0xAA});
    twice.insert(twice.end(), expected.encoded.begin(), expected.encoded.end());
    ASSERT_EQ(encoded, twice);
}

void compare(const MessageBase& message, const plain::Decoded& expected) {
    const auto* const invalid = dynamic_cast<const InvalidMessage*>(&message);
    ASSERT_EQ(invalid == nullptr, expected.valid);
    if (invalid != nullptr) {
        compareInvalid(*invalid, expected);
    }
    ASSERT_EQ(message.getMessageId(), expected.valid ? expected.id : 0xFFFF);
    ASSERT_EQ(message.getHeaderReserved(), expected.reserved);
    ASSERT_EQ(message.getTimeStamp(), expected.timeStamp);
    ASSERT_EQ(message.toString(), expected.text);
    std::ostringstream os;
    message.print(os);
    ASSERT_EQ(os.str(), expected.text);
    compareEncoding(message, expected);
}

/// Decodes a record under both policies, and compares all that comes of it, its copy too.
class Comparison : public Exhaustion {
protected:
    void decodeAndCompare(const byteVec_t& record) {
        // Records of one length lie in the same memory, as it takes long to guard it.
        if (guarded == nullptr || guarded->size() != record.size()) {
            guarded = std::make_unique<GuardedBuffer>(record.size());
        }
        std::copy(record.begin(), record.end(), guarded->data());
        const plain::Decoded expected = plain::decode(record);
        const auto underNull = decode(*guarded, RETURN_NULL);
        ASSERT_EQ(underNull != nullptr, expected.valid);
        auto message = decode(*guarded, RETURN_MESSAGE);
        ASSERT_NE(message, nullptr);
        compare(*message, expected);
        const std::unique_ptr<MessageBase> copy(message->clone());
        ASSERT_EQ(*copy == *message, expected.valid) << "an invalid message equals nothing";
        ASSERT_EQ(underNull != nullptr && *underNull == *message, expected.valid);
        message.reset();
        compare(*copy, expected);
        ASSERT_EQ(guarded->content(), record) << "decoding writes nothing";
    }

private:
    std::unique_ptr<GuardedBuffer> guarded;
};

// ---- One record of each kind -------------------------------------------------------------------

struct RecordCase {
    const char* kind;
    const char* record;
};

const RecordCase RECORDS[] = {
    {"STARTUP", "00 0C 00 85 BE EF 00 04 62 D5 3C 8A BA C0"},
    {"DATALOGGINGSTARTED", "00 0C 00 84 BE EF 00 04 62 D5 3C 8A BA C0"},
    {"DATALOGGINGSTOPPED", "00 0C 00 83 BE EF 00 04 62 D5 3C 8A BA C0"},
    {"GETVERSION", "00 0C 80 03 BE EF 00 04 62 D5 3C 8A BA C0"},
    {"GETTIME", "00 0C 80 05 BE EF 00 04 62 D5 3C 8A BA C0"},
    {"TIMEJUMP", "00 0C 00 82 BE EF 00 04 62 D5 3C 8A BA C0"},
    {"START", "00 0C 80 20 BE EF 00 04 62 D5 3C 8A BA C0"},
    {"STOP", "00 0C 80 21 BE EF 00 04 62 D5 3C 8A BA C0"},
    {"TRIGGERCLEAR", "00 0C 00 89 BE EF 00 04 62 D5 3C 8A BA C0"},
    {"CUSTOMER", "00 0C 01 00 BE EF 00 04 62 D5 3C 8A BA C0"},
    {"none, written back as an invalid one", "00 10 FF FF 00 00 00 04 62 D5 3C 8A BA C0 AA BB"},
    {"Ethernet, whole",
     "00 22 00 04 BE EF 00 04 62 D5 3C 8A BA C0 03 01 00 00 00 10"
     "01 02 03 04 05 06 11 12 13 14 15 16 08 00 AA BB"},
    {"Ethernet, cut", "00 16 00 04 BE EF 00 04 62 D5 3C 8A BA C0 03 02 00 00 05 EA 01 02 03 04"},
};

TEST_F(Comparison, EverySingleByteChangeOfOneRecordOfEachKind) {
    for (const RecordCase& c : RECORDS) {
        SCOPED_TRACE(c.kind);
        const byteVec_t whole = bytes(c.record);
        for (size_t place = 0; place < whole.size(); ++place) {
            byteVec_t record = whole;
            for (unsigned value = 0; value < 256; ++value) {
                record[place] = static_cast<uint8_t>(value);
                ASSERT_NO_FATAL_FAILURE(decodeAndCompare(record)) << hex(record);
            }
        }
    }
}

TEST_F(Comparison, EveryLengthOfOneRecordOfEachKindAndSomeBytesMore) {
    for (const RecordCase& c : RECORDS) {
        SCOPED_TRACE(c.kind);
        byteVec_t record = bytes(c.record);
        record.insert(record.end(), 20, 0x55);
        for (;; record.pop_back()) {
            ASSERT_NO_FATAL_FAILURE(decodeAndCompare(record)) << hex(record);
            if (record.empty()) {
                break;
            }
        }
    }
}

TEST_F(Comparison, EveryIdentifierWithItsSizeAndWithAnother) {
    for (const char* const size : {"00 0C", "00 0D"}) {
        byteVec_t record = bytes(std::string(size) + "00 00 BE EF 00 04 62 D5 3C 8A BA C0");
        for (unsigned id = 0; id <= 0xFFFF; ++id) {
            record[2] = static_cast<uint8_t>(id >> 8);
            record[3] = static_cast<uint8_t>(id);
            ASSERT_NO_FATAL_FAILURE(decodeAndCompare(record)) << hex(record);
        }
    }
}

// ---- Every input of up to three bytes ----------------------------------------------------------

TEST_F(Comparison, EveryInputOfUpToTwoBytes) {
    ASSERT_NO_FATAL_FAILURE(decodeAndCompare({}));
    for (unsigned first = 0; first < 256; ++first) {
        byteVec_t record = {static_cast<uint8_t>(first)};
        ASSERT_NO_FATAL_FAILURE(decodeAndCompare(record)) << hex(record);
        record.push_back(0);
        for (unsigned second = 0; second < 256; ++second) {
            record[1] = static_cast<uint8_t>(second);
            ASSERT_NO_FATAL_FAILURE(decodeAndCompare(record)) << hex(record);
        }
    }
}

/// Of three bytes there are 16 million, so what each becomes is compared without words. All that
/// is expected of one follows from its third byte.
class ThreeBytes : public Exhaustion, public testing::WithParamInterface<unsigned> {
protected:
    static constexpr unsigned SHARES = 16;

    ThreeBytes() {
        for (unsigned third = 0; third < 256; ++third) {
            expected[third] = plain::decode({0, 0, static_cast<uint8_t>(third)});
        }
    }

    static bool isAsExpected(const InvalidMessage& message, const plain::Decoded& expected) {
        return message.getCause() == IM_INVALID_LEN && message.getOriginalMsgId() == expected.id &&
               static_cast<const MessageBase&>(message).getTimeStamp() == 0 &&
               message.getHeaderReserved() == 0 && message.getRawData().empty() &&
               message.getInvalidEnumValue() == 0 && message.getInvalidEnumDescription().empty() &&
               !message.isOverflow() && message.toString() == expected.text;
    }

    bool decodesAsExpected(const GuardedBuffer& record) {
        const plain::Decoded& all = expected[record.data()[2]];
        if (decode(record, RETURN_NULL) != nullptr) {
            return false;
        }
        const auto message = decode(record, RETURN_MESSAGE);
        const auto* const invalid = dynamic_cast<const InvalidMessage*>(message.get());
        if (invalid == nullptr || !isAsExpected(*invalid, all)) {
            return false;
        }
        const std::unique_ptr<InvalidMessage> copy(invalid->clone());
        return isAsExpected(*copy, all) &&
               message->createByteArray(encoded, false, false) == all.result &&
               encoded == all.encoded;
    }

private:
    std::array<plain::Decoded, 256> expected;
    byteVec_t encoded;
};

TEST_P(ThreeBytes, EveryOneOfThemIsAnInvalidLength) {
    const GuardedBuffer record(3);
    for (unsigned first = GetParam(); first < 256; first += SHARES) {
        record.data()[0] = static_cast<uint8_t>(first);
        for (unsigned second = 0; second < 256; ++second) {
            record.data()[1] = static_cast<uint8_t>(second);
            for (unsigned third = 0; third < 256; ++third) {
                record.data()[2] = static_cast<uint8_t>(third);
                ASSERT_TRUE(decodesAsExpected(record)) << hex(record.content());
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Exhaustion, ThreeBytes, testing::Range(0u, 16u));

}  // namespace
