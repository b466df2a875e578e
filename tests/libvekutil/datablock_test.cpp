#include "libvekutil/datablock.h"

#include <gtest/gtest.h>

#include <random>

#include "support/GuardedBuffer.h"
#include "support/hex.h"

namespace {

uint64_t plainRead(const uint8_t* source, size_t width) {
    uint64_t result = 0;
    for (size_t i = 0; i < width; ++i) {
        result = result * 256 + source[i];
    }
    return result;
}

const uint64_t SPECIAL[] = {0, 1, 0xff, 0x0102030405060708, 0x8000000000000000, ~uint64_t{0}};

TEST(Datablock, Uint16IsWrittenMostSignificantByteFirst) {
    uint8_t buffer[2];
    uint16ToByteArray(buffer, 0x55AA);
    EXPECT_EQ(hex(buffer, 2), "55 AA");
}

TEST(Datablock, Uint16IsReadMostSignificantByteFirst) {
    EXPECT_EQ(byteArrayToUint16(bytes("12 34").data()), 0x1234);
    EXPECT_EQ(byteArrayToUint16(bytes("FF FE").data()), 0xFFFE);
}

TEST(Datablock, Uint32IsReadAndWrittenMostSignificantByteFirst) {
    EXPECT_EQ(byteArrayToUint32(bytes("81 02 03 FF").data()), 0x810203FFu);
    uint8_t buffer[6] = {};
    uint32ToByteArray(buffer + 1, 0x810203FF);
    EXPECT_EQ(hex(buffer, 6), "00 81 02 03 FF 00");
}

TEST(Datablock, Uint64IsReadMostSignificantByteFirst) {
    EXPECT_EQ(byteArrayToUint64(bytes("00 00 01 02 03 04 05 06").data()), 0x0000010203040506u);
    EXPECT_EQ(byteArrayToUint64(bytes("FF 00 00 00 00 00 00 80").data()), 0xFF00000000000080u);
}

TEST(Datablock, Uint64IsWrittenMostSignificantByteFirst) {
    uint8_t buffer[8];
    uint64ToByteArray(buffer, 0x0102030405060708);
    EXPECT_EQ(hex(buffer, 8), "01 02 03 04 05 06 07 08");
}

TEST(Datablock, EveryUint16ComesBack) {
    for (unsigned value = 0; value <= 0xffff; ++value) {
        uint8_t buffer[2];
        uint16ToByteArray(buffer, static_cast<uint16_t>(value));
        ASSERT_EQ(byteArrayToUint16(buffer), value);
        ASSERT_EQ(plainRead(buffer, 2), value);
    }
}

TEST(Datablock, Uint64ComesBackAndEqualsThePlainReading) {
    std::mt19937_64 random(1);
    for (int i = 0; i < 100000; ++i) {
        const uint64_t value = i < 6 ? SPECIAL[i] : random() >> random() % 64;
        uint8_t buffer[8];
        uint64ToByteArray(buffer, value);
        ASSERT_EQ(byteArrayToUint64(buffer), value);
        ASSERT_EQ(plainRead(buffer, 8), value);
        uint32ToByteArray(buffer, static_cast<uint32_t>(value));
        ASSERT_EQ(byteArrayToUint32(buffer), static_cast<uint32_t>(value));
        ASSERT_EQ(plainRead(buffer, 4), static_cast<uint32_t>(value));
    }
}

TEST(Datablock, WorksAtAnyAddress) {
    for (size_t offset = 0; offset < 9; ++offset) {
        uint8_t buffer[32] = {};
        uint16ToByteArray(buffer + offset, 0x1234);
        uint64ToByteArray(buffer + offset + 8, 0x0102030405060708);
        EXPECT_EQ(byteArrayToUint16(buffer + offset), 0x1234) << offset;
        EXPECT_EQ(byteArrayToUint64(buffer + offset + 8), 0x0102030405060708u) << offset;
    }
}

TEST(Datablock, WritersTouchExactlyTheirBytes) {
    uint8_t buffer[12];
    std::fill(std::begin(buffer), std::end(buffer), uint8_t{0xEE});
    uint16ToByteArray(buffer + 1, 0);
    EXPECT_EQ(hex(buffer, 4), "EE 00 00 EE");
    std::fill(std::begin(buffer), std::end(buffer), uint8_t{0xEE});
    uint64ToByteArray(buffer + 1, 0);
    EXPECT_EQ(hex(buffer, 10), "EE 00 00 00 00 00 00 00 00 EE");
}

TEST(Datablock, NothingInFrontOfOrBehindTheBytesIsTouched) {
    for (const auto side : {GuardedBuffer::END_GUARDED, GuardedBuffer::BEGIN_GUARDED}) {
        const GuardedBuffer two(2, side);
        uint16ToByteArray(two.data(), 0xABCD);
        EXPECT_EQ(byteArrayToUint16(two.data()), 0xABCD);
        const GuardedBuffer four(4, side);
        uint32ToByteArray(four.data(), 0x89ABCDEF);
        EXPECT_EQ(byteArrayToUint32(four.data()), 0x89ABCDEFu);
        const GuardedBuffer eight(8, side);
        uint64ToByteArray(eight.data(), 0x1122334455667788);
        EXPECT_EQ(byteArrayToUint64(eight.data()), 0x1122334455667788u);
    }
}

}  // namespace
