/// @file
/// Bytes as hex text, so that a test shows them as they stand in a record.
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

#include "libvekutil/utility.h"

/// "00 0C 80 20" as bytes; blanks separate and mean nothing.
inline byteVec_t bytes(std::string_view hex) {
    byteVec_t result;
    std::string digits;
    for (const char c : hex) {
        if (c == ' ') {
            continue;
        }
        digits += c;
        if (digits.size() == 2) {
            result.push_back(static_cast<uint8_t>(std::stoul(digits, nullptr, 16)));
            digits.clear();
        }
    }
    if (!digits.empty()) {
        throw std::invalid_argument("an odd number of hex digits");
    }
    return result;
}

/// Bytes as "00 0C 80 20".
inline std::string hex(const uint8_t* data, size_t len) {
    constexpr char DIGITS[] = "0123456789ABCDEF";
    std::string result;
    for (size_t i = 0; i < len; ++i) {
        if (i > 0) {
            result += ' ';
        }
        result += DIGITS[data[i] >> 4];
        result += DIGITS[data[i] & 15];
    }
    return result;
}

inline std::string hex(const byteVec_t& data) { return hex(data.data(), data.size()); }
