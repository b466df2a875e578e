// A build without the libraries that decompress: what it says.

#include <gtest/gtest.h>

#include "support/descriptors.h"
#include "support/hex.h"
#include "support/traces.h"

namespace {

Reading readingOf(const byteVec_t& input) { return Reading(*memoryFile(input)); }

TEST(TraceReaderOfPlainInput, SaysThatItReadsNothingElse) {
    EXPECT_FALSE(canReadGzip());
    EXPECT_FALSE(canReadZstd());
}

TEST(TraceReaderOfPlainInput, ThrowsWhatIsMissing) {
    const Reading gzip = readingOf(bytes("1F 8B 08 00 00 00 00 00 00 03"));
    EXPECT_EQ(gzip.reason, "gzip input: this build was made without zlib");
    EXPECT_EQ(gzip.spans, "");
    EXPECT_EQ(gzip.failedAt, 0U);
    const Reading zstd = readingOf(bytes("28 B5 2F FD 04 00 01 00 00"));
    EXPECT_EQ(zstd.reason, "zstd input: this build was made without libzstd");
    EXPECT_EQ(zstd.spans, "");
}

TEST(TraceReaderOfPlainInput, ReadsPlainInput) {
    EXPECT_EQ(readingOf(traceOf(2)).spans, "0+36 36+36");
}

}  // namespace
