/// @file
/// Memory between two pages that must not be touched: one byte too many is a crash.
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <new>

#include "libvekutil/utility.h"

class GuardedBuffer {
public:
    /// Where the bytes lie: right in front of the page behind them, or right behind the one in
    /// front of them.
    enum side_t { END_GUARDED, BEGIN_GUARDED };

    explicit GuardedBuffer(size_t _length, side_t side = END_GUARDED) : length(_length) {
        const auto page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
        const size_t inner = std::max<size_t>(1, (length + page - 1) / page) * page;
        mapped = inner + 2 * page;
        void* const memory = mmap(nullptr, mapped, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (memory == MAP_FAILED) {
            throw std::bad_alloc();
        }
        base = static_cast<uint8_t*>(memory);
        if (mprotect(base + page, inner, PROT_READ | PROT_WRITE) != 0) {
            throw std::bad_alloc();
        }
        begin = base + page + (side == END_GUARDED ? inner - length : 0);
    }

    explicit GuardedBuffer(const byteVec_t& content, side_t side = END_GUARDED)
        : GuardedBuffer(content.size(), side) {
        std::copy(content.begin(), content.end(), begin);
    }

    ~GuardedBuffer() { munmap(base, mapped); }
    GuardedBuffer(const GuardedBuffer&) = delete;
    GuardedBuffer& operator=(const GuardedBuffer&) = delete;

    uint8_t* data() const { return begin; }
    size_t size() const { return length; }
    byteVec_t content() const { return {begin, begin + length}; }

private:
    size_t length;
    size_t mapped = 0;
    uint8_t* base = nullptr;
    uint8_t* begin = nullptr;
};
