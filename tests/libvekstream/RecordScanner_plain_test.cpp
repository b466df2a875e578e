// The scanner beside its plain twin: short inputs without exception, and long ones that are damaged.

#include <gtest/gtest.h>

#include <cstddef>

#include "libvekstream/scanner/effort.h"
#include "libvekstream/scanner/scan.h"
#include "libvekstream/scanner/traces.h"

namespace {

constexpr timeStamp_t ONE_DAY = 86400000000;

/// Calls `use` with every sequence of `length` elements of `alphabet`, joined.
template <class Use>
void forEverySequence(const std::vector<byteVec_t>& alphabet, size_t length, Use use) {
    std::vector<size_t> digits(length);
    byteVec_t input;
    for (bool more = true; more && !testing::Test::HasFailure();) {
        input.clear();
        for (const size_t digit : digits) {
            input.insert(input.end(), alphabet[digit].begin(), alphabet[digit].end());
        }
        use(input);
        size_t place = 0;
        while (place < length && ++digits[place] == alphabet.size()) {
            digits[place++] = 0;
        }
        more = place < length;
    }
}

// ---- Short inputs ------------------------------------------------------------------------------

/// The inputs whose first byte has these four upper bits: as tests of their own they share the
/// processors and the time that a test may take.
class EveryInput : public testing::TestWithParam<unsigned> {
protected:
    unsigned firstByte() const { return GetParam() * 16; }
};

INSTANTIATE_TEST_SUITE_P(WhoseFirstByteIs16Times, EveryInput, testing::Range(0U, 16U));

TEST_P(EveryInput, OfOneOrTwoBytesIsDividedAsThePlainTwinDoes) {
    for (unsigned first = firstByte(); first < firstByte() + 16; ++first) {
        expectAsPlain({static_cast<uint8_t>(first)});
        for (unsigned second = 0; second < 256; ++second) {
            expectAsPlain({static_cast<uint8_t>(first), static_cast<uint8_t>(second)});
        }
        ASSERT_FALSE(HasFailure());
    }
}

// No record has three bytes, so that the rule for sizes has no part here, and to detect is to find
// no unmarked record.
TEST_P(EveryInput, OfThreeBytesIsDividedAsThePlainTwinDoes) {
    byteVec_t input(3);
    for (unsigned i = firstByte() << 16; i < (firstByte() + 16) << 16; ++i) {
        input[0] = static_cast<uint8_t>(i >> 16);
        input[1] = static_cast<uint8_t>(i >> 8);
        input[2] = static_cast<uint8_t>(i);
        expectAsPlain(input, FRAMING_DETECT, RULE_TRUST_SIZES);
        expectAsPlain(input, FRAMING_UNMARKED, RULE_TRUST_SIZES);
        if ((i & 0xfff) == 0xfff) {
            ASSERT_FALSE(HasFailure());
        }
    }
}

TEST(RecordScannerOnShortInput, DividesNothingIntoNothing) { expectAsPlain({}); }

TEST(RecordScannerOnShortInput, AgreesOnEveryShortSequenceOfTellingBytes) {
    for (size_t length = 3; length <= 7; ++length) {
        forEverySequence({{0x00}, {0x0C}, {0x55}, {0xAA}, {0x01}}, length,
                         [&](const byteVec_t& input) { expectAsPlain(input); });
    }
}

/// Records and what looks nearly like one, so that a few of them meet every rule.
std::vector<byteVec_t> pieces(bool marked) {
    const byteVec_t usual = record(marked, MSGID_CAN, SOME_TIME + 1);
    byteVec_t damagedMarker = markedRecord(MSGID_CAN, SOME_TIME);
    damagedMarker[1] ^= 0x10;
    byteVec_t longer = record(marked, MSGID_LIN, SOME_TIME, {1, 2, 3});
    longer[marked ? 3 : 1] += 16;
    return {usual,
            record(marked, 0x4711, SOME_TIME),
            record(marked, MSGID_LIN, SOME_TIME + 2 * ONE_DAY, {0x55}),
            record(marked, 0x4712, SOME_TIME + 3 * ONE_DAY, {0xFF, 0xFF}),
            record(marked, MSGID_CONTAINER, SOME_TIME, joined({usual, usual})),
            byteVec_t(usual.begin(), usual.begin() + 11),
            damagedMarker,
            longer,
            byteVec_t(33, 0x00),
            byteVec_t(31, 0xFF),
            {0x55, 0xAA},
            {0x55},
            {0x00, 0x0C},
            {0x21}};
}

TEST(RecordScannerOnShortInput, AgreesOnEverySequenceOfPiecesOfMarkedTraces) {
    for (size_t length = 1; length <= 4; ++length) {
        forEverySequence(pieces(true), length,
                         [&](const byteVec_t& input) { expectAsPlain(input); });
    }
}

TEST(RecordScannerOnShortInput, AgreesOnEverySequenceOfPiecesOfUnmarkedTraces) {
    for (size_t length = 1; length <= 4; ++length) {
        forEverySequence(pieces(false), length,
                         [&](const byteVec_t& input) { expectAsPlain(input); });
    }
}

// ---- A short trace, damaged in every way -------------------------------------------------------

Trace sixRecords(bool marked) {
    Dice dice(6);
    Trace trace = randomTrace(dice, marked, 5, 12);
    trace.add(record(marked, MSGID_STOP, SOME_TIME + 10000));
    return trace;
}

class RecordScannerBesideItsPlainTwin : public testing::TestWithParam<bool> {
protected:
    const byteVec_t whole = sixRecords(GetParam()).bytes;
};

INSTANTIATE_TEST_SUITE_P(OfATraceWhichIsMarked, RecordScannerBesideItsPlainTwin, testing::Bool());

TEST_P(RecordScannerBesideItsPlainTwin, AgreesOnEveryBeginningAndEveryEnd) {
    for (size_t length = 0; length <= whole.size(); ++length) {
        const auto cut = whole.begin() + static_cast<std::ptrdiff_t>(length);
        expectAsPlain({whole.begin(), cut});
        expectAsPlain({cut, whole.end()});
    }
}

TEST_P(RecordScannerBesideItsPlainTwin, AgreesOnEverySingleWrongBit) {
    byteVec_t wrong = whole;
    for (uint8_t& byte : wrong) {
        for (unsigned bit = 1; bit <= 0x80; bit <<= 1) {
            byte ^= static_cast<uint8_t>(bit);
            expectAsPlain(wrong);
            byte ^= static_cast<uint8_t>(bit);
        }
    }
}

TEST_P(RecordScannerBesideItsPlainTwin, AgreesOnEverySizeFieldInTheMiddle) {
    byteVec_t wrong = whole;
    const uint64_t field = sixRecords(GetParam()).records[2].offset + (GetParam() ? 2 : 0);
    for (unsigned size = 0; size <= 0xffff; size += size < 300 ? 1 : 101) {
        uint16ToByteArray(wrong.data() + field, static_cast<uint16_t>(size));
        expectAsPlain(wrong);
    }
}

TEST_P(RecordScannerBesideItsPlainTwin, AgreesOnEveryHoleAndEveryZeroRun) {
    for (size_t begin = 0; begin < whole.size(); ++begin) {
        for (size_t length = 1; length < 48 && begin + length <= whole.size(); length += 3) {
            const auto from = static_cast<ptrdiff_t>(begin);
            const auto to = static_cast<ptrdiff_t>(begin + length);
            byteVec_t wrong = whole;
            std::fill(wrong.begin() + from, wrong.begin() + to, uint8_t{0});
            expectAsPlain(wrong);
            wrong.erase(wrong.begin() + from, wrong.begin() + to);
            expectAsPlain(wrong);
        }
        ASSERT_FALSE(HasFailure());
    }
}

// ---- Random damage -----------------------------------------------------------------------------

TEST_P(RecordScannerBesideItsPlainTwin, AgreesOnRandomlyDamagedShortRecords) {
    Dice dice(1);
    for (size_t round = 0; round < 2000 * testEffort() && !HasFailure(); ++round) {
        byteVec_t input = traceWithAStep(dice, GetParam(), dice.between(1, 20), 32);
        for (size_t times = dice.below(8); times > 0; --times) {
            damage(input, dice);
        }
        expectAsPlain(input);
    }
}

TEST_P(RecordScannerBesideItsPlainTwin, AgreesOnRandomlyDamagedLongRecords) {
    Dice dice(2);
    for (size_t round = 0; round < 25 * testEffort() && !HasFailure(); ++round) {
        byteVec_t input = randomTrace(dice, GetParam(), 6, 65521).bytes;
        for (size_t times = dice.below(5); times > 0; --times) {
            damage(input, dice);
        }
        expectAsPlain(input);
    }
}

/// A payload that holds whole records, some of which hold records themselves; not all of them end
/// where it ends.
byteVec_t recordsIn(Dice& dice, bool marked, unsigned depth) {
    byteVec_t payload = dice.bytes(dice.oneIn(2) ? 0 : dice.below(9));
    for (size_t count = dice.below(5); count > 0; --count) {
        const byteVec_t inner =
            depth > 0 && dice.oneIn(2) ? recordsIn(dice, marked, depth - 1) : dice.bytes(3);
        const byteVec_t whole = record(marked, usualId(dice), SOME_TIME, inner);
        payload.insert(payload.end(), whole.begin(), whole.end());
    }
    if (dice.oneIn(3)) {
        payload.push_back(dice.byte());
    }
    return payload;
}

TEST_P(RecordScannerBesideItsPlainTwin, AgreesOnRecordsThatCarryRecords) {
    Dice dice(3);
    for (size_t round = 0; round < 2000 * testEffort() && !HasFailure(); ++round) {
        Trace trace;
        for (size_t count = dice.between(1, 5); count > 0; --count) {
            const byteVec_t payload = recordsIn(dice, dice.oneIn(8) != GetParam(), 3);
            trace.add(record(GetParam(), usualId(dice), SOME_TIME, payload));
        }
        expectAsPlain(trace.bytes);
        damage(trace.bytes, dice);
        expectAsPlain(trace.bytes);
    }
}

// Frames everywhere, of a few sizes: they overlap, and nearly every chain meets nearly every other.
TEST_P(RecordScannerBesideItsPlainTwin, AgreesOnFramesThatOverlap) {
    Dice dice(4);
    for (size_t round = 0; round < 3000 * testEffort() && !HasFailure(); ++round) {
        byteVec_t input = dice.bytes(dice.between(16, 300));
        for (size_t count = input.size() / dice.between(3, 20); count > 0; --count) {
            const size_t place = dice.below(input.size() - 4);
            const size_t marker = GetParam() ? 2 : 0;
            uint16ToByteArray(input.data() + place, 0x55AA);
            uint16ToByteArray(input.data() + place + marker,
                              static_cast<uint16_t>(dice.between(11, 40)));
        }
        expectAsPlain(input);
    }
}

// ---- Long runs ---------------------------------------------------------------------------------

/// `pattern` again and again, `length` bytes of it.
byteVec_t repeated(const byteVec_t& pattern, size_t length) {
    byteVec_t result(length);
    for (size_t i = 0; i < length; ++i) {
        result[i] = pattern[i % pattern.size()];
    }
    return result;
}

TEST_P(RecordScannerBesideItsPlainTwin, AgreesOnGapsAroundTheLongestOne) {
    const byteVec_t begin = record(GetParam(), MSGID_CAN, SOME_TIME);
    for (const uint8_t byte : bytes("00 FF 55 01")) {
        for (const size_t length :
             {RecordScanner::MAX_GAP - 1, RecordScanner::MAX_GAP, RecordScanner::MAX_GAP + 1,
              2 * RecordScanner::MAX_GAP, 2 * RecordScanner::MAX_GAP + 1}) {
            const byteVec_t run(length, byte);
            expectAsPlain(run);
            expectAsPlain(joined({begin, run}));
            expectAsPlain(joined({begin, run, whole}));
        }
    }
}

// Chains that are long and end just beside the record's end cost the search for them most.
TEST_P(RecordScannerBesideItsPlainTwin, AgreesOnInputThatIsMadeToCostTime) {
    for (const byteVec_t& pattern :
         {bytes("55 AA"), bytes("55 AA 00 0C"), bytes("55 AA 00 0C 55 AA 00 0D"),
          bytes("55 AA FF FF"), bytes("55 AA 40 00 55 AA 00 0C"), bytes("00 0C"), bytes("00 0C 00"),
          bytes("55 AA 00 10 55 AA 00 0C 55 AA 00 14"), markedRecord(MSGID_CAN, SOME_TIME),
          unmarkedRecord(MSGID_CAN, SOME_TIME)}) {
        for (const size_t length : {200U, 65521U, 200000U}) {
            const byteVec_t run = repeated(pattern, length);
            expectAsPlain(run);
            if (length <= 65521) {
                const byteVec_t carrier = record(GetParam(), MSGID_CONTAINER, SOME_TIME, run);
                expectAsPlain(joined({carrier, carrier, whole}));
            }
        }
    }
}

// ---- Steps -------------------------------------------------------------------------------------

/// A record that is ambiguous if the search in it comes to `frames` frames that lead nowhere, which
/// takes two steps each, and to one candidate behind them.
byteVec_t costlyRecord(size_t frames) {
    const byteVec_t nowhere = repeated(bytes("55 AA 00 0D"), 4 * frames);
    const byteVec_t carried = markedRecord(MSGID_CAN, SOME_TIME);
    return markedRecord(MSGID_CONTAINER, SOME_TIME, joined({nowhere, carried, carried}));
}

TEST(SearchForChains, TakesAsManyStepsAsItMay) {
    // The record ends at 48 + 4 * 2734, which allows for 4096 + 1373 steps.
    const byteVec_t most = costlyRecord(2734);
    const byteVec_t tooMany = costlyRecord(2735);
    EXPECT_TRUE(spansAtOnce(most, FRAMING_MARKED, RULE_TRUST_SIZES).front().ambiguous);
    EXPECT_FALSE(spansAtOnce(tooMany, FRAMING_MARKED, RULE_TRUST_SIZES).front().ambiguous);
    expectAsPlain(most);
    expectAsPlain(tooMany);
}

/// Records that overlap: each begins 16 bytes behind the one before and ends 2 bytes behind it, and
/// all of them hold the same chain of eight, far from their beginnings.
byteVec_t overlappingRecords(size_t count, size_t firstEnd) {
    const byteVec_t carried = repeated(markedRecord(MSGID_CAN, SOME_TIME), 8 * 16);
    byteVec_t result = joined(
        {byteVec_t(firstEnd - carried.size(), 0x21), carried, repeated(bytes("55 AA"), 2 * count)});
    for (size_t i = 0; i < count; ++i) {
        byteVec_t header = markedRecord(MSGID_CAN, SOME_TIME);
        uint16ToByteArray(header.data() + 2, static_cast<uint16_t>(firstEnd - 14 * i - 4));
        std::copy(header.begin(), header.end(), result.begin() + static_cast<ptrdiff_t>(16 * i));
    }
    return result;
}

TEST(SearchForChains, GivesUpWhereOverlappingRecordsLeadItPastTheSameBytesAgainAndAgain) {
    const byteVec_t input = overlappingRecords(100, 60000);
    RecordScanner scanner(FRAMING_MARKED, RULE_PREFER_CHAIN);
    spansAtOnce(scanner, input.data(), input.size());
    // Each of the records takes about 1000 steps, of the 11600 that there are.
    EXPECT_GT(scanner.ambiguities(), 8U);
    EXPECT_LT(scanner.ambiguities(), 13U);
    for (size_t firstEnd = 10000; firstEnd <= 60000; firstEnd += 2500) {
        expectAsPlain(overlappingRecords(100, firstEnd), FRAMING_MARKED, RULE_PREFER_CHAIN);
    }
}

TEST(SearchForChains, SharesItsStepsAmongTheRecordsAsThePlainTwinDoes) {
    Dice dice(5);
    for (size_t round = 0; round < 20 * testEffort() && !testing::Test::HasFailure(); ++round) {
        byteVec_t input = costlyRecord(dice.between(2600, 4000));
        for (size_t count = dice.between(1, 30); count > 0; --count) {
            input = joined({input, costlyRecord(dice.below(dice.oneIn(5) ? 2000 : 20))});
        }
        expectAsPlain(input);
    }
}

}  // namespace
