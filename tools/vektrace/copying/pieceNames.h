/// @file
/// The names of the pieces into which a trace is split.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string>
#include <tuple>
#include <vector>

namespace vek::program {

/// The limit for `digits` below.
inline constexpr uint64_t MOST_DIGITS = 18;

/// How many pieces so many digits can number. All names have as many, so that their order is that of
/// the pieces.
uint64_t mostPieces(uint64_t digits);

/// "PREFIX-0001.vkt" with 4 digits; `number` has no more.
std::string pieceName(const std::string& prefix, uint64_t number, uint64_t digits);

/// The trace's path without ".vkt", and without ".gz" or ".zst" behind it.
std::string piecePrefix(const std::string& trace);

/// The folder and the beginning of the names: equal where pieces of the same number are the same
/// files, however the folder is written or reached; but for file systems that take different names
/// for one.
using pieceKey_t = std::tuple<dev_t, ino_t, std::string>;
pieceKey_t pieceKey(const std::string& prefix);

/// The files that are named like pieces of this prefix, in the order of their numbers and as pieceName
/// names them; also one with number 0, which no piece has. A folder that cannot be listed has none.
std::vector<std::string> existingPieces(const std::string& prefix, uint64_t digits);

/// Those with another number of digits, by name: between them such pieces would not be in order. Fewer
/// than four digits are taken for a part of the name.
std::vector<std::string> piecesOfOtherDigits(const std::string& prefix, uint64_t digits);

}  // namespace vek::program
