/// @file
/// Constants of the serial message types.
#pragma once

#include <cstddef>

/// Length in bytes of an ECU identifier.
inline constexpr size_t ECUID_SIZE = 4;
