/// @file
/// A piece of a trace: one record, or bytes that are none.
#pragma once

#include <cstddef>
#include <cstdint>

#include "libvektrace/MessageBase.h"

/// Why bytes are no record. It is told by what stands at the first of them.
enum gapReason_t : int {
    GAP_NONE = 0,             ///< they are a record
    GAP_NO_MARKER = 1,        ///< no sync marker where a record should begin
    GAP_SIZE_TOO_SMALL = 2,   ///< a size field below 12: no room for the header
    GAP_SIZE_BEYOND_END = 3,  ///< a size field that reaches beyond the end, with records behind it
    GAP_TRUNCATED = 4,        ///< a record that the end of the input cuts
    GAP_NOT_FOLLOWED = 5,     ///< what follows is no record, so the size field is wrong
    GAP_SPANS_RECORDS = 6,    ///< a size field that swallows whole records, which were preferred
    GAP_IMPLAUSIBLE = 7,      ///< unmarked: neither the identifier nor the time is to be believed
    GAP_FILLER = 8,           ///< a run of 0x00 or 0xFF, as a storage that was never written holds
    GAP_NUM = 9,              ///< not a reason: the number of reasons
};

/// "no sync marker", "truncated record", ...: a constant text in lower case, never null.
VEK_EXPORT const char* gapReasonText(gapReason_t reason);

/// One step of a RecordScanner. The spans of an input follow each other without a hole, and none is
/// empty.
struct TraceSpan {
    uint64_t offset = 0;            ///< of the first byte, from the beginning of the input
    const uint8_t* data = nullptr;  ///< the first byte, in the memory that the scanner was given
    size_t length = 0;              ///< bytes, a record's sync marker included
    gapReason_t reason = GAP_NONE;  ///< why these bytes are no record, or GAP_NONE
    bool marked = false;            ///< a record with a sync marker in front
    bool continued = false;  ///< a gap that goes on where the one before ended, for the same reason
    /// The bytes can be read in two ways: as one record, or as whole records inside of it.
    bool ambiguous = false;

    /// Whether they are a record: no reason, and decodeRecord has something to decode.
    bool isRecord() const { return reason == GAP_NONE; }
    /// The record's size field: what MessageBase::readFromByteArray takes. Only of a record.
    const uint8_t* record() const { return data + markerLength(); }
    /// Bytes from the size field on.
    size_t recordLength() const { return length - markerLength(); }

private:
    size_t markerLength() const { return marked ? sizeof MessageBase::SYNC_MARKER : 0; }
};
