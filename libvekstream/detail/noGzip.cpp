// In the place of gzip.cpp where there is no zlib.

#include <memory>

#include "libvekstream/TraceReader.h"
#include "libvekstream/detail/IoError.h"
#include "libvekstream/detail/compression.h"

std::unique_ptr<vek::detail::ByteSource> vek::detail::openGzip(const CompressedInput& /*input*/) {
    throw IoError("gzip input: this build was made without zlib");
}

bool canReadGzip() { return false; }
