/// @file
/// Message identifiers as a user writes and reads them.
#pragma once

#include <string>
#include <string_view>

#include "libvektrace/messageID.h"
#include "tools/vektrace/program/errors.h"

namespace vek::program {

/// Reads a name of the catalogue, whatever the case of its letters, or a number: 1, 0x8020. Throws
/// UsageError.
msgid_t parseIdentifier(std::string_view text);

/// "0x8020".
std::string identifierNumber(msgid_t id);

/// The catalogue's name, or empty where it has none.
std::string_view identifierName(msgid_t id);

}  // namespace vek::program
