#include "tools/vektrace/copying/RecordDigest.h"

#include <cstring>

namespace vek::program {

void RecordDigest::add(const uint8_t* data, size_t length) {
    ++recordCount;
    byteCount += length;
    mix(length);
    uint64_t word = 0;
    for (; length >= sizeof word; data += sizeof word, length -= sizeof word) {
        std::memcpy(&word, data, sizeof word);
        mix(word);
    }
    word = 0;
    std::memcpy(&word, data, length);
    mix(word);
}

// FNV-1a by words instead of bytes, with the high bits folded down, which the multiplication alone
// would never bring there. Words are taken as they lie in memory: the sum is never stored.
void RecordDigest::mix(uint64_t word) {
    sum = (sum ^ word) * 0x100000001b3;
    sum ^= sum >> 32;
}

bool RecordDigest::operator==(const RecordDigest& other) const {
    return recordCount == other.recordCount && byteCount == other.byteCount && sum == other.sum;
}

}  // namespace vek::program
