// The rules of docs/recovery.md, each by an input that tells it from its neighbours.

#include <gtest/gtest.h>

#include "libvekstream/scanner/scan.h"
#include "libvekstream/scanner/traces.h"
#include "support/Settings.h"
#include "support/TestMessage.h"

namespace {

constexpr timeStamp_t ONE_DAY = 86400000000;
constexpr unsigned UNKNOWN = 0x4711;

/// The spans as text, of an input that is put together of pieces.
std::string scanned(framing_t framing, sizeRule_t rule, std::initializer_list<byteVec_t> parts) {
    return textOf(spansAtOnce(joined(parts), framing, rule));
}

std::string marked(std::initializer_list<byteVec_t> parts) {
    return scanned(FRAMING_MARKED, RULE_TRUST_SIZES, parts);
}

std::string preferring(std::initializer_list<byteVec_t> parts) {
    return scanned(FRAMING_MARKED, RULE_PREFER_CHAIN, parts);
}

std::string unmarked(std::initializer_list<byteVec_t> parts) {
    return scanned(FRAMING_UNMARKED, RULE_TRUST_SIZES, parts);
}

framing_t detected(std::initializer_list<byteVec_t> parts) {
    const byteVec_t input = joined(parts);
    RecordScanner scanner;
    spansAtOnce(scanner, input.data(), input.size());
    return scanner.framing();
}

byteVec_t zeros(size_t count) { return byteVec_t(count, 0x00); }

// Records of 16 and 14 bytes.
const byteVec_t MARKED = markedRecord(MSGID_CAN, SOME_TIME);
const byteVec_t UNMARKED = unmarkedRecord(MSGID_CAN, SOME_TIME);
/// What no rule takes for anything.
const byteVec_t JUNK = bytes("21 22 23");

byteVec_t withByte(byteVec_t record, size_t at, uint8_t value) {
    record.at(at) = value;
    return record;
}

// ---- In step, marked ---------------------------------------------------------------------------

TEST(MarkedInStep, RecordsFollowEachOther) {
    EXPECT_EQ(marked({MARKED, MARKED, MARKED}), "record 16, record 16, record 16");
}

TEST(MarkedInStep, WithoutAMarkerThereIsAGapUpToTheNextRecord) {
    EXPECT_EQ(marked({JUNK, MARKED}), "no marker 3, record 16");
    EXPECT_EQ(marked({MARKED, zeros(40), MARKED}), "record 16, filler 40, record 16");
    EXPECT_EQ(marked({MARKED, {0xFF}}), "record 16, filler 1");
}

TEST(MarkedInStep, FillerIsOneValueForAtLeast32Bytes) {
    EXPECT_EQ(marked({zeros(32), JUNK, MARKED}), "filler 35, record 16");
    EXPECT_EQ(marked({zeros(31), JUNK, MARKED}), "no marker 34, record 16");
    EXPECT_EQ(marked({zeros(16), byteVec_t(16, 0xFF), MARKED}), "no marker 32, record 16");
}

TEST(MarkedInStep, WhatTheEndCutsIsTruncated) {
    for (size_t length = 1; length < 16; ++length) {
        EXPECT_EQ(marked({MARKED, {MARKED.begin(), MARKED.begin() + static_cast<long>(length)}}),
                  "record 16, truncated " + std::to_string(length));
    }
}

TEST(MarkedInStep, ASizeBelowTheHeadersIsAGap) {
    EXPECT_EQ(marked({withByte(MARKED, 3, 11), MARKED}), "too small 16, record 16");
}

TEST(MarkedInStep, ASizeBeyondTheEndIsTruncatedOnlyWhereNothingComesBehind) {
    EXPECT_EQ(marked({withByte(MARKED, 3, 200), MARKED}), "beyond end 16, record 16");
    EXPECT_EQ(marked({withByte(MARKED, 3, 200), JUNK}), "truncated 19");
}

TEST(MarkedInStep, ASizeThatLeadsNowhereIsAGap) {
    EXPECT_EQ(marked({withByte(MARKED, 3, 13), MARKED, MARKED}),
              "not followed 16, record 16, record 16");
}

TEST(MarkedInStep, ARecordMayBeFollowedByOneOfWhichOnlyTheMarkerIsDamaged) {
    const byteVec_t damaged = withByte(MARKED, 1, 0xAB);
    EXPECT_EQ(marked({MARKED, damaged, MARKED}), "record 16, no marker 16, record 16");
    EXPECT_EQ(marked({MARKED, damaged}), "record 16, no marker 16");
    EXPECT_EQ(marked({MARKED, withByte(damaged, 3, 11), MARKED}), "not followed 32, record 16");
}

TEST(MarkedInStep, TheRecordWithTheDamagedMarkerNeedsANearTime) {
    const auto followedBy = [](timeStamp_t time) {
        return marked({MARKED, withByte(markedRecord(UNKNOWN, time), 1, 0xAB), MARKED});
    };
    EXPECT_EQ(followedBy(SOME_TIME + ONE_DAY), "record 16, no marker 16, record 16");
    EXPECT_EQ(followedBy(SOME_TIME - ONE_DAY), "record 16, no marker 16, record 16");
    EXPECT_EQ(followedBy(SOME_TIME + ONE_DAY + 1), "not followed 32, record 16");
    EXPECT_EQ(followedBy(SOME_TIME - ONE_DAY - 1), "not followed 32, record 16");
}

// ---- In a gap, marked --------------------------------------------------------------------------

TEST(MarkedInAGap, AMarkerAloneEndsIt) {
    EXPECT_EQ(marked({JUNK, {0x55, 0xAA}, JUNK, MARKED}), "no marker 8, record 16")
        << "not: no record begins there";
}

TEST(MarkedInAGap, ARecordChecksOutByItsIdentifierAndItsTime) {
    const byteVec_t late = markedRecord(MSGID_CAN, SOME_TIME + ONE_DAY + 1);
    EXPECT_EQ(marked({MARKED, JUNK, MARKED, zeros(40)}), "not followed 19, record 16, filler 40");
    EXPECT_EQ(marked({MARKED, zeros(33), late, zeros(40)}), "record 16, filler 89");
    EXPECT_EQ(marked({zeros(33), late, zeros(40)}), "filler 33, record 16, filler 40");
}

TEST(MarkedInAGap, AnyRecordChecksOutBeforeOneThatEndsWell) {
    const byteVec_t unknown = markedRecord(UNKNOWN, SOME_TIME);
    EXPECT_EQ(marked({JUNK, unknown, unknown, MARKED, MARKED}),
              "no marker 3, record 16, record 16, record 16, record 16");
    EXPECT_EQ(marked({JUNK, unknown, unknown, zeros(40)}), "no marker 75");
    EXPECT_EQ(marked({JUNK, unknown}), "no marker 3, record 16");
}

// ---- The time that was reached -----------------------------------------------------------------

const byteVec_t LATE = markedRecord(MSGID_CAN, SOME_TIME + 9 * ONE_DAY);

TEST(TimeThatWasReached, IsThatOfNoSingleRecordThatIsFarFromIt) {
    EXPECT_EQ(marked({MARKED, LATE, zeros(32), MARKED, zeros(40)}),
              "record 16, record 16, filler 32, record 16, filler 40");
    EXPECT_EQ(marked({MARKED, LATE, zeros(32), LATE, zeros(40)}),
              "record 16, record 16, filler 88");
}

TEST(TimeThatWasReached, StepsWhenASecondRecordConfirmsIt) {
    EXPECT_EQ(marked({MARKED, LATE, LATE, zeros(32), LATE, zeros(40)}),
              "record 16, record 16, record 16, filler 32, record 16, filler 40");
    EXPECT_EQ(marked({MARKED, LATE, LATE, zeros(32), MARKED, zeros(40)}),
              "record 16, record 16, record 16, filler 88");
}

TEST(TimeThatWasReached, DoesNotStepWhenAnotherRecordStandsBetweenTheTwo) {
    EXPECT_EQ(marked({MARKED, LATE, MARKED, LATE, zeros(32), LATE, zeros(40)}),
              "record 16, record 16, record 16, record 16, filler 88");
}

// ---- Ambiguous records -------------------------------------------------------------------------

const byteVec_t CARRIER = markedRecord(MSGID_CONTAINER, SOME_TIME, joined({MARKED, MARKED}));

TEST(AmbiguousRecord, IsOneRecordOrTheRecordsInsideAsTheRuleSays) {
    EXPECT_EQ(marked({CARRIER, MARKED}), "record 48 ambiguous, record 16");
    EXPECT_EQ(preferring({CARRIER, MARKED}),
              "spans records 16 ambiguous, record 16, record 16, record 16");
}

TEST(AmbiguousRecord, HoldsAtLeastTwoRecordsOfWhichTheLastEndsWhereItEnds) {
    const auto carrying = [](std::initializer_list<byteVec_t> payload) {
        return marked({markedRecord(MSGID_CONTAINER, SOME_TIME, joined(payload)), MARKED});
    };
    EXPECT_EQ(carrying({MARKED}), "record 32, record 16");
    EXPECT_EQ(carrying({MARKED, MARKED, {0}}), "record 49, record 16");
    EXPECT_EQ(carrying({{0}, MARKED, {0}, MARKED}), "record 50, record 16");
    EXPECT_EQ(carrying({{0}, MARKED, MARKED}), "record 49 ambiguous, record 16");
    EXPECT_EQ(carrying({MARKED, withByte(MARKED, 3, 13)}), "record 48, record 16");
}

TEST(AmbiguousRecord, HoldsEightRecordsWhereverTheLastEnds) {
    const byteVec_t seven = joined({MARKED, MARKED, MARKED, MARKED, MARKED, MARKED, MARKED});
    const auto carrying = [](std::initializer_list<byteVec_t> payload) {
        return marked({markedRecord(MSGID_CONTAINER, SOME_TIME, joined(payload))});
    };
    EXPECT_EQ(carrying({seven, JUNK}), "record 131");
    EXPECT_EQ(carrying({seven, MARKED, JUNK}), "record 147 ambiguous");
}

TEST(AmbiguousRecord, MayBeAGapOfSeveralPieces) {
    // The records inside are unknown and lead to none, so that only one far behind checks out.
    const byteVec_t unknown = markedRecord(UNKNOWN, SOME_TIME);
    const byteVec_t carrier = markedRecord(MSGID_CONTAINER, SOME_TIME, joined({unknown, unknown}));
    EXPECT_EQ(preferring({carrier, zeros(RecordScanner::MAX_GAP), MARKED}),
              "spans records 131072 ambiguous, spans records 48 continued, record 16");
}

TEST(AmbiguousRecord, InsideOfAnotherIsTakenApartToo) {
    const byteVec_t outer = markedRecord(MSGID_CONTAINER, SOME_TIME, joined({CARRIER, MARKED}));
    EXPECT_EQ(marked({outer}), "record 80 ambiguous");
    EXPECT_EQ(preferring({outer}),
              "spans records 16 ambiguous, spans records 16 ambiguous, record 16, record 16, "
              "record 16");
}

TEST(AmbiguousRecord, CountsOnceWhicheverWasChosen) {
    const byteVec_t input = joined({CARRIER, MARKED, CARRIER});
    for (const auto rule : {RULE_TRUST_SIZES, RULE_PREFER_CHAIN}) {
        RecordScanner scanner(FRAMING_MARKED, rule);
        spansAtOnce(scanner, input.data(), input.size());
        EXPECT_EQ(scanner.ambiguities(), 2U);
    }
}

// ---- In step, unmarked -------------------------------------------------------------------------

TEST(UnmarkedInStep, RecordsFollowEachOther) {
    EXPECT_EQ(unmarked({UNMARKED, UNMARKED, UNMARKED}), "record 14, record 14, record 14");
}

TEST(UnmarkedInStep, EachKindOfBytesHasItsReason) {
    EXPECT_EQ(unmarked({UNMARKED, {0x21}}), "record 14, truncated 1");
    EXPECT_EQ(unmarked({UNMARKED, zeros(40), UNMARKED}), "record 14, filler 40, record 14");
    EXPECT_EQ(unmarked({withByte(UNMARKED, 1, 11), UNMARKED}), "too small 14, record 14");
    EXPECT_EQ(unmarked({withByte(UNMARKED, 1, 200), UNMARKED}), "beyond end 14, record 14");
    EXPECT_EQ(unmarked({UNMARKED, withByte(UNMARKED, 1, 200)}), "record 14, truncated 14");
    EXPECT_EQ(unmarked({withByte(UNMARKED, 1, 14), UNMARKED, UNMARKED}),
              "not followed 14, record 14, record 14");
}

TEST(UnmarkedInStep, ACutHeaderHasASizeWhereThatIsNotCutToo) {
    EXPECT_EQ(unmarked({UNMARKED, {0x21}}), "record 14, truncated 1");
    EXPECT_EQ(unmarked({UNMARKED, {0x00, 12}}), "record 14, truncated 2");
    EXPECT_EQ(unmarked({UNMARKED, {0x00, 11}}), "not followed 16");
    EXPECT_EQ(unmarked({UNMARKED, {0x00, 11, 0x21}}), "not followed 17");
}

TEST(UnmarkedInStep, TheLongestRecordIsNoFillerThoughItsSizeIs) {
    const byteVec_t longest = unmarkedRecord(MSGID_CAN, SOME_TIME, byteVec_t(65537 - 14, 0xFF));
    EXPECT_EQ(unmarked({UNMARKED, longest, UNMARKED}), "record 14, record 65537, record 14");
}

TEST(UnmarkedInStep, AnUnknownIdentifierNeedsANearTime) {
    const byteVec_t near = unmarkedRecord(UNKNOWN, SOME_TIME + ONE_DAY);
    const byteVec_t far = unmarkedRecord(UNKNOWN, SOME_TIME + ONE_DAY + 1);
    EXPECT_EQ(unmarked({UNMARKED, near, UNMARKED}), "record 14, record 14, record 14");
    EXPECT_EQ(unmarked({UNMARKED, far, UNMARKED}), "not followed 28, record 14");
    EXPECT_EQ(unmarked({UNMARKED, zeros(32), far}), "record 14, filler 46");
}

TEST(UnmarkedInStep, AKnownIdentifierWithAFarTimeNeedsThatWhatFollowsFits) {
    const byteVec_t late = unmarkedRecord(MSGID_CAN, SOME_TIME + 9 * ONE_DAY);
    const byteVec_t later = unmarkedRecord(MSGID_CAN, SOME_TIME + 18 * ONE_DAY);
    EXPECT_EQ(unmarked({UNMARKED, late}), "record 14, record 14");
    EXPECT_EQ(unmarked({UNMARKED, late, UNMARKED}), "record 14, record 14, record 14");
    EXPECT_EQ(unmarked({UNMARKED, late, late}), "record 14, record 14, record 14");
    EXPECT_EQ(unmarked({UNMARKED, late, later}), "not followed 28, record 14");
    EXPECT_EQ(unmarked({UNMARKED, late, zeros(40)}), "not followed 68");
}

TEST(UnmarkedInStep, AnUnknownIdentifierIsImplausibleFarFromTheTimeThatWasReached) {
    const byteVec_t late = unmarkedRecord(MSGID_CAN, SOME_TIME + 9 * ONE_DAY);
    const byteVec_t unknown = unmarkedRecord(UNKNOWN, SOME_TIME + 9 * ONE_DAY);
    EXPECT_EQ(unmarked({UNMARKED, late, unknown}), "record 14, record 14, implausible 14");
    EXPECT_EQ(unmarked({UNMARKED, late, late, unknown}),
              "record 14, record 14, record 14, record 14");
}

// ---- In a gap, unmarked ------------------------------------------------------------------------

TEST(UnmarkedInAGap, ThreeKnownRecordsCheckOut) {
    EXPECT_EQ(unmarked({zeros(32), UNMARKED, UNMARKED, UNMARKED, zeros(32)}),
              "filler 32, record 14, record 14, record 14, filler 32");
    EXPECT_EQ(unmarked({zeros(32), UNMARKED, UNMARKED, zeros(32)}), "filler 92");
}

TEST(UnmarkedInAGap, FewerCheckOutWhereTheLastEndsTheInput) {
    EXPECT_EQ(unmarked({zeros(32), UNMARKED}), "filler 32, record 14");
    EXPECT_EQ(unmarked({zeros(32), UNMARKED, UNMARKED}), "filler 32, record 14, record 14");
}

TEST(UnmarkedInAGap, AllOfThemNeedAKnownIdentifierAndANearTime) {
    const byteVec_t unknown = unmarkedRecord(UNKNOWN, SOME_TIME);
    const byteVec_t far = unmarkedRecord(MSGID_CAN, SOME_TIME + ONE_DAY + 1);
    EXPECT_EQ(unmarked({zeros(32), UNMARKED, unknown}), "filler 60");
    EXPECT_EQ(unmarked({zeros(32), UNMARKED, far}), "filler 46, record 14");
    EXPECT_EQ(unmarked({UNMARKED, zeros(32), far}), "record 14, filler 46");
}

TEST(UnmarkedInAGap, FourKnownRecordsCheckOutFarFromTheTimeThatWasReached) {
    const byteVec_t late = unmarkedRecord(MSGID_CAN, SOME_TIME + 9 * ONE_DAY);
    EXPECT_EQ(unmarked({UNMARKED, zeros(32), late, late, late, late}),
              "record 14, filler 32, record 14, record 14, record 14, record 14");
    EXPECT_EQ(unmarked({UNMARKED, zeros(32), late, late, late, zeros(32)}),
              "record 14, filler 106");
    EXPECT_EQ(unmarked({UNMARKED, zeros(32), late, late, late}), "record 14, filler 74");
}

TEST(UnmarkedInAGap, EachTimeIsComparedWithTheOneBefore) {
    const byteVec_t second = unmarkedRecord(MSGID_CAN, SOME_TIME + ONE_DAY);
    const byteVec_t third = unmarkedRecord(MSGID_CAN, SOME_TIME + 2 * ONE_DAY);
    EXPECT_EQ(unmarked({zeros(32), UNMARKED, second, third, zeros(32)}),
              "filler 32, record 14, record 14, record 14, filler 32");
}

TEST(UnmarkedInAGap, ARunOfFFIsNoChainOfRecords) {
    const byteVec_t run(4 * 65537, 0xFF);
    EXPECT_EQ(unmarked({run}), "filler 131072, filler 131072 continued, filler 4 continued");
    EXPECT_EQ(unmarked({run, UNMARKED}),
              "filler 131072, filler 131072 continued, filler 4 continued, record 14");
}

// ---- Which framing -----------------------------------------------------------------------------

TEST(DetectedFraming, IsThatOfTheFirstRecord) {
    EXPECT_EQ(detected({MARKED}), FRAMING_MARKED);
    EXPECT_EQ(detected({UNMARKED}), FRAMING_UNMARKED);
}

TEST(DetectedFraming, IsThatOfTheFirstRecordBehindJunk) {
    EXPECT_EQ(detected({JUNK, MARKED}), FRAMING_MARKED);
    EXPECT_EQ(detected({JUNK, UNMARKED}), FRAMING_UNMARKED);
    EXPECT_EQ(detected({zeros(65535), UNMARKED}), FRAMING_UNMARKED);
    EXPECT_EQ(detected({zeros(65536), UNMARKED}), FRAMING_MARKED)
        << "nothing within the first 65536 bytes";
}

TEST(DetectedFraming, IsMarkedWhereARecordChecksOutEitherWay) {
    // Taken for an unmarked record, the first one behind the junk has the known identifier 0010 and
    // ends where the input does.
    const byteVec_t first = markedRecord(MSGID_CAN, SOME_TIME, JUNK);
    const byteVec_t either = withByte(joined({first, {0x21}, MARKED, MARKED}), 3, 0x10);
    const byteVec_t rest = zeros(2 + 0x55AA - either.size());
    EXPECT_EQ(detected({JUNK, either, rest}), FRAMING_MARKED);
    const byteVec_t badlyFollowed = withByte(withByte(either, 20, 0), 23, 0);
    EXPECT_EQ(detected({JUNK, badlyFollowed, rest}), FRAMING_UNMARKED);
}

TEST(DetectedFraming, IsNotToldByARunOfFF) {
    EXPECT_EQ(detected({byteVec_t(4 * 65537, 0xFF)}), FRAMING_MARKED);
    EXPECT_EQ(detected({byteVec_t(65535, 0xFF), MARKED, byteVec_t(65537, 0x21)}), FRAMING_MARKED);
    EXPECT_EQ(detected({byteVec_t(65535, 0xFF), UNMARKED}), FRAMING_UNMARKED);
}

TEST(DetectedFraming, IsMarkedWhereNothingTells) {
    EXPECT_EQ(detected({JUNK}), FRAMING_MARKED);
    EXPECT_EQ(detected({bytes("55 AA"), JUNK}), FRAMING_MARKED);
}

TEST(DetectedFraming, IsUnmarkedWhereAnUnmarkedRecordHasTheLengthOfAMarker) {
    const byteVec_t longRecord = unmarkedRecord(MSGID_CAN, SOME_TIME, byteVec_t(0x55AA - 12, 0x21));
    EXPECT_EQ(detected({longRecord, UNMARKED}), FRAMING_UNMARKED);
    EXPECT_EQ(detected({withByte(longRecord, 2, 0x47), UNMARKED}), FRAMING_MARKED)
        << "an unknown identifier";
}

TEST(DetectedFraming, IsMarkedWhereADamagedSizeLooksLikeAKnownIdentifier) {
    const byteVec_t damaged = withByte(MARKED, 3, 0x10);
    EXPECT_EQ(detected({damaged, zeros(2 + 0x55AA - damaged.size()), MARKED, MARKED}),
              FRAMING_MARKED);
}

TEST(DetectedFraming, IsUnmarkedForThreeUnknownRecordsWithNearTimes) {
    const byteVec_t unknown = unmarkedRecord(UNKNOWN, SOME_TIME);
    const byteVec_t far = unmarkedRecord(UNKNOWN, SOME_TIME + 9 * ONE_DAY);
    EXPECT_EQ(detected({unknown, unknown, unknown, UNMARKED}), FRAMING_UNMARKED);
    EXPECT_EQ(detected({unknown, unknown}), FRAMING_UNMARKED);
    EXPECT_EQ(detected({unknown, unknown, far}), FRAMING_MARKED);
}

TEST(DetectedFraming, IsNotKnownBeforeThereIsInput) {
    RecordScanner scanner;
    EXPECT_EQ(scanner.framing(), FRAMING_DETECT);
    EXPECT_EQ(RecordScanner(FRAMING_UNMARKED).framing(), FRAMING_UNMARKED);
}

// ---- Known identifiers -------------------------------------------------------------------------

TEST(KnownIdentifiers, AreThoseThatWereRegisteredWhenTheScannerWasMade) {
    const LibrarySettings settings;
    const byteVec_t input = joined(
        {unmarkedRecord(UNKNOWN, SOME_TIME), unmarkedRecord(UNKNOWN, SOME_TIME + 9 * ONE_DAY)});
    RecordScanner before(FRAMING_UNMARKED);
    MessageBase::registerMessage(static_cast<msgid_t>(UNKNOWN), TestMessage::readFromByteArray);
    RecordScanner after(FRAMING_UNMARKED);
    EXPECT_EQ(textOf(spansAtOnce(before, input.data(), input.size())), "not followed 28");
    EXPECT_EQ(textOf(spansAtOnce(after, input.data(), input.size())), "record 14, record 14");
}

TEST(KnownIdentifiers, AreAllOfTheCatalogueAndNoOther) {
    for (unsigned id = 0; id <= 0xffff; ++id) {
        // Far from each other's time, so that only the identifier speaks for the second.
        const byteVec_t input = joined({UNMARKED, unmarkedRecord(id, SOME_TIME + 9 * ONE_DAY)});
        RecordScanner scanner(FRAMING_UNMARKED);
        TraceSpan span;
        scanner.setInput(input.data(), input.size());
        ASSERT_TRUE(scanner.next(span));
        ASSERT_EQ(span.isRecord(), knownIds().count(id) != 0) << id;
    }
}

// ---- Pieces of a gap ---------------------------------------------------------------------------

TEST(LongGap, IsDividedIntoPiecesThatSayThatTheyGoOn) {
    EXPECT_EQ(marked({zeros(RecordScanner::MAX_GAP), MARKED}), "filler 131072, record 16");
    EXPECT_EQ(marked({zeros(RecordScanner::MAX_GAP + 1), MARKED}),
              "filler 131072, filler 1 continued, record 16");
    EXPECT_EQ(marked({zeros(2 * RecordScanner::MAX_GAP + 5)}),
              "filler 131072, filler 131072 continued, filler 5 continued");
}

// ---- Reasons -----------------------------------------------------------------------------------

TEST(GapReasonText, IsAConstantTextOfItsOwnForEachReason) {
    std::set<std::string> texts;
    for (int reason = GAP_NONE; reason < GAP_NUM; ++reason) {
        const char* text = gapReasonText(static_cast<gapReason_t>(reason));
        ASSERT_NE(text, nullptr);
        EXPECT_TRUE(texts.insert(text).second) << text;
        EXPECT_EQ(gapReasonText(static_cast<gapReason_t>(reason)), text);
    }
    EXPECT_EQ(texts.count("no sync marker"), 1U);
    EXPECT_EQ(texts.count("truncated record"), 1U);
}

TEST(GapReasonText, IsNeverNull) {
    for (const int reason : {-1, int{GAP_NUM}, 4711}) {
        EXPECT_NE(gapReasonText(static_cast<gapReason_t>(reason)), nullptr);
    }
}

}  // namespace
