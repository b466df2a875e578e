/// @file
/// Bytes without a pattern, the same in every run.
#pragma once

#include <random>

#include "libvekutil/utility.h"

namespace bench {

inline byteVec_t randomBytes(size_t length) {
    std::minstd_rand random;  // NOLINT(cert-msc*): the same in every run
    byteVec_t bytes(length);
    for (uint8_t& byte : bytes) {
        byte = static_cast<uint8_t>(random() >> 8);
    }
    return bytes;
}

}  // namespace bench
