// What `vektrace recover` says of what it dropped.

#include <gtest/gtest.h>

#include "tools/copying/traceBytes.h"
#include "tools/vektrace/copying/Ledger.h"

namespace {

using vek::program::GapTotals;
using vek::program::Ledger;
using vek::program::LedgerEntry;
using vek::program::ledgerJson;
using vek::program::ledgerText;
using vek::program::LedgerTotals;

/// A span without bytes, of which the ledger only tells where it lies.
TraceSpan piece(uint64_t offset, size_t length, gapReason_t reason = GAP_NONE) {
    TraceSpan span;
    span.offset = offset;
    span.length = length;
    span.reason = reason;
    return span;
}

TraceSpan continued(TraceSpan span) {
    span.continued = true;
    return span;
}

TraceSpan ambiguous(TraceSpan span) {
    span.ambiguous = true;
    return span;
}

/// The ledger's text of a file "t".
std::string textOf(const std::vector<TraceSpan>& spans, bool failed = false) {
    std::string text;
    Ledger ledger("t", [&text](const LedgerEntry& entry) { text += ledgerText(entry); });
    for (const TraceSpan& span : spans) {
        ledger.add(span);
    }
    ledger.finish(failed);
    return text + ledgerText(ledger.totals());
}

std::string jsonOf(const std::vector<TraceSpan>& spans, bool failed = false) {
    std::string text;
    Ledger ledger("t", [&text](const LedgerEntry& entry) { text += ledgerJson(entry); });
    for (const TraceSpan& span : spans) {
        ledger.add(span);
    }
    ledger.finish(failed);
    return text + ledgerJson(ledger.totals());
}

TEST(Ledger, OfRecordsAloneHasNothingButTotals) {
    EXPECT_EQ(textOf({piece(0, 16), piece(16, 20)}),
              "in all: 2 records, 36 bytes kept; nothing dropped; 0 ambiguous\n");
}

TEST(Ledger, TellsWhereAndWhyBytesWereDropped) {
    EXPECT_EQ(textOf({piece(0, 16), piece(16, 1, GAP_FILLER), piece(17, 16),
                      piece(33, 9, GAP_TRUNCATED)}),
              "t: byte 16: 1 byte dropped: filler\n"
              "t: byte 33: 9 bytes dropped: truncated record\n"
              "in all: 2 records, 32 bytes kept; 2 gaps, 10 bytes (1 truncated record, 1 filler) "
              "dropped; 0 ambiguous\n");
}

TEST(Ledger, MakesOneEntryOfThePiecesOfALongGap) {
    EXPECT_EQ(
        textOf({piece(0, 100, GAP_FILLER), continued(piece(100, 100, GAP_FILLER)),
                continued(piece(200, 5, GAP_FILLER)), piece(205, 16)}),
        "t: byte 0: 205 bytes dropped: filler\n"
        "in all: 1 record, 16 bytes kept; 1 gap, 205 bytes (1 filler) dropped; 0 ambiguous\n");
}

TEST(Ledger, KeepsGapsApartThatFollowEachOther) {
    EXPECT_EQ(textOf({piece(0, 100, GAP_FILLER), piece(100, 5, GAP_NO_MARKER)}),
              "t: byte 0: 100 bytes dropped: filler\n"
              "t: byte 100: 5 bytes dropped: no sync marker\n"
              "in all: 0 records, 0 bytes kept; 2 gaps, 105 bytes (1 no sync marker, 1 filler) "
              "dropped; 0 ambiguous\n");
}

TEST(Ledger, TellsWhatCanBeReadInTwoWays) {
    EXPECT_EQ(
        textOf({ambiguous(piece(0, 64)), ambiguous(piece(64, 32, GAP_SPANS_RECORDS))}),
        "t: byte 0: 64 bytes kept: a record (ambiguous: it may be several)\n"
        "t: byte 64: 32 bytes dropped: size spans whole records (ambiguous: it may be one record)\n"
        "in all: 1 record, 64 bytes kept; 1 gap, 32 bytes (1 size spans whole records) dropped; 2 "
        "ambiguous\n");
}

TEST(Ledger, TellsFromWhereAnInputCouldNotBeRead) {
    EXPECT_EQ(textOf({piece(0, 16), piece(16, 4, GAP_TRUNCATED)}, true),
              "t: byte 16: 4 bytes dropped: truncated record\n"
              "t: byte 20: the rest could not be read\n"
              "in all: 1 record, 16 bytes kept; 1 gap, 4 bytes (1 truncated record) dropped; 0 "
              "ambiguous\n");
}

TEST(Ledger, IsTheSameAsJsonLines) {
    EXPECT_EQ(
        jsonOf({ambiguous(piece(0, 64)), piece(64, 100, GAP_FILLER),
                continued(piece(164, 1, GAP_FILLER)), ambiguous(piece(165, 32, GAP_SPANS_RECORDS))},
               true),
        R"({"schema":"vektrace.ledger/1","kind":"ambiguous","file":"t","offset":0,"length":64})"
        "\n"
        R"({"schema":"vektrace.ledger/1","kind":"dropped","file":"t","offset":64,)"
        R"("length":101,"reason":"filler","ambiguous":false})"
        "\n"
        R"({"schema":"vektrace.ledger/1","kind":"dropped","file":"t","offset":165,)"
        R"("length":32,"reason":"size spans whole records","ambiguous":true})"
        "\n"
        R"({"schema":"vektrace.ledger/1","kind":"unread","file":"t","offset":197})"
        "\n"
        R"({"schema":"vektrace.ledger/1","kind":"total","records":1,"record_bytes":64,)"
        R"("gaps":2,"gap_bytes":133,"ambiguous":2,"reasons":[)"
        R"({"reason":"size spans whole records","gaps":1,"bytes":32},)"
        R"({"reason":"filler","gaps":1,"bytes":101}]})"
        "\n");
}

TEST(Ledger, KeepsControlBytesOfAFileNameOutOfItsLines) {
    LedgerEntry entry;
    entry.file = "a\nb";
    entry.kind = LedgerEntry::KIND_UNREAD;
    EXPECT_EQ(ledgerText(entry), "a\\x0ab: byte 0: the rest could not be read\n");
}

TEST(Ledger, AddsUpTheTotalsOfInputs) {
    LedgerTotals sum;
    LedgerTotals one;
    one.records = 1;
    one.recordBytes = 2;
    one.ambiguities = 3;
    one.dropped.add(piece(0, 4, GAP_FILLER));
    sum += one;
    sum += one;
    EXPECT_EQ(ledgerText(sum),
              "in all: 2 records, 4 bytes kept; 2 gaps, 8 bytes (2 filler) dropped; 6 ambiguous\n");
}

}  // namespace
