/// @file
/// What the registry makes of a record, whatever the creators do.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "libvekstream/TraceSpan.h"

namespace vek::program {

enum decoding_t : int {
    DECODING_DONE = 0,
    /// No creator is registered for the identifier, which is no fault of the trace.
    DECODING_UNREGISTERED = 1,
    /// The creator refused the record, or failed.
    DECODING_REFUSED = 2,
};

struct Decoded {
    decoding_t decoding = DECODING_DONE;
    /// The message, or the InvalidMessage that stands in for it; never null.
    std::unique_ptr<MessageBase> message;
    std::string reason;  ///< why it was refused, in lower case; otherwise empty
};

/// Decodes a record. Needs the policy IMH_RETURN_INVALID_MESSAGE; lets std::bad_alloc through and
/// nothing else.
Decoded decode(const TraceSpan& record);

/// Whether a creator is registered for the record's identifier.
bool isRegistered(const TraceSpan& record);

inline msgid_t identifierOf(const TraceSpan& record) {
    return MessageBase::getMessageId(record.record());
}
inline timeStamp_t timeOf(const TraceSpan& record) {
    return MessageBase::getTimeStamp(record.record());
}
inline uint16_t reservedOf(const TraceSpan& record) {
    return byteArrayToUint16(record.record() + MessageBase::MO_HDRRESERVED);
}

}  // namespace vek::program
