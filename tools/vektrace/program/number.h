/// @file
/// Whole numbers as a user writes them.
#pragma once

#include <cstdint>
#include <string_view>

namespace vek::program {

/// Whether all of the text is the digits of a number that 64 bits hold.
bool isNumber(std::string_view text, uint64_t& value, int base = 10);

/// Whether all of the text is one to six digits behind a decimal point.
bool isFraction(std::string_view text, uint64_t& millionths);

/// A number, which may be 0. Throws UsageError.
uint64_t parseNumber(std::string_view text);

/// Takes the decimal digits away with which `text` begins.
std::string_view takeDigits(std::string_view& text);

}  // namespace vek::program
