// zstd input: its part of the tests for every compression, and what only zstd has.

#include <gtest/gtest.h>
#define ZSTD_STATIC_LINKING_ONLY  // for the allocations
#include <zstd.h>

#include <memory>

#include "Compressor.h"
#include "FailingAllocation.h"
#include "support/descriptors.h"
#include "support/hex.h"
#include "support/traces.h"

namespace {

/// A frame that does not tell its length, as a pipe's does not, so that its window is as large as
/// it is asked for.
byteVec_t frame(const byteVec_t& plain, int windowLog, bool checksum = true) {
    const std::unique_ptr<ZSTD_CCtx, size_t (*)(ZSTD_CCtx*)> context(ZSTD_createCCtx(),
                                                                     ZSTD_freeCCtx);
    ZSTD_CCtx_setParameter(context.get(), ZSTD_c_checksumFlag, checksum ? 1 : 0);
    ZSTD_CCtx_setParameter(context.get(), ZSTD_c_windowLog, windowLog);
    byteVec_t packed(ZSTD_compressBound(plain.size()) + 64);
    ZSTD_outBuffer to = {packed.data(), packed.size(), 0};
    ZSTD_inBuffer from = {plain.data(), plain.size(), 0};
    ZSTD_compressStream2(context.get(), &to, &from, ZSTD_e_continue);
    EXPECT_EQ(ZSTD_compressStream2(context.get(), &to, &from, ZSTD_e_end), 0U);
    packed.resize(to.pos);
    return packed;
}

byteVec_t zstd(const byteVec_t& plain) { return frame(plain, 20); }

INSTANTIATE_TEST_SUITE_P(Zstd, CompressedTrace,
                         testing::Values(Compressor{"zstd", zstd, canReadZstd}));

Reading readingOf(const byteVec_t& input) { return Reading(*memoryFile(input)); }

TEST(ZstdTrace, MayHaveNoChecksumBehindItsLastBlock) {
    const Reading reading = readingOf(frame(traceOf(3), 20, false));
    EXPECT_EQ(reading.spans, "0+36 36+36 72+36");
    EXPECT_EQ(reading.reason, "");
}

TEST(ZstdTrace, MayNeedAWindowOfEightMebibytes) {
    EXPECT_EQ(readingOf(frame(traceOf(3), 23)).spans, "0+36 36+36 72+36");
}

TEST(ZstdTrace, MayNotNeedALargerWindow) {
    const Reading reading = readingOf(frame(traceOf(3), 24));
    EXPECT_EQ(reading.spans, "");
    EXPECT_EQ(reading.reason, "zstd input: it needs a window of more than 8 MiB");
}

TEST(ZstdTrace, MayHaveFramesWithSomethingElseInThem) {
    const byteVec_t skipped = bytes("53 2A 4D 18 05 00 00 00 01 02 03 04 05");
    byteVec_t input = skipped;
    for (const byteVec_t& part : {zstd(traceOf(1)), skipped, skipped, zstd(traceOf(1)), skipped}) {
        input.insert(input.end(), part.begin(), part.end());
    }
    const Reading reading = readingOf(input);
    EXPECT_EQ(reading.spans, "0+36 36+36");
    EXPECT_EQ(reading.reason, "");
}

TEST(ZstdTrace, YieldsEveryBlockInFrontOfADamagedOne) {
    constexpr size_t BLOCK = 128 * 1024;
    constexpr size_t HEADER = 3;
    constexpr size_t CHECKSUM = 4;
    byteVec_t noise(2 * BLOCK + 1000);
    std::mt19937 random(1);
    for (uint8_t& byte : noise) {
        byte = static_cast<uint8_t>(random());
    }
    byteVec_t input = zstd(noise);  // stored as it is
    uint8_t& lastHeader = input[input.size() - CHECKSUM - 1000 - HEADER];
    ASSERT_EQ(lastHeader & 7, 1) << "the last block, and not compressed";
    lastHeader |= 6;  // a kind of block that there is not
    const Reading reading = readingOf(input);
    EXPECT_EQ(reading.failedAt, 2 * BLOCK);
    EXPECT_TRUE(isBeginning(reading.bytes, noise));
    EXPECT_NE(reading.reason, "");
}

}  // namespace

/// In the place of the library's, so that its allocations can fail too.
extern "C" [[gnu::visibility("default")]] ZSTD_DStream* ZSTD_createDStream() {
    ZSTD_customMem memory = {};
    memory.customAlloc = [](void*, size_t size) { return FailingAllocation::allocate(size); };
    memory.customFree = [](void*, void* address) { FailingAllocation::release(address); };
    return ZSTD_createDStream_advanced(memory);
}
