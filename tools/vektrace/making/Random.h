/// @file
/// Pseudo-random numbers that are the same for a seed on every machine and standard library: whole
/// numbers only, and none of the standard library's distributions, which each library makes its own
/// way.
///
/// The generator is splitmix64: 64 bits of state, every value once in 2^64. Not for secrets.
#pragma once

#include <cstddef>
#include <cstdint>

#include "libvekutil/datablock.h"

namespace vek::program {

class Random {
public:
    /// Generators of one seed and different streams have nothing in common, so that one use of
    /// random numbers does not change with how many another one takes.
    Random(uint64_t seed, uint64_t stream) : state(mix(seed) ^ mix(~stream)) {}

    uint64_t next() { return mix(state += INCREMENT); }

    /// From 0 to `bound` - 1; `bound` is not 0. Values differ in frequency by less than bound /
    /// 2^64.
    uint64_t below(uint64_t bound) { return highProduct(next(), bound); }
    /// From `first` to `last`, both included; the distance is below 2^64 - 1.
    uint64_t between(uint64_t first, uint64_t last) { return first + below(last - first + 1); }

    void fill(uint8_t* bytes, size_t length) {
        size_t i = 0;
        for (; i + sizeof(uint64_t) <= length; i += sizeof(uint64_t)) {
            uint64ToByteArray(bytes + i, next());
        }
        for (uint64_t rest = i < length ? next() : 0; i < length; ++i, rest <<= 8) {
            bytes[i] = static_cast<uint8_t>(rest >> 56);
        }
    }

private:
    static constexpr uint64_t INCREMENT = 0x9E3779B97F4A7C15;

    static constexpr uint64_t mix(uint64_t z) {
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EB;
        return z ^ (z >> 31);
    }

    /// The upper half of the product's 128 bits, of which not every machine has a type.
    static constexpr uint64_t highProduct(uint64_t a, uint64_t b) {
        constexpr uint64_t LOW = 0xFFFFFFFF;
        const uint64_t low = (a & LOW) * (b & LOW);
        const uint64_t middle = (a >> 32) * (b & LOW) + (low >> 32);
        const uint64_t other = (a & LOW) * (b >> 32) + (middle & LOW);
        return (a >> 32) * (b >> 32) + (middle >> 32) + (other >> 32);
    }

    uint64_t state;
};

}  // namespace vek::program
