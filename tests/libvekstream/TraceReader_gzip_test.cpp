// gzip input: its part of the tests for every compression.

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <zlib.h>

#include "Compressor.h"
#include "FailingAllocation.h"
#include "libvekstream/TraceReader.h"

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

}  // namespace

/// In the place of zlib's, so that its allocations can fail too.
extern "C" [[gnu::visibility("default")]] int inflateInit2_(z_streamp stream, int windowBits,
                                                            const char* version, int size) {
    using init_t = int (*)(z_streamp, int, const char*, int);
    static const auto original = reinterpret_cast<init_t>(::dlsym(RTLD_NEXT, "inflateInit2_"));
    stream->zalloc = [](void*, uInt count, uInt length) {
        return FailingAllocation::allocate(size_t{count} * length);
    };
    stream->zfree = [](void*, void* memory) { FailingAllocation::release(memory); };
    return original(stream, windowBits, version, size);
}
