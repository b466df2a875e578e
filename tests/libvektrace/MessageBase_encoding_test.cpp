// Encoding: the header in a caller's buffer, the whole record in a vector, and the accessors on
// encoded bytes.

#include <gtest/gtest.h>

#include <random>

#include "libvektrace/MessageBase.h"
#include "support/GuardedBuffer.h"
#include "support/Settings.h"
#include "support/TestMessage.h"
#include "support/hex.h"
#include "support/streams.h"

namespace {

const char* const START = "00 0C 80 20 00 00 01 02 03 04 05 06 07 08";
const std::string MARKED_START = std::string("55 AA ") + START;

TestMessage start() { return TestMessage(MSGID_START, 0x0102030405060708); }

/// A record byte by byte, as the plainest of writers puts it down.
byteVec_t plainRecord(const TestMessage& message, bool sync) {
    byteVec_t record;
    const auto put = [&record](uint64_t value, int width) {
        for (int shift = 8 * (width - 1); shift >= 0; shift -= 8) {
            record.push_back(static_cast<uint8_t>(value >> shift));
        }
    };
    if (sync) {
        put(0x55AA, 2);
    }
    put(12 + message.payload.size(), 2);
    put(message.getMessageId(), 2);
    put(message.getHeaderReserved(), 2);
    put(message.getTimeStamp(), 8);
    record.insert(record.end(), message.payload.begin(), message.payload.end());
    return record;
}

// ---- Into a caller's buffer --------------------------------------------------------------------

TEST(WriteToByteArray, WritesTheHeaderAndMovesThePointerByTheResult) {
    for (const bool sync : {false, true}) {
        const GuardedBuffer buffer(sync ? 16 : 14);
        uint8_t* pdest = buffer.data();
        EXPECT_EQ(start().writeToByteArray(pdest, buffer.size(), sync), buffer.size());
        EXPECT_EQ(pdest, buffer.data() + buffer.size());
        EXPECT_EQ(hex(buffer.content()), sync ? MARKED_START : START);
    }
}

TEST(WriteToByteArray, RefusesEveryBufferBelow14BytesAndTouchesNothing) {
    for (const bool sync : {false, true}) {
        for (size_t buflen = 0; buflen < 14; ++buflen) {
            uint8_t buffer[16];
            std::fill(std::begin(buffer), std::end(buffer), uint8_t{0xEE});
            uint8_t* pdest = buffer;
            EXPECT_EQ(start().writeToByteArray(pdest, buflen, sync), 0u);
            EXPECT_EQ(pdest, buffer);
            EXPECT_EQ(hex(buffer, 16), hex(byteVec_t(16, 0xEE)));
        }
    }
}

TEST(WriteToByteArray, DoesNotCountTheMarkerInItsTest) {
    for (const size_t buflen : {14u, 15u}) {
        const GuardedBuffer buffer(16);
        uint8_t* pdest = buffer.data();
        EXPECT_EQ(start().writeToByteArray(pdest, buflen, true), 16u);
        EXPECT_EQ(pdest, buffer.data() + 16);
        EXPECT_EQ(hex(buffer.content()), MARKED_START);
    }
}

TEST(WriteToByteArray, AsksTheMostDerivedClassForTheSize) {
    const GuardedBuffer buffer(64);
    uint8_t* pdest = buffer.data();
    EXPECT_EQ(SizedMessage(63).writeToByteArray(pdest, 64, false), 0u);
    EXPECT_EQ(SizedMessage(62).writeToByteArray(pdest, 64, false), 14u);
    EXPECT_EQ(MessageBase::getMessageSize(buffer.data()), 62);
}

TEST(WriteToByteArray, ComputesItsTestWiderThan16Bits) {
    const GuardedBuffer buffer(14);
    uint8_t* pdest = buffer.data();
    EXPECT_EQ(SizedMessage(65535).writeToByteArray(pdest, 14, false), 0u) << "65537, not 1";
    EXPECT_EQ(SizedMessage(65534).writeToByteArray(pdest, 65535, false), 0u) << "65536, not 0";
    EXPECT_EQ(pdest, buffer.data());
}

TEST(WriteToByteArray, HasNoFurtherGuardForATinySize) {
    const GuardedBuffer buffer(14);
    uint8_t* pdest = buffer.data();
    EXPECT_EQ(SizedMessage(0).writeToByteArray(pdest, 2, false), 14u);
    EXPECT_EQ(hex(buffer.content()), "00 00 80 20 00 00 01 02 03 04 05 06 07 08");
}

TEST(WriteToByteArray, WritesTheReservedWordUnchanged) {
    const GuardedBuffer buffer(14);
    TestMessage message = start();
    message.setHeaderReserved(0xBEEF);
    uint8_t* pdest = buffer.data();
    message.writeToByteArray(pdest, 14, false);
    EXPECT_EQ(hex(buffer.content()), "00 0C 80 20 BE EF 01 02 03 04 05 06 07 08");
}

TEST(WriteToByteArray, NeverWritesDebugBytes) {
    const LibrarySettings settings;
    for (const bool debugBytes : {true, false}) {
        MessageBase::fpgaMsgHasDebugBytes = debugBytes;
        const GuardedBuffer buffer(14);
        uint8_t* pdest = buffer.data();
        EXPECT_EQ(start().writeToByteArray(pdest, 14, false), 14u);
        EXPECT_EQ(hex(buffer.content()), START);
    }
}

// ---- Into a vector -----------------------------------------------------------------------------

TEST(CreateByteArray, AMessageWithoutPayloadIs14BytesOr16WithTheMarker) {
    byteVec_t buffer;
    EXPECT_EQ(start().createByteArray(buffer, false, false), 14u);
    EXPECT_EQ(hex(buffer), START);
    EXPECT_EQ(start().createByteArray(buffer, true, false), 16u);
    EXPECT_EQ(hex(buffer), MARKED_START);
}

TEST(CreateByteArray, AppendsBehindWhatTheVectorHolds) {
    for (const bool sync : {false, true}) {
        byteVec_t buffer = bytes("01 02 03 04 05");
        EXPECT_EQ(start().createByteArray(buffer, sync, true), sync ? 16u : 14u);
        EXPECT_EQ(hex(buffer), "01 02 03 04 05 " + (sync ? MARKED_START : START));
    }
}

TEST(CreateByteArray, WithoutAppendTheOldBytesAreGone) {
    byteVec_t buffer(200, 0xEE);
    start().createByteArray(buffer, false, false);
    EXPECT_EQ(hex(buffer), START);
}

TEST(CreateByteArray, BytesThatTheEncoderLeavesOutAreZeroAlsoOverOldOnes) {
    byteVec_t buffer(40, 0xEE);
    EXPECT_EQ(SizedMessage(20).createByteArray(buffer, false, false), 14u);
    EXPECT_EQ(hex(buffer), "00 14 80 20 00 00 01 02 03 04 05 06 07 08 00 00 00 00 00 00 00 00");
    EXPECT_EQ(SizedMessage(14).createByteArray(buffer, false, true), 14u);
    EXPECT_EQ(buffer.size(), 22u + 16u);
    EXPECT_EQ(buffer[36], 0);
    EXPECT_EQ(buffer[37], 0);
}

TEST(CreateByteArray, LeavesZerosAndMovesNothingWhateverTheLengthAndTheSpareRoom) {
    for (size_t length = 14; length < 120; ++length) {
        for (size_t spare = 0; spare < 120; ++spare) {
            byteVec_t buffer(5 + spare, 0xEE);
            const uint8_t* const memory = buffer.data();
            buffer.resize(5);
            const bool fits = length <= buffer.capacity() - buffer.size();
            SizedMessage(length - 2).createByteArray(buffer, false, true);
            ASSERT_EQ(buffer.data() == memory, fits) << length << " into " << spare;
            ASSERT_EQ(buffer.size(), 5 + length);
            ASSERT_EQ(byteVec_t(buffer.begin(), buffer.begin() + 5), byteVec_t(5, 0xEE));
            ASSERT_EQ(byteVec_t(buffer.begin() + 19, buffer.end()), byteVec_t(length - 14, 0))
                << length << " into " << spare;
        }
    }
}

TEST(CreateByteArray, EqualsThePlainRecordForEveryPayloadLength) {
    std::mt19937 random(6);
    byteVec_t appended;
    byteVec_t plainAppended;
    for (size_t length = 0; length < 300; ++length) {
        TestMessage message(static_cast<msgid_t>(random()), random() * uint64_t{0x100000001});
        message.setHeaderReserved(static_cast<uint16_t>(random()));
        for (size_t i = 0; i < length; ++i) {
            message.payload.push_back(static_cast<uint8_t>(random()));
        }
        const bool sync = length % 2 == 1;
        const byteVec_t plain = plainRecord(message, sync);
        byteVec_t buffer;
        ASSERT_EQ(message.createByteArray(buffer, sync, false), plain.size());
        ASSERT_EQ(hex(buffer), hex(plain));
        message.createByteArray(appended, sync, true);
        plainAppended.insert(plainAppended.end(), plain.begin(), plain.end());
    }
    EXPECT_EQ(appended, plainAppended);
}

/// Notes what the encoder is called with, and answers what it is told.
class NotingMessage : public SizedMessage {
public:
    using SizedMessage::SizedMessage;
    size_t writeToByteArray(uint8_t*& pdest, size_t buflen, bool sync) const override {
        notedLength = buflen;
        notedSync = sync;
        notedPosition = pdest;
        return 4711;
    }
    mutable size_t notedLength = 0;
    mutable bool notedSync = false;
    mutable const uint8_t* notedPosition = nullptr;
};

TEST(CreateByteArray, HandsOnTheRoomJustMadeAndReturnsTheResultAsItIs) {
    byteVec_t buffer(100);
    const NotingMessage message(30);
    EXPECT_EQ(message.createByteArray(buffer, true, true), 4711u);
    EXPECT_EQ(message.notedLength, 34u);
    EXPECT_TRUE(message.notedSync);
    EXPECT_EQ(message.notedPosition, buffer.data() + 100);
    EXPECT_EQ(message.createByteArray(buffer, false, false), 4711u);
    EXPECT_EQ(message.notedLength, 32u);
    EXPECT_FALSE(message.notedSync);
    EXPECT_EQ(message.notedPosition, buffer.data());
}

// ---- Sizes at the limits -----------------------------------------------------------------------

struct SizeCase {
    const char* why;
    size_t size;
    bool sync;
    size_t result;
    size_t length;  // of the vector, which held one byte; 1 when it is untouched
    const char* error;
};

const SizeCase SIZE_CASES[] = {
    {"the largest that the field holds", 65535, false, 14, 65537, ""},
    {"the first whose field wraps to 0", 65536, false, 14, 65538, ""},
    {"the last that passes", 65540, false, 14, 65542, ""},
    {"the last that passes, marked", 65540, true, 16, 65544, ""},
    {"the first that does not", 65541, false, 0, 1, "[ERROR] Message size too big\n"},
    {"the first that does not, marked", 65541, true, 0, 1, "[ERROR] Message size too big\n"},
    {"the largest there is", SIZE_MAX, false, 0, 1, "[ERROR] Message size too big\n"},
    {"9 + 2 is below 12", 9, false, 0, 1, "[ERROR] Message size too small\n"},
    {"9 + 4 is not", 9, true, 16, 13, ""},
    {"10 + 2 is not", 10, false, 14, 12, ""},
    {"7 + 4 is below 12", 7, true, 0, 1, "[ERROR] Message size too small\n"},
    {"nothing at all", 0, false, 0, 1, "[ERROR] Message size too small\n"},
};

TEST(CreateByteArray, SizesAtTheLimits) {
    for (const SizeCase& c : SIZE_CASES) {
        for (const bool append : {false, true}) {
            const CapturedErrors errors;
            byteVec_t buffer = {0xEE};
            EXPECT_EQ(SizedMessage(c.size).createByteArray(buffer, c.sync, append), c.result)
                << c.why;
            EXPECT_EQ(buffer.size(), c.length + (append && c.result != 0 ? 1 : 0)) << c.why;
            const size_t first = c.sync ? 0x55 : c.size >> 8 & 0xff;
            EXPECT_EQ(buffer[0], append || c.result == 0 ? 0xEE : first) << c.why;
            EXPECT_EQ(errors.str(), c.error) << c.why;
        }
    }
}

TEST(CreateByteArray, AClassThatReportsLessThanAHeaderOverwritesNoMemoryOfOthers) {
    // The address sanitizer, or the heap's own checks, would tell.
    for (size_t size = 8; size < 12; ++size) {
        for (const bool append : {false, true}) {
            byteVec_t buffer(append ? 5 : 0);
            buffer.shrink_to_fit();
            EXPECT_EQ(SizedMessage(size).createByteArray(buffer, true, append), 16u);
            EXPECT_EQ(buffer.size(), (append ? 5 : 0) + size + 4);
            EXPECT_GE(buffer.capacity(), (append ? 5u : 0u) + 16);
        }
    }
}

TEST(CreateByteArray, SizesBeyond16BitsWriteTheirLow16Bits) {
    for (const size_t size : {65535u, 65536u, 65537u, 65540u}) {
        byteVec_t buffer;
        SizedMessage(size).createByteArray(buffer, false, false);
        EXPECT_EQ(MessageBase::getMessageSize(buffer.data()), size & 0xffff);
    }
}

/// Reports a size and then refuses to encode.
class RefusingMessage : public SizedMessage {
public:
    using SizedMessage::SizedMessage;
    size_t writeToByteArray(uint8_t*&, size_t, bool) const override { return 0; }
};

TEST(CreateByteArray, AVectorThatWasResizedKeepsItsLengthWhenTheEncoderReturnsZero) {
    const CapturedErrors errors;
    byteVec_t buffer(3, 0xEE);
    EXPECT_EQ(RefusingMessage(20).createByteArray(buffer, false, true), 0u);
    EXPECT_EQ(hex(buffer), "EE EE EE " + hex(byteVec_t(22, 0)));
    EXPECT_EQ(RefusingMessage(20).createByteArray(buffer, true, false), 0u);
    EXPECT_EQ(hex(buffer), hex(byteVec_t(24, 0)));
    EXPECT_EQ(errors.str(), "");
}

TEST(CreateByteArray, ErrorLinesAreUnpaddedWhateverTheStreamsState) {
    const CapturedErrors errors;
    std::cerr.width(70);
    std::cerr.fill('*');
    byteVec_t buffer;
    SizedMessage(70000).createByteArray(buffer, false, false);
    EXPECT_EQ(errors.str(), "[ERROR] Message size too big\n");
}

TEST(CreateByteArray, AnErrorLineIsFlushedAlsoWhereTheStreamFlushesNothingItself) {
    FlushCounter flushes;
    const CapturedErrors errors;
    std::cerr.rdbuf(&flushes);
    std::cerr << std::nounitbuf;
    byteVec_t buffer;
    SizedMessage(70000).createByteArray(buffer, false, false);
    EXPECT_EQ(flushes.str(), "[ERROR] Message size too big\n");
    EXPECT_GE(flushes.count, 1);
}

// ---- The form with two flags -------------------------------------------------------------------

TEST(CreateByteArrayWithTwoFlags, ReturnsWhatTheOtherFormReturns) {
    const CapturedErrors errors;
    for (const bool append : {false, true}) {
        EXPECT_EQ(start().createByteArray(false, append), 14u);
        EXPECT_EQ(start().createByteArray(true, append), 16u);
        EXPECT_EQ(SizedMessage(65541).createByteArray(false, append), 0u);
        EXPECT_EQ(SizedMessage(9).createByteArray(false, append), 0u);
        EXPECT_EQ(SizedMessage(9).createByteArray(true, append), 16u);
    }
    EXPECT_EQ(errors.str(),
              "[ERROR] Message size too big\n[ERROR] Message size too small\n"
              "[ERROR] Message size too big\n[ERROR] Message size too small\n");
}

TEST(CreateByteArrayWithTwoFlags, KeepsNoStateAndLeavesRawDataAlone) {
    TestMessage message = start();
    message.rawData = {1, 2, 3};
    EXPECT_EQ(message.createByteArray(true, true), 16u);
    EXPECT_EQ(message.createByteArray(true, true), 16u);
    EXPECT_EQ(message.rawData, (byteVec_t{1, 2, 3}));
}

// ---- Accessors on encoded bytes ----------------------------------------------------------------

TEST(EncodedRecord, AccessorsReadWhatTheEncoderWrites) {
    byteVec_t record;
    TestMessage message(static_cast<msgid_t>(0xABCD), 0xF102030405060708, byteVec_t(300));
    message.createByteArray(record, false, false);
    EXPECT_EQ(MessageBase::getMessageSize(record.data()), 312);
    EXPECT_EQ(MessageBase::getMessageId(record), 0xABCD);
    EXPECT_EQ(MessageBase::getMessageId(record.data()), 0xABCD);
    EXPECT_EQ(MessageBase::getTimeStamp(record), 0xF102030405060708u);
    EXPECT_EQ(MessageBase::getTimeStamp(record.data()), 0xF102030405060708u);
}

TEST(EncodedRecord, SetTimeStampPatchesTheEightBytesAndNoOther) {
    byteVec_t record(20, 0xEE);
    MessageBase::setTimeStamp(record, 0x0102030405060708);
    EXPECT_EQ(hex(record), "EE EE EE EE EE EE 01 02 03 04 05 06 07 08 EE EE EE EE EE EE");
    MessageBase::setTimeStamp(record.data(), 0);
    EXPECT_EQ(hex(record), "EE EE EE EE EE EE 00 00 00 00 00 00 00 00 EE EE EE EE EE EE");
}

TEST(EncodedRecord, AccessorsTouchTheirFieldsOnly) {
    const GuardedBuffer sizeOnly(bytes("12 34"));
    EXPECT_EQ(MessageBase::getMessageSize(sizeOnly.data()), 0x1234);
    const GuardedBuffer upToId(bytes("00 00 12 34"));
    EXPECT_EQ(MessageBase::getMessageId(upToId.data()), 0x1234);
    const GuardedBuffer header(14);
    MessageBase::setTimeStamp(header.data(), 7);
    EXPECT_EQ(MessageBase::getTimeStamp(header.data()), 7u);
}

}  // namespace
