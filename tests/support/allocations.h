/// @file
/// Counts the allocations of a piece of code, and lets one of them fail. A program that includes
/// this replaces operator new: one unit of it only.
#pragma once

#include <cstdlib>
#include <new>

namespace allocations {

inline long made = 0;
inline long alive = 0;
inline long failed = 0;
/// How many more succeed before one fails; below 0: all succeed.
inline long untilFailure = -1;
/// Whether all behind the one that fails fail too.
inline bool failsFromThenOn = false;

inline void* allocate(size_t size) {
    if (untilFailure == 0) {
        untilFailure = failsFromThenOn ? 0 : -1;
        ++failed;
        throw std::bad_alloc();
    }
    if (untilFailure > 0) {
        --untilFailure;
    }
    void* const memory = std::malloc(size == 0 ? 1 : size);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    ++made;
    ++alive;
    return memory;
}

inline void release(void* memory) noexcept {
    if (memory != nullptr) {
        --alive;
        std::free(memory);
    }
}

/// Number of allocations that `code` makes.
template <class Code>
long madeBy(Code code) {
    const long before = made;
    code();
    return made - before;
}

}  // namespace allocations

void* operator new(size_t size) { return allocations::allocate(size); }
void* operator new[](size_t size) { return allocations::allocate(size); }
void operator delete(void* memory) noexcept { allocations::release(memory); }
void operator delete[](void* memory) noexcept { allocations::release(memory); }
void operator delete(void* memory, size_t) noexcept { allocations::release(memory); }
void operator delete[](void* memory, size_t) noexcept { allocations::release(memory); }
