/// @file
/// Tells whether two sequences of records are the same without keeping either.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vek::program {

class RecordDigest {
public:
    /// One record, sync marker included.
    void add(const uint8_t* data, size_t length);

    uint64_t records() const { return recordCount; }
    uint64_t bytes() const { return byteCount; }
    /// The same number and lengths of records, and, as far as 64 bits can tell, the same bytes.
    bool operator==(const RecordDigest& other) const;
    bool operator!=(const RecordDigest& other) const { return !(*this == other); }

private:
    void mix(uint64_t word);

    uint64_t recordCount = 0;
    uint64_t byteCount = 0;
    uint64_t sum = 0xcbf29ce484222325;
};

}  // namespace vek::program
