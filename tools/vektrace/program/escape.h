/// @file
/// Text from outside, made fit for terminals and files of lines.
#pragma once

#include <string>
#include <string_view>

namespace vek::program {

/// Appends `text` with every byte that is not printable ASCII as `\x` and two lowercase hexadecimal
/// digits. Backslashes stay as they are: a message's own text may hold such digits already.
void appendEscaped(std::string& out, std::string_view text);

/// The same for control bytes only: for names of files, whose letters are not ours to judge.
void appendWithoutControls(std::string& out, std::string_view text);

/// Appends the bytes as two lowercase hexadecimal digits each, with `separator` between them unless
/// it is 0.
void appendHex(std::string& out, const unsigned char* data, size_t length, char separator = '\0');

}  // namespace vek::program
