/// @file
/// Memory behind whose contents a record is appended again and again.
#pragma once

#include <cstdint>
#include <string>

namespace bench {

/// `Bytes` is a vector or a string. The contents are as long as it takes for the record to begin
/// with a cache line: which lines it touches must not differ between contenders.
template <class Bytes>
class AppendBuffer {
public:
    AppendBuffer() {
        constexpr size_t ROOM = 1 << 16;
        constexpr size_t LINE = 64;
        bytes.reserve(ROOM);
        contents = (LINE - reinterpret_cast<uintptr_t>(bytes.data()) % LINE) % LINE;
        bytes.resize(contents);
    }

    /// Takes off the record that was appended last.
    void reset() { bytes.resize(contents); }
    Bytes& get() { return bytes; }
    std::string record() const { return {bytes.begin() + offset(), bytes.end()}; }

private:
    auto offset() const { return static_cast<typename Bytes::difference_type>(contents); }

    Bytes bytes;
    size_t contents;
};

}  // namespace bench
