// In the place of zstd.cpp where there is no libzstd.

#include <memory>

#include "libvekstream/TraceReader.h"
#include "libvekstream/detail/IoError.h"
#include "libvekstream/detail/compression.h"

std::unique_ptr<vek::detail::ByteSource> vek::detail::openZstd(const CompressedInput& /*input*/) {
    throw IoError("zstd input: this build was made without libzstd");
}

bool canReadZstd() { return false; }
