/// @file
/// Which input is compressed, and what decompresses it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "libvekstream/detail/FdSource.h"

namespace vek::detail {

enum compression_t : int {
    COMPRESSION_NONE = 0,
    COMPRESSION_GZIP = 1,
    COMPRESSION_ZSTD = 2,
    COMPRESSION_OPEN = 3,  ///< these bytes are too few to tell
};

/// By the first bytes. All of them are looked at that are always the same: a record whose size
/// field they could be would need an identifier that the catalogue does not have.
compression_t compressionOf(const uint8_t* head, size_t length);

struct CompressedInput {
    /// The first bytes, at most CompressedSource::CAPACITY, which are copied.
    const uint8_t* head;
    size_t headLength;
    /// What is behind them. Outlives what reads from it.
    FdSource& rest;
    /// See TraceReaderOptions.
    uint64_t expansionLimit;
};

// Throw IoError where the build cannot read such input.
std::unique_ptr<ByteSource> openGzip(const CompressedInput& input);
std::unique_ptr<ByteSource> openZstd(const CompressedInput& input);

}  // namespace vek::detail
