/// @file
/// Numbers as characters in memory. Each function writes at `out` and returns the end of its text;
/// the caller provides the room that the comment names.
#pragma once

#include <charconv>
#include <cstdint>
#include <cstring>

namespace vek::detail {

/// "00" to "99", one behind the other.
inline constexpr char TWO_DIGITS[] =
    "00010203040506070809101112131415161718192021222324252627282930313233343536373839"
    "40414243444546474849505152535455565758596061626364656667686970717273747576777879"
    "8081828384858687888990919293949596979899";

/// Room for every 64-bit decimal number with its sign.
inline constexpr size_t DECIMAL_ROOM = 20;

/// Two digits of a number below 100. Room: 2.
inline char* writeTwoDigits(char* out, uint32_t value) {
    std::memcpy(out, TWO_DIGITS + size_t{2} * value, 2);
    return out + 2;
}

/// Four digits of a number below 10000. Room: 4.
inline char* writeFourDigits(char* out, uint32_t value) {
    return writeTwoDigits(writeTwoDigits(out, value / 100), value % 100);
}

/// A decimal number, as short as possible. Room: `room`, which suffices for it.
inline char* writeDecimal(char* out, int64_t value, size_t room = DECIMAL_ROOM) {
    return std::to_chars(out, out + room, value).ptr;
}

}  // namespace vek::detail
