/// @file
/// What the fuzz targets share: laws that end the process, and inputs that are taken apart.
#pragma once

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "libvekutil/utility.h"

/// What libFuzzer and the replay program call with each input.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

/// Ends the process, with the law, where it does not hold.
inline void require(bool holds, const char* law) {
    if (!holds) {
        std::fprintf(stderr, "broken law: %s\n", law);
        std::abort();
    }
}

/// An input, taken from the front piece by piece; behind its end all bytes are 0.
class Script {
public:
    Script(const uint8_t* data, size_t size) : next(data), left(size) {}

    bool atEnd() const { return left == 0; }

    uint8_t byte() {
        if (left == 0) {
            return 0;
        }
        --left;
        return *next++;
    }
    /// Big-endian, of so many bytes.
    uint64_t number(size_t width) {
        uint64_t value = 0;
        for (; width > 0; --width) {
            value = value << 8 | byte();
        }
        return value;
    }
    bool flag() { return (byte() & 1) != 0; }

    /// As many bytes as are left, but at most `most`.
    byteVec_t bytes(size_t most) {
        const size_t count = std::min(left, most);
        const byteVec_t taken(next, next + count);
        next += count;
        left -= count;
        return taken;
    }
    byteVec_t rest() { return bytes(left); }
    /// The first byte tells how many bytes it has.
    std::string text() {
        const byteVec_t content = bytes(byte());
        return {content.begin(), content.end()};
    }
    std::string restOfText() {
        const byteVec_t content = rest();
        return {content.begin(), content.end()};
    }

    /// For what asks a generator of random numbers.
    uint64_t operator()() { return byte(); }

private:
    const uint8_t* next;
    size_t left;
};
