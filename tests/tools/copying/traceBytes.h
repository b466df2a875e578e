/// @file
/// Small traces for the tests, and the spans that are in them.
#pragma once

#include <vector>

#include "libvekstream/RecordScanner.h"
#include "support/TestMessage.h"

/// Appends a record of `payload` bytes 01.
inline void appendRecord(byteVec_t& trace, msgid_t id, timeStamp_t time, size_t payload = 0,
                         bool marked = true) {
    TestMessage(id, time, byteVec_t(payload, 1)).createByteArray(trace, marked, true);
}

inline byteVec_t recordBytes(msgid_t id, timeStamp_t time, size_t payload = 0, bool marked = true) {
    byteVec_t trace;
    appendRecord(trace, id, time, payload, marked);
    return trace;
}

/// The spans point into `trace`.
inline std::vector<TraceSpan> spansOf(const byteVec_t& trace, sizeRule_t rule = RULE_TRUST_SIZES) {
    RecordScanner scanner(FRAMING_DETECT, rule);
    scanner.setInput(trace.data(), trace.size());
    std::vector<TraceSpan> spans;
    for (TraceSpan span; scanner.next(span);) {
        spans.push_back(span);
    }
    return spans;
}

/// A span as the scanner makes it of marked bytes, without looking at them.
inline TraceSpan spanOf(const byteVec_t& record, gapReason_t reason = GAP_NONE) {
    TraceSpan span;
    span.data = record.data();
    span.length = record.size();
    span.reason = reason;
    span.marked = reason == GAP_NONE;
    return span;
}
