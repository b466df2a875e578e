/// @file
/// What a record says, independent of any encoding: the common ground on which contenders are
/// compared.
#pragma once

#include <string>

#include "libvektrace/MessageBase.h"

namespace bench {

struct Fields {
    uint16_t id;
    uint16_t reserved;
    timeStamp_t stamp;
    byteVec_t payload;
};

/// The encoded record, byte by byte.
byteVec_t recordOf(const Fields& fields);

std::string textOf(const byteVec_t& bytes);

/// The fields as text.
std::string describe(const Fields& fields);
/// The fields of a decoded message in the same text; of an InvalidMessage the cause too. "null" for
/// no message.
std::string describe(const MessageBase* message);

}  // namespace bench
