/// @file
/// Runs the scanner over bytes, and compares what it yields with the laws and with its plain twin.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

#include "libvekstream/scanner/PlainScanner.h"
#include "support/hex.h"

/// The identifiers of the catalogue, as ranges: a slip in one list shows in the other.
inline PlainScanner::ids_t catalogueIds() {
    constexpr unsigned RANGES[][2] = {
        {0x0000, 0x000E}, {0x0010, 0x0020}, {0x0080, 0x008A}, {0x0090, 0x0095}, {0x00FD, 0x0101},
        {0x8003, 0x8006}, {0x8008, 0x8008}, {0x800F, 0x8010}, {0x8012, 0x8015}, {0x8018, 0x8018},
        {0x801C, 0x801C}, {0x8020, 0x8022}, {0x8024, 0x8026}, {0x8030, 0x8031}, {0x8033, 0x8033},
        {0x8036, 0x803B}, {0xF000, 0xF001}, {0xFFFD, 0xFFFF}};
    PlainScanner::ids_t ids;
    for (const auto& range : RANGES) {
        for (unsigned id = range[0]; id <= range[1]; ++id) {
            ids.insert(id);
        }
    }
    return ids;
}

/// Nothing is registered in the tests that compare with it.
inline const PlainScanner::ids_t& knownIds() {
    static const PlainScanner::ids_t ids = catalogueIds();
    return ids;
}

// ---- Text --------------------------------------------------------------------------------------

inline const char* reasonName(gapReason_t reason) {
    constexpr const char* NAMES[GAP_NUM] = {"record",        "no marker",   "too small",
                                            "beyond end",    "truncated",   "not followed",
                                            "spans records", "implausible", "filler"};
    return reason >= 0 && reason < GAP_NUM ? NAMES[reason] : "no such reason";
}

/// "record 16, truncated 3": what the spans are and how long.
inline std::string textOf(const std::vector<TraceSpan>& spans) {
    std::ostringstream text;
    for (const TraceSpan& span : spans) {
        text << (text.tellp() > 0 ? ", " : "") << reasonName(span.reason) << ' ' << span.length
             << (span.continued ? " continued" : "") << (span.ambiguous ? " ambiguous" : "");
    }
    return text.str();
}

// ---- Laws --------------------------------------------------------------------------------------

/// Which law a record breaks that every record keeps; null when none.
inline const char* brokenByRecord(const TraceSpan& span) {
    const size_t marker = span.marked ? 2 : 0;
    if (span.length < marker + 14) {
        return "a record shorter than its header";
    }
    if (span.marked && (span.data[0] != 0x55 || span.data[1] != 0xAA)) {
        return "a marked record without a marker";
    }
    if (span.record() != span.data + marker || span.recordLength() != span.length - marker) {
        return "a record whose parts lie elsewhere";
    }
    if (MessageBase::getMessageSize(span.record()) + size_t{2} != span.recordLength()) {
        return "a record of another length than its size field says";
    }
    return span.continued ? "a continued record" : nullptr;
}

inline const char* brokenByGap(const TraceSpan& span, const TraceSpan* before) {
    if (span.length > RecordScanner::MAX_GAP) {
        return "a gap that is too long";
    }
    if (span.marked || span.ambiguous != (span.reason == GAP_SPANS_RECORDS && !span.continued)) {
        return "a gap that is said to be what it is not";
    }
    if (span.reason < 0 || span.reason >= GAP_NUM) {
        return "a gap without a reason";
    }
    if (span.continued && (before == nullptr || before->reason != span.reason ||
                           before->length != RecordScanner::MAX_GAP)) {
        return "a continued gap that nothing begins";
    }
    return nullptr;
}

/// Which law the spans break that the spans of every input keep; null when none. The bytes of a
/// span are looked at only where it lies within the input.
inline const char* brokenLaw(const uint8_t* data, size_t length,
                             const std::vector<TraceSpan>& spans) {
    uint64_t position = 0;
    const TraceSpan* before = nullptr;
    for (const TraceSpan& span : spans) {
        if (span.offset != position || span.length == 0 || span.length > length - position) {
            return "spans that do not follow each other";
        }
        if (span.data != data + position) {
            return "a span that points elsewhere";
        }
        const char* broken = span.isRecord() ? brokenByRecord(span) : brokenByGap(span, before);
        if (broken != nullptr) {
            return broken;
        }
        position += span.length;
        before = &span;
    }
    return position == length ? nullptr : "bytes that are in no span";
}

// ---- The scanner -------------------------------------------------------------------------------

/// Takes spans until the scanner has no more, and checks the position behind each.
inline void takeAll(RecordScanner& scanner, std::vector<TraceSpan>& spans) {
    for (TraceSpan span; scanner.next(span);) {
        spans.push_back(span);
        ASSERT_EQ(scanner.position(), span.offset + span.length);
    }
}

/// The spans of bytes that are given at once; `scanner` is a new one.
inline std::vector<TraceSpan> spansAtOnce(RecordScanner& scanner, const uint8_t* data,
                                          size_t length) {
    std::vector<TraceSpan> spans;
    scanner.setInput(data, length);
    takeAll(scanner, spans);
    const char* broken = brokenLaw(data, length, spans);
    EXPECT_EQ(broken, nullptr) << broken << ": " << textOf(spans);
    return spans;
}

inline std::vector<TraceSpan> spansAtOnce(const byteVec_t& input, framing_t framing,
                                          sizeRule_t rule) {
    RecordScanner scanner(framing, rule);
    return spansAtOnce(scanner, input.data(), input.size());
}

inline bool same(const TraceSpan& a, const TraceSpan& b) {
    return a.offset == b.offset && a.length == b.length && a.reason == b.reason &&
           a.marked == b.marked && a.continued == b.continued && a.ambiguous == b.ambiguous;
}

inline bool same(const std::vector<TraceSpan>& a, const std::vector<TraceSpan>& b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](const TraceSpan& x, const TraceSpan& y) { return same(x, y); });
}

/// Fails, with the input, when the scanner divides it otherwise than its plain twin.
inline void expectAsPlain(const byteVec_t& input, framing_t framing, sizeRule_t rule) {
    RecordScanner scanner(framing, rule);
    const std::vector<TraceSpan> spans = spansAtOnce(scanner, input.data(), input.size());
    const PlainScanner plain(input, framing, rule, knownIds());
    const bool agree = same(spans, plain.spans()) && scanner.ambiguities() == plain.ambiguities() &&
                       (input.empty() || scanner.framing() == plain.framing());
    if (!agree) {
        ADD_FAILURE() << "framing " << framing << ", rule " << rule << ", input "
                      << hex(input.data(), std::min<size_t>(input.size(), 2000)) << "\nscanner "
                      << scanner.framing() << ": " << textOf(spans) << "\nplain   "
                      << plain.framing() << ": " << textOf(plain.spans());
    }
}

/// A framing to expect and a rule for sizes; for unmarked traces the rule has no meaning.
struct Way {
    framing_t framing;
    sizeRule_t rule;
};

inline constexpr Way EVERY_WAY[] = {{FRAMING_MARKED, RULE_TRUST_SIZES},
                                    {FRAMING_MARKED, RULE_PREFER_CHAIN},
                                    {FRAMING_UNMARKED, RULE_TRUST_SIZES},
                                    {FRAMING_DETECT, RULE_TRUST_SIZES},
                                    {FRAMING_DETECT, RULE_PREFER_CHAIN}};

inline void expectAsPlain(const byteVec_t& input) {
    for (const Way& way : EVERY_WAY) {
        expectAsPlain(input, way.framing, way.rule);
    }
}
