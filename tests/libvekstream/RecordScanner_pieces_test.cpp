// Input that comes in pieces: the same spans, not a byte too far, and no waiting for what is there.

#include <gtest/gtest.h>

#include <memory>

#include "libvekstream/scanner/effort.h"
#include "libvekstream/scanner/scan.h"
#include "libvekstream/scanner/traces.h"
#include "support/GuardedBuffer.h"

namespace {

constexpr auto INPUT_CONTINUES = RecordScanner::INPUT_CONTINUES;
constexpr auto INPUT_PAUSES = RecordScanner::INPUT_PAUSES;
constexpr auto INPUT_ENDS = RecordScanner::INPUT_ENDS;

/// Gives the scanner the bytes from its position up to `end`, in memory of which no other byte may
/// be touched, and takes the spans that there are.
void give(RecordScanner& scanner, const byteVec_t& input, size_t end,
          RecordScanner::inputEnd_t inputEnd, std::vector<TraceSpan>& spans) {
    const auto begin = static_cast<size_t>(scanner.position());
    const GuardedBuffer there({input.begin() + static_cast<ptrdiff_t>(begin),
                               input.begin() + static_cast<ptrdiff_t>(end)});
    scanner.setInput(there.data(), there.size(), inputEnd);
    const size_t before = spans.size();
    takeAll(scanner, spans);
    for (size_t i = before; i < spans.size(); ++i) {
        ASSERT_EQ(spans[i].data, there.data() + (spans[i].offset - begin));
        spans[i].data = input.data() + spans[i].offset;
    }
}

/// The spans of input that comes in pieces of up to `longest` bytes.
std::vector<TraceSpan> spansInPieces(RecordScanner& scanner, const byteVec_t& input, Dice& dice,
                                     size_t longest) {
    std::vector<TraceSpan> spans;
    for (size_t end = 0; end < input.size();) {
        end = std::min(input.size(), end + dice.between(1, longest));
        give(scanner, input, end, INPUT_CONTINUES, spans);
    }
    give(scanner, input, input.size(), INPUT_ENDS, spans);
    return spans;
}

void expectPiecesChangeNothing(const byteVec_t& input, Dice& dice, size_t longest) {
    for (const Way& way : EVERY_WAY) {
        RecordScanner atOnce(way.framing, way.rule);
        RecordScanner inPieces(way.framing, way.rule);
        const auto expected = spansAtOnce(atOnce, input.data(), input.size());
        const auto spans = spansInPieces(inPieces, input, dice, longest);
        EXPECT_TRUE(same(spans, expected))
            << "framing " << way.framing << ", rule " << way.rule << ", pieces of up to " << longest
            << ", input " << hex(input.data(), std::min<size_t>(input.size(), 2000))
            << "\nin pieces " << textOf(spans) << "\nat once   " << textOf(expected);
        EXPECT_EQ(inPieces.ambiguities(), atOnce.ambiguities());
        EXPECT_EQ(inPieces.framing(), atOnce.framing());
    }
}

byteVec_t damagedTrace(Dice& dice, bool marked, size_t records, size_t maxPayload) {
    byteVec_t input = traceWithAStep(dice, marked, records, maxPayload);
    for (size_t times = dice.below(6); times > 0; --times) {
        damage(input, dice);
    }
    return input;
}

/// `length` bytes of nothing but frames that overlap.
byteVec_t framesAllOver(size_t length) {
    byteVec_t result;
    while (result.size() < length) {
        const byteVec_t frame = bytes("55 AA 00 0C");
        result.insert(result.end(), frame.begin(), frame.end());
    }
    return result;
}

/// Inputs on which a scanner must look far, or for long.
std::vector<byteVec_t> demandingInputs() {
    Dice dice(11);
    const byteVec_t record = markedRecord(MSGID_CAN, SOME_TIME);
    const byteVec_t longest = markedRecord(MSGID_CAN, SOME_TIME, byteVec_t(65521, 0x21));
    const byteVec_t carrier = markedRecord(MSGID_CONTAINER, SOME_TIME, framesAllOver(65520));
    return {byteVec_t(900000, 0x00),
            byteVec_t(900000, 0xFF),
            byteVec_t(900000, 0x55),
            framesAllOver(900000),
            joined({record, byteVec_t(700000, 0x00), record}),
            joined({longest, longest, longest, longest, longest, longest, longest, longest}),
            joined({carrier, carrier, longest, carrier, byteVec_t(600000, 0x33), carrier}),
            randomTrace(dice, false, 20, 65521).bytes,
            dice.bytes(900000)};
}

// ---- The same spans ----------------------------------------------------------------------------

class RecordScannerInPieces : public testing::TestWithParam<bool> {};

INSTANTIATE_TEST_SUITE_P(OfATraceWhichIsMarked, RecordScannerInPieces, testing::Bool());

TEST_P(RecordScannerInPieces, YieldsTheSameAsAtOnceForShortRecords) {
    Dice dice(21);
    for (size_t round = 0; round < 100 * testEffort() && !HasFailure(); ++round) {
        const byteVec_t input = damagedTrace(dice, GetParam(), dice.between(1, 20), 32);
        expectPiecesChangeNothing(input, dice, dice.oneIn(2) ? 5 : 100);
    }
}

TEST_P(RecordScannerInPieces, YieldsTheSameAsAtOnceForLongRecords) {
    Dice dice(22);
    for (size_t round = 0; round < 10 * testEffort() && !HasFailure(); ++round) {
        const byteVec_t input = damagedTrace(dice, GetParam(), 6, 65521);
        expectPiecesChangeNothing(input, dice, dice.oneIn(2) ? 20000 : 200000);
    }
}

TEST_P(RecordScannerInPieces, YieldsTheSameAsAtOnceForRecordsThatCarryRecords) {
    Dice dice(23);
    for (size_t round = 0; round < 50 * testEffort() && !HasFailure(); ++round) {
        byteVec_t input;
        for (int i = 0; i < 3; ++i) {
            const byteVec_t inner = damagedTrace(dice, true, 4, 8);
            input = joined({input, record(GetParam(), MSGID_CONTAINER, SOME_TIME, inner)});
        }
        expectPiecesChangeNothing(input, dice, dice.oneIn(2) ? 5 : 100);
    }
}

TEST(RecordScannerInLargePieces, YieldsTheSameAsAtOnceForDemandingInput) {
    Dice dice(24);
    for (const byteVec_t& input : demandingInputs()) {
        expectPiecesChangeNothing(input, dice, 300000);
    }
}

// ---- How far it looks --------------------------------------------------------------------------

void expectNoMoreIsAskedFor(const byteVec_t& input, const Way& way) {
    constexpr size_t ENOUGH = RecordScanner::MAX_LOOKAHEAD;
    RecordScanner scanner(way.framing, way.rule);
    TraceSpan span;
    while (input.size() - scanner.position() >= ENOUGH) {
        scanner.setInput(input.data() + scanner.position(), ENOUGH, INPUT_CONTINUES);
        ASSERT_TRUE(scanner.next(span))
            << "framing " << way.framing << " at " << scanner.position();
    }
}

TEST(RecordScannerInput, SufficesWhenItReachesAsFarAsTheScannerLooks) {
    for (const byteVec_t& input : demandingInputs()) {
        for (const Way& way : EVERY_WAY) {
            expectNoMoreIsAskedFor(input, way);
        }
    }
}

TEST(RecordScannerInput, IsReadNeitherBeforeItsBeginningNorBehindItsEnd) {
    Dice dice(31);
    for (int round = 0; round < 100; ++round) {
        const byteVec_t input = damagedTrace(dice, dice.oneIn(2), 6, 40);
        for (const auto side : {GuardedBuffer::END_GUARDED, GuardedBuffer::BEGIN_GUARDED}) {
            const GuardedBuffer guarded(input, side);
            for (const Way& way : EVERY_WAY) {
                RecordScanner scanner(way.framing, way.rule);
                spansAtOnce(scanner, guarded.data(), guarded.size());
            }
        }
    }
}

TEST(RecordScannerInput, IsUntouchedWhereItsLengthIsZero) {
    for (const Way& way : EVERY_WAY) {
        RecordScanner scanner(way.framing, way.rule);
        TraceSpan span;
        span.offset = 4711;
        for (const auto end : {INPUT_CONTINUES, INPUT_PAUSES, INPUT_ENDS}) {
            scanner.setInput(nullptr, 0, end);
            EXPECT_FALSE(scanner.next(span));
            EXPECT_EQ(span.offset, 4711U);
            EXPECT_EQ(scanner.position(), 0U);
        }
    }
}

// ---- Waiting -----------------------------------------------------------------------------------

TEST(RecordScannerThatWaits, LeavesTheSpanAsItIs) {
    const byteVec_t input = markedRecord(MSGID_CAN, SOME_TIME);
    RecordScanner scanner(FRAMING_MARKED);
    TraceSpan span;
    span.length = 4711;
    scanner.setInput(input.data(), input.size() - 1, INPUT_PAUSES);
    EXPECT_FALSE(scanner.next(span));
    EXPECT_EQ(span.length, 4711U);
    EXPECT_EQ(scanner.position(), 0U);
}

TEST(RecordScannerThatWaits, DoesNotTakeARecordForOneBeforeWhatFollowsIsThere) {
    const byteVec_t input = markedRecord(MSGID_CAN, SOME_TIME);
    RecordScanner scanner(FRAMING_MARKED);
    TraceSpan span;
    scanner.setInput(input.data(), input.size(), INPUT_CONTINUES);
    EXPECT_FALSE(scanner.next(span));
    scanner.setInput(input.data(), input.size(), INPUT_ENDS);
    ASSERT_TRUE(scanner.next(span));
    EXPECT_TRUE(span.isRecord());
}

TEST(RecordScannerThatWaits, DoesNotEndAGapBeforeWhatMayBeARecordIsThere) {
    const byteVec_t input = joined({bytes("00 05"), unmarkedRecord(MSGID_CAN, SOME_TIME)});
    RecordScanner scanner(FRAMING_UNMARKED);
    std::vector<TraceSpan> spans;
    for (const size_t length : {size_t{2}, size_t{15}, input.size()}) {
        give(scanner, input, length, INPUT_CONTINUES, spans);
        EXPECT_EQ(textOf(spans), "") << length;
    }
    give(scanner, input, input.size(), INPUT_ENDS, spans);
    EXPECT_EQ(textOf(spans), "too small 2, record 14");
}

TEST(RecordScannerThatWaits, GoesFromALongGapIntoAnotherOne) {
    const byteVec_t inner = markedRecord(MSGID_CAN, SOME_TIME);
    const byteVec_t lure = bytes("55 AA FF F0");  // a record that is not whole yet
    const byteVec_t input =
        joined({byteVec_t(RecordScanner::MAX_GAP, 0x77),
                markedRecord(MSGID_CONTAINER, SOME_TIME, joined({lure, inner, inner})), inner});
    RecordScanner scanner(FRAMING_MARKED, RULE_PREFER_CHAIN);
    std::vector<TraceSpan> spans;
    give(scanner, input, input.size(), INPUT_CONTINUES, spans);
    EXPECT_EQ(textOf(spans), "no marker 131072");
    give(scanner, input, input.size(), INPUT_ENDS, spans);
    EXPECT_EQ(textOf(spans),
              "no marker 131072, spans records 20 ambiguous, record 16, record 16, record 16");
}

/// Gives a growing trace record by record; each of them must be yielded as soon as it is whole, and
/// none before.
void expectEachRecordAtOnce(const Trace& trace, framing_t framing, sizeRule_t rule) {
    RecordScanner scanner(framing, rule);
    std::vector<TraceSpan> spans;
    for (const Placed& placed : trace.records) {
        const auto end = static_cast<size_t>(placed.offset) + placed.length;
        give(scanner, trace.bytes, end - 1, INPUT_PAUSES, spans);
        ASSERT_EQ(scanner.position(), placed.offset);
        give(scanner, trace.bytes, end, INPUT_PAUSES, spans);
        ASSERT_EQ(scanner.position(), end);
        ASSERT_TRUE(spans.back().isRecord());
    }
    give(scanner, trace.bytes, trace.bytes.size(), INPUT_ENDS, spans);
    EXPECT_EQ(spans.size(), trace.records.size());
}

TEST(RecordScannerOfAGrowingTrace, YieldsEachRecordAtOnce) {
    Dice dice(41);
    for (const size_t maxPayload : {0U, 32U, 3000U}) {
        for (const auto rule : {RULE_TRUST_SIZES, RULE_PREFER_CHAIN}) {
            expectEachRecordAtOnce(randomTrace(dice, true, 50, maxPayload), FRAMING_MARKED, rule);
            expectEachRecordAtOnce(randomTrace(dice, true, 50, maxPayload), FRAMING_DETECT, rule);
            expectEachRecordAtOnce(randomTrace(dice, false, 50, maxPayload), FRAMING_UNMARKED,
                                   rule);
            expectEachRecordAtOnce(randomTrace(dice, false, 50, maxPayload), FRAMING_DETECT, rule);
        }
    }
}

TEST(RecordScannerOfAGrowingTrace, YieldsARecordThatCarriesFramesAtOnce) {
    Trace trace;
    for (int i = 0; i < 3; ++i) {
        // The first frame is whole, the second would end far behind the record.
        trace.add(markedRecord(MSGID_CONTAINER, SOME_TIME,
                               joined({markedRecord(MSGID_CAN, SOME_TIME), bytes("55 AA FF 00")})));
    }
    expectEachRecordAtOnce(trace, FRAMING_MARKED, RULE_PREFER_CHAIN);
}

TEST(RecordScannerOfAGrowingTrace, YieldsARecordThatCarriesRecordsAtOnceWhenSizesAreTrusted) {
    const byteVec_t inner = markedRecord(MSGID_CAN, SOME_TIME);
    Trace trace;
    for (int i = 0; i < 3; ++i) {
        trace.add(markedRecord(MSGID_CONTAINER, SOME_TIME, joined({inner, inner})));
    }
    expectEachRecordAtOnce(trace, FRAMING_MARKED, RULE_TRUST_SIZES);
}

TEST(RecordScannerOfAGrowingTrace, WaitsInAGapForAllRecordsThatItTakesToEndIt) {
    const byteVec_t late = unmarkedRecord(MSGID_CAN, SOME_TIME + timeStamp_t{9} * 86400000000);
    const byteVec_t three =
        joined({unmarkedRecord(MSGID_CAN, SOME_TIME), byteVec_t(32, 0x00), late, late, late});
    RecordScanner scanner(FRAMING_UNMARKED);
    std::vector<TraceSpan> spans;
    give(scanner, three, three.size(), INPUT_PAUSES, spans);
    EXPECT_EQ(textOf(spans), "record 14");
    const byteVec_t four = joined({three, late});
    give(scanner, four, four.size(), INPUT_PAUSES, spans);
    EXPECT_EQ(textOf(spans), "record 14, filler 32, record 14, record 14, record 14, record 14");
}

TEST(RecordScannerOfAGrowingTrace, EndsAGapByARecordThatEndsWhereTheBytesDo) {
    const byteVec_t junk = bytes("00 05");
    const byteVec_t unknownMarked = markedRecord(static_cast<msgid_t>(0x4711), SOME_TIME);
    const byteVec_t known = unmarkedRecord(MSGID_CAN, SOME_TIME);
    struct {
        framing_t framing;
        byteVec_t input;
        const char* spans;
    } const cases[] = {
        {FRAMING_MARKED, joined({junk, unknownMarked}), "no marker 2, record 16"},
        {FRAMING_UNMARKED, joined({junk, known}), "too small 2, record 14"},
        {FRAMING_DETECT, joined({junk, unknownMarked}), "no marker 2, record 16"},
        {FRAMING_DETECT, joined({junk, known}), "too small 2, record 14"},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.framing);
        RecordScanner scanner(each.framing);
        std::vector<TraceSpan> spans;
        give(scanner, each.input, each.input.size(), INPUT_CONTINUES, spans);
        EXPECT_EQ(textOf(spans), "");
        give(scanner, each.input, each.input.size(), INPUT_PAUSES, spans);
        EXPECT_EQ(textOf(spans), each.spans);
    }
}

TEST(RecordScannerOfAGrowingTrace, KeepsTheLawsWhateverPausesWhere) {
    Dice dice(42);
    for (size_t round = 0; round < 200 * testEffort() && !HasFailure(); ++round) {
        const byteVec_t input = damagedTrace(dice, dice.oneIn(2), 10, 32);
        for (const Way& way : EVERY_WAY) {
            RecordScanner scanner(way.framing, way.rule);
            std::vector<TraceSpan> spans;
            for (size_t end = 0; end < input.size();) {
                end = std::min(input.size(), end + dice.between(1, 60));
                give(scanner, input, end, dice.oneIn(2) ? INPUT_PAUSES : INPUT_CONTINUES, spans);
            }
            give(scanner, input, input.size(), INPUT_ENDS, spans);
            const char* broken = brokenLaw(input.data(), input.size(), spans);
            EXPECT_EQ(broken, nullptr) << broken << ": " << textOf(spans);
        }
    }
}

}  // namespace
