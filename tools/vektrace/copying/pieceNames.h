/// @file
/// The names of the pieces into which a trace is split.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vek::program {

/// "PREFIX-0001.vkt"; the number has four digits, or more where it needs them.
std::string pieceName(const std::string& prefix, uint64_t number);

/// The trace's path without ".vkt", and without ".gz" or ".zst" behind it.
std::string piecePrefix(const std::string& trace);

/// The files that are named like pieces of this prefix, in the order of their numbers. A folder
/// that cannot be listed has none.
std::vector<std::string> existingPieces(const std::string& prefix);

}  // namespace vek::program
