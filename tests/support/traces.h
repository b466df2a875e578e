/// @file
/// Traces for the tests of what reads them, and what a reader made of one.
#pragma once

#include <random>
#include <string>
#include <vector>

#include "libvekstream/TraceReader.h"
#include "support/TestMessage.h"

/// Marked records of the same time and of identifiers that the catalogue has, with payloads of
/// pseudo-random bytes that hold no marker.
inline byteVec_t traceOf(size_t records, size_t payload = 20, bool marked = true) {
    std::mt19937 random(static_cast<unsigned>(records * 31 + payload));
    byteVec_t trace;
    for (size_t i = 0; i < records; ++i) {
        byteVec_t content(payload);
        for (uint8_t& byte : content) {
            byte = static_cast<uint8_t>(random() % 0xf0 | 1);
            byte = byte == 0x55 ? 0x57 : byte;
        }
        TestMessage(i % 2 == 0 ? MSGID_CAN : MSGID_LIN, 1234567890123456 + i, content)
            .createByteArray(trace, marked, true);
    }
    return trace;
}

/// Everything that a reader yields up to the end, or up to its exception.
struct Reading {
    byteVec_t bytes;  ///< of all spans, one after the other
    size_t records = 0;
    size_t gaps = 0;
    std::string spans;   ///< "0+36 36+36 72+4(truncated record)"
    std::string reason;  ///< of the exception; empty without one
    uint64_t failedAt = 0;
    int error = 0;

    explicit Reading(TraceReader& reader) {
        try {
            for (TraceSpan span; reader.next(span);) {
                add(span);
            }
        } catch (const TraceException& exception) {
            reason = exception.what();
            failedAt = exception.offset();
            error = exception.error();
        }
    }
    explicit Reading(int fd, const TraceReaderOptions& options = TraceReaderOptions())
        : Reading(*std::make_unique<TraceReader>(fd, options)) {}

private:
    void add(const TraceSpan& span) {
        spans += (spans.empty() ? "" : " ") + std::to_string(span.offset) + '+' +
                 std::to_string(span.length);
        if (!span.isRecord()) {
            spans += std::string("(") + gapReasonText(span.reason) + ')';
        }
        bytes.insert(bytes.end(), span.data, span.data + span.length);
        ++(span.isRecord() ? records : gaps);
    }
};

/// Whether `whole` begins with `part`.
inline bool isBeginning(const byteVec_t& part, const byteVec_t& whole) {
    return part.size() <= whole.size() && std::equal(part.begin(), part.end(), whole.begin());
}
