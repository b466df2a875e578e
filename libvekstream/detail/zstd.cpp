// Input of one or more zstd frames.

#include <zstd.h>
#include <zstd_errors.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>

#include "libvekstream/TraceReader.h"
#include "libvekstream/detail/CompressedSource.h"

namespace vek::detail {

namespace {

/// As much as every decompressor must support; what needs more is refused.
constexpr int MAX_WINDOW_LOG = 23;

/// In front of each block.
constexpr size_t BLOCK_HEADER = 3;

struct FreeStream {
    void operator()(ZSTD_DStream* stream) const { ZSTD_freeDStream(stream); }
};

class ZstdSource final : public CompressedSource {
public:
    explicit ZstdSource(const CompressedInput& input)
        : CompressedSource("zstd input: ", input), stream(ZSTD_createDStream()) {
        if (stream == nullptr) {
            throw std::bad_alloc();
        }
        ZSTD_DCtx_setParameter(stream.get(), ZSTD_d_windowLogMax, MAX_WINDOW_LOG);
    }

private:
    size_t decompress(uint8_t* to, size_t room) override;
    bool isWhole() const override { return wanted == 0; }
    size_t share() const;

    std::unique_ptr<ZSTD_DStream, FreeStream> stream;
    /// What the decompressor asked for; 0 between two frames.
    size_t wanted = 0;
};

/// How much to pass on at once: not a block and the header of the next. Of a call that fails nothing
/// is given, and a damaged block shall not take the one in front of it along.
size_t ZstdSource::share() const {
    const size_t most = wanted > BLOCK_HEADER ? wanted - BLOCK_HEADER : std::max<size_t>(wanted, 1);
    return std::min(most, static_cast<size_t>(end - begin));
}

size_t ZstdSource::decompress(uint8_t* to, size_t room) {
    if (isWhole() && begin == end) {
        return 0;
    }
    ZSTD_inBuffer from = {begin, share(), 0};
    ZSTD_outBuffer out = {to, room, 0};
    const size_t result = ZSTD_decompressStream(stream.get(), &out, &from);
    if (ZSTD_getErrorCode(result) == ZSTD_error_frameParameter_windowTooLarge) {
        fail("it needs a window of more than 8 MiB");
    }
    if (ZSTD_isError(result) != 0) {
        fail(ZSTD_getErrorName(result));
    }
    begin += from.pos;
    wanted = result;
    return out.pos;
}

}  // namespace

std::unique_ptr<ByteSource> openZstd(const CompressedInput& input) {
    return std::make_unique<ZstdSource>(input);
}

}  // namespace vek::detail

bool canReadZstd() { return true; }
