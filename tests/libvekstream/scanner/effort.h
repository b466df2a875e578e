/// @file
/// How much the tests with random input do.
#pragma once

#include <cstdlib>

/// 1, or the number in the environment variable VEKTRACE_TEST_EFFORT: that many times as many
/// rounds. They begin with the same ones.
inline size_t testEffort() {
    const char* text = std::getenv("VEKTRACE_TEST_EFFORT");
    const long effort = text == nullptr ? 1 : std::strtol(text, nullptr, 10);
    return effort < 1 ? 1 : static_cast<size_t>(effort);
}
