/// @file
/// Big-endian numbers at any byte address.
///
/// No function checks bounds or needs alignment: the caller guarantees 2 or 8 accessible bytes,
/// and exactly those are touched. The result is the same on every host.
#pragma once

#include <cstdint>
#include <cstring>

#include "libvekutil/utility.h"

/// Reads 2 bytes, most significant first.
inline uint16_t byteArrayToUint16(const uint8_t* source) {
    return static_cast<uint16_t>(source[0] << 8 | source[1]);
}

/// Reads 8 bytes, most significant first.
inline uint64_t byteArrayToUint64(const uint8_t* source) {
    uint64_t word;
    std::memcpy(&word, source, sizeof word);
    return (ntohll)(word);
}

/// Writes 2 bytes, most significant first.
inline void uint16ToByteArray(uint8_t* destination, uint16_t value) {
    destination[0] = static_cast<uint8_t>(value >> 8);
    destination[1] = static_cast<uint8_t>(value);
}

/// Writes 8 bytes, most significant first.
inline void uint64ToByteArray(uint8_t* destination, uint64_t value) {
    const uint64_t word = (htonll)(value);
    std::memcpy(destination, &word, sizeof word);
}
