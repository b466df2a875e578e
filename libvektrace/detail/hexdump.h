/// @file
/// Numbers in hexadecimal, and one element of a dump in any stream's format, as characters in
/// memory.
#pragma once

#include <cstdint>
#include <cstring>
#include <ios>

#include "libvekutil/detail/digits.h"

namespace vek::detail {

inline constexpr char HEX_DIGITS[] = "0123456789abcdef";

/// Two lowercase digits. Room: 2.
inline char* writeHexByte(char* out, uint8_t byte) {
    out[0] = HEX_DIGITS[byte >> 4];
    out[1] = HEX_DIGITS[byte & 0xf];
    return out + 2;
}

/// At least two lowercase digits, more when needed. Room: 4.
inline char* writeHexNumber(char* out, uint16_t value) {
    if (value > 0xfff) {
        *out++ = HEX_DIGITS[value >> 12];
    }
    if (value > 0xff) {
        *out++ = HEX_DIGITS[value >> 8 & 0xf];
    }
    return writeHexByte(out, static_cast<uint8_t>(value));
}

/// For every byte a blank and its two digits, then one character more: with four characters a byte
/// is one load and one store, of which the fourth is overwritten by the next.
struct BlankAndDigits {
    char text[256][4] = {};
    constexpr BlankAndDigits() {
        for (size_t byte = 0; byte < 256; ++byte) {
            text[byte][0] = ' ';
            text[byte][1] = HEX_DIGITS[byte >> 4];
            text[byte][2] = HEX_DIGITS[byte & 0xf];
        }
    }
};
inline constexpr BlankAndDigits BLANK_AND_DIGITS;

/// Characters that writeHexBytes writes per byte.
inline constexpr size_t HEX_BYTE_LENGTH = 3;

/// A blank and two lowercase digits for each byte. Room: HEX_BYTE_LENGTH for each and 1.
inline char* writeHexBytes(char* out, const uint8_t* from, const uint8_t* to) {
    // So short a loop runs at half its speed where its jump happens to lie badly in memory.
#pragma GCC unroll 8
    for (; from != to; ++from) {
        std::memcpy(out, BLANK_AND_DIGITS.text[*from], 4);
        out += HEX_BYTE_LENGTH;
    }
    return out;
}

/// Room for writeElement: a prefix of one character and six octal digits.
inline constexpr size_t ELEMENT_ROOM = 7;

/// One element of a dump as a stream with these settings writes an unsigned number into a field of
/// width 2. Room: ELEMENT_ROOM.
inline char* writeElement(char* out, uint16_t element, std::ios_base::fmtflags flags, char fill) {
    const auto basefield = flags & std::ios_base::basefield;
    const int base = basefield == std::ios_base::hex   ? 16
                     : basefield == std::ios_base::oct ? 8
                                                       : 10;
    const bool uppercase = (flags & std::ios_base::uppercase) != 0;

    char* const begin = out;
    if ((flags & std::ios_base::showbase) != 0 && base != 10 && element != 0) {
        *out++ = '0';
        if (base == 16) {
            *out++ = uppercase ? 'X' : 'x';
        }
    }
    char* const digits = out;
    out = std::to_chars(out, begin + ELEMENT_ROOM, element, base).ptr;
    for (char* digit = digits; uppercase && digit != out; ++digit) {
        *digit = *digit >= 'a' ? static_cast<char>(*digit - 'a' + 'A') : *digit;
    }

    // A single character is all that the width can still pad, and so never one with a prefix.
    if (out - begin == 1) {
        const bool left = (flags & std::ios_base::adjustfield) == std::ios_base::left;
        begin[1] = left ? fill : begin[0];
        begin[0] = left ? begin[0] : fill;
        ++out;
    }
    return out;
}

}  // namespace vek::detail
