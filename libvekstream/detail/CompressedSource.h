/// @file
/// What the decompressors share: the compressed bytes, the end in the middle, the limit of expansion.
#pragma once

#include <cstddef>
#include <cstdint>

#include "libvekstream/detail/compression.h"

namespace vek::detail {

class CompressedSource : public ByteSource {
public:
    /// Most compressed bytes that are held.
    static constexpr size_t CAPACITY = 0x10000;

    size_t read(uint8_t* to, size_t room) final;

protected:
    /// `_prefix` is a constant with which every reason begins.
    CompressedSource(const char* _prefix, const CompressedInput& input);

    /// Decompresses from `begin`, which it moves, but not beyond `end`; returns how many bytes that
    /// gave. Takes none and gives none only when it needs more. Fails by fail(), when it gives none.
    virtual size_t decompress(uint8_t* to, size_t room) = 0;
    /// Whether the input may end where it is.
    virtual bool isWhole() const = 0;

    /// `what` is a constant too.
    [[noreturn]] void fail(const char* what) const;

    const uint8_t* begin = buffer;
    const uint8_t* end = buffer;

private:
    bool refill();
    void checkExpansion() const;
    void checkEnd() const;

    const char* prefix;
    FdSource& rest;
    uint64_t expansionLimit;
    uint64_t loaded;
    uint64_t given = 0;
    uint8_t buffer[CAPACITY];
};

}  // namespace vek::detail
