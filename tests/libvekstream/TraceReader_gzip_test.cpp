// gzip input: its part of the tests for every compression.

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <zlib.h>

#include "Compressor.h"
#include "FailingAllocation.h"
#include "libvekstream/TraceReader.h"
#include "support/descriptors.h"
#include "support/traces.h"

namespace {

byteVec_t gzip(const byteVec_t& plain) {
    z_stream stream = {};
    deflateInit2(&stream, Z_DEFAULT_COMPRESSION, Z_DEFLATED, MAX_WBITS + 16, 8, Z_DEFAULT_STRATEGY);
    byteVec_t packed(deflateBound(&stream, static_cast<uLong>(plain.size())));
    stream.next_in = const_cast<Bytef*>(plain.data());
    stream.avail_in = static_cast<uInt>(plain.size());
    stream.next_out = packed.data();
    stream.avail_out = static_cast<uInt>(packed.size());
    EXPECT_EQ(deflate(&stream, Z_FINISH), Z_STREAM_END);
    packed.resize(stream.total_out);
    deflateEnd(&stream);
    return packed;
}

INSTANTIATE_TEST_SUITE_P(Gzip, CompressedTrace,
                         testing::Values(Compressor{"gzip", gzip, canReadGzip}));

byteVec_t joined(std::initializer_list<byteVec_t> parts) {
    byteVec_t all;
    for (const byteVec_t& part : parts) {
        all.insert(all.end(), part.begin(), part.end());
    }
    return all;
}

/// As on a tape, or a device that is longer than what was written to it.
TEST(GzipTrace, MayBeFilledUpWithZeros) {
    const byteVec_t trace = traceOf(3);
    for (const size_t length : {1U, 1000U, 1000000U}) {
        const byteVec_t zeros(length);
        const Reading filled(*memoryFile(joined({gzip(trace), zeros})));
        EXPECT_TRUE(filled.bytes == trace) << length;
        EXPECT_EQ(filled.reason, "");
        const Reading more(*memoryFile(joined({gzip(trace), zeros, gzip(trace), zeros})));
        EXPECT_TRUE(more.bytes == joined({trace, trace})) << length;
        EXPECT_EQ(more.reason, "");
    }
}

TEST(GzipTrace, IsNotFilledUpWithAnythingElse) {
    const byteVec_t trace = traceOf(3);
    const Reading reading(*memoryFile(joined({gzip(trace), byteVec_t(1000), {1, 2, 3, 4}})));
    EXPECT_TRUE(reading.bytes == trace);
    EXPECT_EQ(reading.reason, "gzip input: incorrect header check");
}

/// What the program was compiled for, where not null.
const char* otherVersion = nullptr;

TEST(GzipTrace, IsNotReadByAZlibOfAnotherVersion) {
    const auto file = memoryFile(gzip(traceOf(3)));
    otherVersion = "0";
    const Reading reading(*file);
    otherVersion = nullptr;
    EXPECT_EQ(reading.spans, "");
    EXPECT_EQ(reading.reason, "gzip input: incompatible version");
    EXPECT_EQ(reading.failedAt, 0U);
    EXPECT_EQ(reading.error, 0);
}

}  // namespace

/// In the place of zlib's, so that its allocations can fail too, and its version be another.
extern "C" [[gnu::visibility("default")]] int inflateInit2_(z_streamp stream, int windowBits,
                                                            const char* version, int size) {
    using init_t = int (*)(z_streamp, int, const char*, int);
    static const auto original = reinterpret_cast<init_t>(::dlsym(RTLD_NEXT, "inflateInit2_"));
    stream->zalloc = [](void*, uInt count, uInt length) {
        return FailingAllocation::allocate(size_t{count} * length);
    };
    stream->zfree = [](void*, void* memory) { FailingAllocation::release(memory); };
    return original(stream, windowBits, otherVersion != nullptr ? otherVersion : version, size);
}
