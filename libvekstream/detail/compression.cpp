#include "libvekstream/detail/compression.h"

#include <algorithm>

namespace vek::detail {

namespace {

constexpr size_t MAGIC_LENGTH = 4;

struct Magic {
    compression_t kind;
    uint8_t bytes[MAGIC_LENGTH];
    uint8_t mask[MAGIC_LENGTH];
};

constexpr Magic MAGICS[] = {
    // Two bytes, the only method that there is, and three flags that are never set.
    {COMPRESSION_GZIP, {0x1f, 0x8b, 0x08, 0x00}, {0xff, 0xff, 0xff, 0xe0}},
    {COMPRESSION_ZSTD, {0x28, 0xb5, 0x2f, 0xfd}, {0xff, 0xff, 0xff, 0xff}},
    // A frame with something else in it, which may come first.
    {COMPRESSION_ZSTD, {0x50, 0x2a, 0x4d, 0x18}, {0xf0, 0xff, 0xff, 0xff}},
};

bool beginsLike(const Magic& magic, const uint8_t* head, size_t length) {
    for (size_t i = 0; i < std::min(length, MAGIC_LENGTH); ++i) {
        if ((head[i] & magic.mask[i]) != magic.bytes[i]) {
            return false;
        }
    }
    return true;
}

}  // namespace

compression_t compressionOf(const uint8_t* head, size_t length) {
    for (const Magic& magic : MAGICS) {
        if (beginsLike(magic, head, length)) {
            return length < MAGIC_LENGTH ? COMPRESSION_OPEN : magic.kind;
        }
    }
    return COMPRESSION_NONE;
}

}  // namespace vek::detail
