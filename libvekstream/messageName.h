/// @file
/// The names of the message identifiers: the catalogue's, without their prefix.
#pragma once

#include <string_view>

#include "libvektrace/messageID.h"
#include "libvekutil/export.h"

/// "CAN" for MSGID_CAN, "TIMEJUMP" for MSGID_TIMEJUMP; null for a number without an enumerator. The
/// text is a constant.
VEK_EXPORT const char* messageName(msgid_t id);

/// The inverse, whatever the case of the letters: whether there is such a name, and then `id` is its
/// number, else untouched.
VEK_EXPORT bool messageIdOfName(std::string_view name, msgid_t& id);
