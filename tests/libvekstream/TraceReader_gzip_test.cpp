// gzip input: its part of the tests for every compression.

#include <gtest/gtest.h>
#include <zlib.h>

#include "Compressor.h"
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
