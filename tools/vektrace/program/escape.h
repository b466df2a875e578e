/// @file
/// Text from outside, made fit for terminals and files of lines.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace vek::program {

/// Appends `text` with every byte that is not printable ASCII as `\x` and two lowercase hexadecimal
/// digits. Backslashes stay as they are: a message's own text may hold such digits already.
void appendEscaped(std::string& out, std::string_view text);

/// The same for control characters, those of U+0080 to U+009F included, and for bytes that are no
/// UTF-8: for names of files, whose letters are not ours to judge. What is appended is UTF-8.
void appendWithoutControls(std::string& out, std::string_view text);

/// Whether `text` is UTF-8: no surrogates, no characters beyond U+10FFFF, none longer than needed.
bool isUtf8(std::string_view text);

/// Appends the bytes as two lowercase hexadecimal digits each, with `separator` between them unless
/// it is 0.
void appendHex(std::string& out, const unsigned char* data, size_t length, char separator = '\0');

}  // namespace vek::program
