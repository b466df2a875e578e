/// @file
/// One number for any amount of output: FNV-1a with 64 bits.
#pragma once

#include <sstream>
#include <string>
#include <string_view>

#include "libvekutil/utility.h"

class Digest {
public:
    void add(std::string_view text) {
        number(text.size());
        for (const char c : text) {
            byte(static_cast<uint8_t>(c));
        }
    }
    void add(const char* text) { add(std::string_view(text)); }
    void add(const byteVec_t& bytes) {
        number(bytes.size());
        for (const uint8_t b : bytes) {
            byte(b);
        }
    }
    void add(const std::ostringstream& stream) { add(stream.str()); }
    /// The number itself, whatever its width and the host's byte order.
    void number(uint64_t value) {
        for (int shift = 56; shift >= 0; shift -= 8) {
            byte(static_cast<uint8_t>(value >> shift));
        }
    }

    uint64_t value() const { return state; }

private:
    void byte(uint8_t b) { state = (state ^ b) * 0x100000001b3; }

    uint64_t state = 0xcbf29ce484222325;
};
