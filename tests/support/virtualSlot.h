/// @file
/// Which slot of the table of virtual functions a member function has.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

/// The destructor takes two slots in the binary interface used on every platform we run on.
inline constexpr size_t VIRTUAL_SLOTS_OF_DESTRUCTOR = 2;

inline constexpr size_t NOT_VIRTUAL = SIZE_MAX;

/// Reads the slot out of the pointer's representation: a virtual function's is its offset in the
/// table plus 1, or, where addresses of functions may be odd, the offset with a flag beside it.
template <class Function>
size_t virtualSlot(Function function) {
    struct Representation {
        ptrdiff_t pointer;
        ptrdiff_t adjustment;
    } representation;
    static_assert(sizeof function == sizeof representation);
    std::memcpy(&representation, &function, sizeof representation);
#if defined(__arm__) || defined(__aarch64__)
    const bool isVirtual = (representation.adjustment & 1) != 0;
    const ptrdiff_t offset = representation.pointer;
#else
    const bool isVirtual = (representation.pointer & 1) != 0;
    const ptrdiff_t offset = representation.pointer - 1;
#endif
    return isVirtual ? static_cast<size_t>(offset) / sizeof(void*) : NOT_VIRTUAL;
}
