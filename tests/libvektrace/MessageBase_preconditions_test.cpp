// What is left to the caller: which bytes a call touches where nothing checks that they are there,
// and that encoding into a vector never comes to that.

#include <gtest/gtest.h>

#include <algorithm>
#include <initializer_list>
#include <sstream>

#include "libvektrace/MessageBase.h"
#include "support/GuardedBuffer.h"
#include "support/TestMessage.h"
#include "support/hex.h"

namespace {

constexpr uint8_t UNTOUCHED = 0xEE;

/// A buffer of which nothing has been touched.
class Ground {
public:
    static constexpr size_t BEFORE = 32;

    uint8_t* begin() { return memory.data() + BEFORE; }

    /// How many bytes from begin() on are no longer as they were; SIZE_MAX when one in front is.
    /// What is written in these tests does not end with an untouched byte.
    size_t touched() const {
        const auto isTouched = [](uint8_t byte) { return byte != UNTOUCHED; };
        if (std::any_of(memory.begin(), memory.begin() + BEFORE, isTouched)) {
            return SIZE_MAX;
        }
        const auto last = std::find_if(memory.rbegin(), memory.rend() - BEFORE, isTouched);
        return static_cast<size_t>(memory.rend() - BEFORE - last);
    }

private:
    byteVec_t memory = byteVec_t(200, UNTOUCHED);
};

InvalidMessage withPayload(size_t length, size_t rawLength) {
    const byteVec_t record(14 + length, 1);
    InvalidMessage message(record.data(), record.size());
    message.rawData.assign(rawLength, 2);
    return message;
}

// ---- Into a caller's buffer --------------------------------------------------------------------

TEST(WriteToByteArrayPrecondition, WhereTheTestPassesAHeaderIsWrittenHoweverShortTheBuffer) {
    for (const size_t size : {0u, 1u, 11u, 12u, 13u, 30u, 65535u, 65536u, 65548u, 65566u}) {
        for (size_t buflen = 0; buflen < 40; ++buflen) {
            for (const bool sync : {false, true}) {
                Ground ground;
                uint8_t* pdest = ground.begin();
                const size_t expected = size % 65536 + 2 > buflen ? 0 : sync ? 16 : 14;
                ASSERT_EQ(SizedMessage(size).writeToByteArray(pdest, buflen, sync), expected);
                ASSERT_EQ(pdest - ground.begin(), static_cast<ptrdiff_t>(expected));
                ASSERT_EQ(ground.touched(), expected) << size << " into " << buflen;
            }
        }
    }
}

TEST(WriteToByteArrayPrecondition, AnInvalidMessageAddsItsRawDataWhateverTheBufferHolds) {
    for (const size_t payload : {0u, 3u, 20u}) {
        for (size_t raw = 0; raw < 40; ++raw) {
            for (size_t buflen = 0; buflen < 40; ++buflen) {
                const bool sync = raw % 2 == 1;
                const InvalidMessage message = withPayload(payload, raw);
                const MessageBase& base = message;
                Ground ground;
                uint8_t* pdest = ground.begin();
                const size_t header = payload + 16 > buflen ? 0 : sync ? 16 : 14;
                ASSERT_EQ(base.writeToByteArray(pdest, buflen, sync), payload + 14);
                ASSERT_EQ(pdest - ground.begin(), static_cast<ptrdiff_t>(header));
                ASSERT_EQ(ground.touched(), header + raw) << raw << " into " << buflen;
            }
        }
    }
}

TEST(WriteToByteArrayPreconditionDeathTest, ABufferWithoutRoomForTheMarkerIsOverrun) {
    const GuardedBuffer buffer(14);
    uint8_t* pdest = buffer.data();
    EXPECT_EQ(TestMessage().writeToByteArray(pdest, 14, false), 14u);
    EXPECT_DEATH(
        {
            pdest = buffer.data();
            TestMessage().writeToByteArray(pdest, 14, true);
        },
        "");
}

// ---- Into a vector -----------------------------------------------------------------------------

TEST(CreateByteArrayPrecondition, RawDataLongerThanThePayloadStaysInTheVectorsMemory) {
    // The address sanitizer, or the heap's own checks, would tell.
    for (const size_t payload : {0u, 3u, 100u}) {
        for (const size_t raw : {0u, 1u, 2u, 3u, 5u, 6u, 40u, 200u, 5000u}) {
            for (const size_t before : {0u, 5u, 300u}) {
                for (const bool sync : {false, true}) {
                    const InvalidMessage message = withPayload(payload, raw);
                    byteVec_t buffer(before, UNTOUCHED);
                    buffer.shrink_to_fit();
                    ASSERT_EQ(message.createByteArray(buffer, sync, true), payload + 14);
                    const size_t header = before + (sync ? 16 : 14);
                    ASSERT_EQ(buffer.size(), header + payload + 2);
                    ASSERT_GE(buffer.capacity(), header + raw);
                    ASSERT_EQ(
                        byteVec_t(buffer.begin(), buffer.begin() + static_cast<ptrdiff_t>(before)),
                        byteVec_t(before, UNTOUCHED));
                    byteVec_t behind(raw, 2);
                    behind.resize(payload + 2);
                    ASSERT_EQ(
                        byteVec_t(buffer.begin() + static_cast<ptrdiff_t>(header), buffer.end()),
                        behind);
                }
            }
        }
    }
}

TEST(CreateByteArrayPrecondition, RawDataOfAnInvalidMessageIsKeptFromOthersWithoutAppendToo) {
    for (const size_t raw : {0u, 40u, 70000u}) {
        const InvalidMessage message = withPayload(3, raw);
        byteVec_t buffer;
        EXPECT_EQ(message.createByteArray(buffer, true, false), 17u);
        EXPECT_EQ(buffer.size(), 21u);
        EXPECT_GE(buffer.capacity(), 16 + raw);
        EXPECT_EQ(message.createByteArray(true, false), 17u);
    }
}

/// A class that keeps its payload in rawData.
class RawMessage : public MessageBase {
public:
    explicit RawMessage(const byteVec_t& payload) : MessageBase(MSGID_CAN, 7) { rawData = payload; }
    RawMessage* clone() const override { return new RawMessage(*this); }
    size_t getSize() const override { return 12 + rawData.size(); }
    size_t writeToByteArray(uint8_t*& pdest, size_t buflen, bool sync) const override {
        const size_t header = MessageBase::writeToByteArray(pdest, buflen, sync);
        if (header == 0) {
            return 0;
        }
        pdest = std::copy(rawData.begin(), rawData.end(), pdest);
        return header + rawData.size();
    }
    bool operator==(const MessageBase&) const override { return false; }
    std::ostream& print(std::ostream& os) const override { return os; }
};

void expectRawDataLikeAnotherVector(MessageBase& message) {
    const byteVec_t before = message.rawData;
    for (const bool append : {false, true}) {
        for (const bool sync : {false, true}) {
            SCOPED_TRACE(testing::Message() << before.size() << append << sync);
            byteVec_t other = before;
            const size_t result = message.createByteArray(other, sync, append);
            message.rawData.shrink_to_fit();
            EXPECT_EQ(message.createByteArray(message.rawData, sync, append), result);
            EXPECT_EQ(message.rawData, other);
            message.rawData = before;
        }
    }
}

TEST(CreateByteArrayPrecondition, RawDataAsTheBufferIsEncodedLikeAnotherVectorOfTheSameBytes) {
    for (const size_t raw : {0u, 5u, 12u, 30u, 5000u, 65530u}) {
        for (const size_t payload : {0u, 8u, 40000u}) {
            InvalidMessage message = withPayload(payload, raw);
            expectRawDataLikeAnotherVector(message);
        }
        RawMessage message(byteVec_t(raw, 2));
        expectRawDataLikeAnotherVector(message);
    }
}

TEST(CreateByteArrayPrecondition, RawDataAsTheBufferIsUntouchedWhereTheSizeIsRefused) {
    RawMessage message(byteVec_t(65529, 2));
    testing::internal::CaptureStderr();
    EXPECT_EQ(message.createByteArray(message.rawData, false, false), 0u);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "[ERROR] Message size too big\n");
    EXPECT_EQ(message.rawData, byteVec_t(65529, 2));
}

/// Appends a message many times; returns how often the vector's memory was another one afterwards.
int movesOfAppending(const MessageBase& message, byteVec_t& buffer) {
    int moves = 0;
    for (int i = 0; i < 10000; ++i) {
        const uint8_t* const memory = buffer.data();
        message.createByteArray(buffer, true, true);
        moves += buffer.data() == memory ? 0 : 1;
    }
    return moves;
}

TEST(CreateByteArrayPrecondition,
     AppendingWhatWritesMoreThanItReportsLetsTheVectorGrowGeometrically) {
    const InvalidMessage none = withPayload(10, 0);
    const InvalidMessage asMuchAsHasRoomAnyway = withPayload(10, 12);
    const InvalidMessage longOne = withPayload(10, 100);
    const SizedMessage belowAHeader(10);
    for (const MessageBase* const message : std::initializer_list<const MessageBase*>{
             &none, &asMuchAsHasRoomAnyway, &longOne, &belowAHeader}) {
        byteVec_t buffer;
        EXPECT_LT(movesOfAppending(*message, buffer), 30) << message->rawData.size();
        EXPECT_LT(buffer.capacity(), 2 * buffer.size() + 200) << message->rawData.size();
    }
}

TEST(CreateByteArrayPrecondition, AppendingWhereThereIsRoomJustSoLeavesTheMemory) {
    const InvalidMessage message = withPayload(10, 100);
    byteVec_t buffer;
    buffer.reserve(5 + 16 + 100);
    buffer.resize(5);
    const size_t capacity = buffer.capacity();
    EXPECT_EQ(message.createByteArray(buffer, true, true), 24u);
    EXPECT_EQ(buffer.capacity(), capacity);
}

// ---- On encoded bytes --------------------------------------------------------------------------

TEST(EncodedRecordPrecondition, TheVectorFormsTouchWhatThePointerFormsDoAndNoMore) {
    byteVec_t upToId = bytes("00 00 12 34");
    upToId.shrink_to_fit();
    EXPECT_EQ(MessageBase::getMessageId(upToId), 0x1234);
    byteVec_t header(14, UNTOUCHED);
    header.shrink_to_fit();
    MessageBase::setTimeStamp(header, 7);
    EXPECT_EQ(MessageBase::getTimeStamp(header), 7u);
    EXPECT_EQ(hex(header), "EE EE EE EE EE EE 00 00 00 00 00 00 00 07");
}

TEST(EncodedRecordPreconditionDeathTest, AMissingByteIsReadAllTheSame) {
    const GuardedBuffer three(bytes("00 0C 12"));
    const GuardedBuffer thirteen(13);
    volatile uint64_t field = 0;  // so that the reading is not left out
    EXPECT_DEATH(field = MessageBase::getMessageId(three.data()), "");
    EXPECT_DEATH(field = MessageBase::getTimeStamp(thirteen.data()), "");
    EXPECT_DEATH(MessageBase::setTimeStamp(thirteen.data(), 0), "");
    static_cast<void>(field);
}

// ---- Other pointers ----------------------------------------------------------------------------

TEST(PointerPrecondition, ANullPointerIsFineWhereTheLengthIsZero) {
    std::ostringstream os;
    MessageBase::dumpData(os, nullptr, size_t{0});
    EXPECT_EQ(os.str(), "");
    EXPECT_TRUE(InvalidMessage(nullptr, 0).getRawData().empty());
    EXPECT_EQ(MessageBase::readFromByteArray(nullptr, 0), nullptr);
}

}  // namespace
