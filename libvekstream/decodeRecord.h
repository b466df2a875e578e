/// @file
/// Decodes a span that a scanner or reader yielded.
#pragma once

#include <memory>

#include "libvekstream/TraceSpan.h"

/// The message of a record as MessageBase::readFromByteArray makes it of exactly the record's bytes:
/// null, or an InvalidMessage, where it cannot be decoded, as the policy says. Null also for a gap.
inline std::unique_ptr<MessageBase> decodeRecord(const TraceSpan& span) {
    if (!span.isRecord()) {
        return nullptr;
    }
    return std::unique_ptr<MessageBase>(
        MessageBase::readFromByteArray(span.record(), span.recordLength()));
}
