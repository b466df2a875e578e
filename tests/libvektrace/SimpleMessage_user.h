/// @file
/// A message type of a user's own: its name stands in another unit than its uses.
#pragma once

#include "libvektrace/SimpleMessage.h"

template <>
const char SimpleMessage<MSGID_PING>::messageName[5];

using Ping = SimpleMessage<MSGID_PING>;
