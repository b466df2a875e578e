/// @file
/// The small things that all trace code shares: bytes, 64-bit byte order, calendar text.
///
/// Nothing here keeps state or allocates; every function may be called from any thread, on
/// distinct streams.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <ctime>
#include <iosfwd>
#include <vector>

#include "libvekutil/export.h"

/// Bytes that own their storage: encoded records and payloads.
using byteVec_t = std::vector<uint8_t>;

/// Default number of bytes per row of a hex dump that has rows; for users, nothing here has any.
inline constexpr size_t HEXDUMP_DEFAULT_ROWSIZE = 16;

// The names stand in parentheses here and wherever our headers call them: some systems have
// function-like macros of these names, which parentheses keep from expanding.

/// Network (big-endian) to host byte order; the identity on a big-endian host.
inline uint64_t(ntohll)(uint64_t n) {
    uint8_t byte[sizeof n];
    std::memcpy(byte, &n, sizeof n);
    return uint64_t{byte[0]} << 56 | uint64_t{byte[1]} << 48 | uint64_t{byte[2]} << 40 |
           uint64_t{byte[3]} << 32 | uint64_t{byte[4]} << 24 | uint64_t{byte[5]} << 16 |
           uint64_t{byte[6]} << 8 | uint64_t{byte[7]};
}

/// Host to network (big-endian) byte order; the same operation as ntohll.
inline uint64_t(htonll)(uint64_t n) { return (ntohll)(n); }

/// Writes date and time of day as `YYYY-MM-DD HH:MM:SS` and nothing behind it.
///
/// The text depends on nothing but `t`: not on the stream's flags, fill, width (which stays as it
/// is) or locale. A field outside its digits (a year below 0 or above 9999, any other field below
/// 0 or above 99) is written as a plain decimal number.
VEK_EXPORT std::ostream& operator<<(std::ostream& os, const tm& t);

/// Writes `Unknown (N)`, N in decimal whatever the stream's flags; the stream's width is 0
/// afterwards and pads nothing.
VEK_EXPORT void printUnknownEnum(std::ostream& os, int value);
