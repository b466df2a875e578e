// Input of one or more gzip members.

#define ZLIB_CONST
#include <zlib.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <new>

#include "libvekstream/TraceReader.h"
#include "libvekstream/detail/CompressedSource.h"

namespace vek::detail {

namespace {

/// Added to the largest window: gzip and nothing else.
constexpr int GZIP_ONLY = 16;

class GzipSource final : public CompressedSource {
public:
    explicit GzipSource(const CompressedInput& input) : CompressedSource("gzip input: ", input) {
        const int status = inflateInit2(&stream, MAX_WBITS + GZIP_ONLY);
        if (status == Z_MEM_ERROR) {
            throw std::bad_alloc();
        }
        if (status != Z_OK) {
            fail(zError(status));
        }
    }
    ~GzipSource() override { inflateEnd(&stream); }
    GzipSource(const GzipSource&) = delete;
    GzipSource& operator=(const GzipSource&) = delete;

private:
    size_t decompress(uint8_t* to, size_t room) override;
    bool isWhole() const override { return whole; }

    z_stream stream = {};
    bool whole = false;
};

size_t GzipSource::decompress(uint8_t* to, size_t room) {
    if (whole) {
        // Tapes and devices fill up with zeros what was not written.
        begin = std::find_if(begin, end, [](uint8_t byte) { return byte != 0; });
    }
    if (whole && begin != end) {
        inflateReset(&stream);
        whole = false;
    }
    if (whole) {
        return 0;
    }
    stream.next_in = begin;
    stream.avail_in = static_cast<uInt>(end - begin);
    stream.next_out = to;
    stream.avail_out = static_cast<uInt>(std::min<size_t>(room, std::numeric_limits<uInt>::max()));
    const int status = inflate(&stream, Z_NO_FLUSH);
    begin = stream.next_in;
    whole = status == Z_STREAM_END;
    const auto length = static_cast<size_t>(stream.next_out - to);
    if (length == 0 && status != Z_OK && status != Z_STREAM_END && status != Z_BUF_ERROR) {
        fail(stream.msg != nullptr ? stream.msg : zError(status));
    }
    return length;
}

}  // namespace

std::unique_ptr<ByteSource> openGzip(const CompressedInput& input) {
    return std::make_unique<GzipSource>(input);
}

}  // namespace vek::detail

bool canReadGzip() { return true; }
