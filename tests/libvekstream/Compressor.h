/// @file
/// What makes compressed input for the tests, by the library of the format itself.
#pragma once

#include <gtest/gtest.h>

#include "libvekutil/utility.h"

struct Compressor {
    const char* name;
    /// One member or frame, with a check of its contents.
    byteVec_t (*compress)(const byteVec_t& plain);
    bool (*canRead)();
};

/// How the names of tests show it.
inline void PrintTo(const Compressor& compressor, std::ostream* os) { *os << compressor.name; }

/// Each build has the formats that its library has.
class CompressedTrace : public testing::TestWithParam<Compressor> {};
