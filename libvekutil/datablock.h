/// @file
/// Big-endian numbers at any byte address.
///
/// No function checks bounds or needs alignment: the caller guarantees 2, 4 or 8 accessible bytes,
/// and exactly those are touched. The result is the same on every host.
#pragma once

#include <cstdint>
#include <cstring>

#include "libvekutil/utility.h"

/// Reads 2 bytes, most significant first.
inline uint16_t byteArrayToUint16(const uint8_t* source) {
    return static_cast<uint16_t>(source[0] << 8 | source[1]);
}

/// Reads 4 bytes, most significant first.
inline uint32_t byteArrayToUint32(const uint8_t* source) {
    return uint32_t{source[0]} << 24 | uint32_t{source[1]} << 16 | uint32_t{source[2]} << 8 |
           uint32_t{source[3]};
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

/// Writes 4 bytes, most significant first.
inline void uint32ToByteArray(uint8_t* destination, uint32_t value) {
    uint16ToByteArray(destination, static_cast<uint16_t>(value >> 16));
    uint16ToByteArray(destination + 2, static_cast<uint16_t>(value));
}

/// Writes 8 bytes, most significant first.
inline void uint64ToByteArray(uint8_t* destination, uint64_t value) {
    const uint64_t word = (htonll)(value);
    std::memcpy(destination, &word, sizeof word);
}
