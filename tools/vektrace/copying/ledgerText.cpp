#include <string>

#include "tools/vektrace/copying/Ledger.h"
#include "tools/vektrace/program/errors.h"
#include "tools/vektrace/program/escape.h"
#include "tools/vektrace/program/inputs.h"
#include "tools/vektrace/program/json.h"
#include "tools/vektrace/program/losses.h"

namespace vek::program {

namespace {

const char* kindWord(LedgerEntry::kind_t kind) {
    switch (kind) {
        case LedgerEntry::KIND_DROPPED:
            return "dropped";
        case LedgerEntry::KIND_AMBIGUOUS:
            return "ambiguous";
        case LedgerEntry::KIND_UNREAD:
            break;
    }
    return "unread";
}

std::string what(const LedgerEntry& entry) {
    const std::string bytes = countText(entry.length, "byte");
    switch (entry.kind) {
        case LedgerEntry::KIND_DROPPED:
            return bytes + " dropped: " + gapReasonText(entry.reason) +
                   (entry.ambiguous ? " (ambiguous: it may be one record)" : "");
        case LedgerEntry::KIND_AMBIGUOUS:
            return bytes + " kept: a record (ambiguous: it may be several)";
        case LedgerEntry::KIND_UNREAD:
            break;
    }
    return "the rest could not be read";
}

void beginObject(jsonLine_t& writer, const char* kind) {
    writer.StartObject();
    addMember(writer, "schema", schemaName("ledger"));
    addMember(writer, "kind", kind);
}

std::string lineOf(rapidjson::StringBuffer& buffer) {
    return std::string(buffer.GetString(), buffer.GetSize()) + '\n';
}

void addCounts(jsonLine_t& writer, const GapCount& count) {
    addMember(writer, "gaps", count.gaps);
    addMember(writer, "bytes", count.bytes);
}

void addReasons(jsonLine_t& writer, const GapTotals& totals) {
    writer.Key("reasons");
    writer.StartArray();
    totals.forEachReason([&](gapReason_t reason, const GapCount& count) {
        writer.StartObject();
        addMember(writer, "reason", gapReasonText(reason));
        addCounts(writer, count);
        writer.EndObject();
    });
    writer.EndArray();
}

}  // namespace

std::string ledgerText(const LedgerEntry& entry) {
    std::string line;
    appendWithoutControls(line, failureText(inputName(entry.file), entry.offset, what(entry)));
    return line += '\n';
}

std::string ledgerText(const LedgerTotals& totals) {
    std::string text = "in all: " + countText(totals.records, "record") + ", " +
                       countText(totals.recordBytes, "byte") + " kept; ";
    text += totals.dropped.all.gaps == 0 ? "nothing" : gapText(totals.dropped);
    return text + " dropped; " + std::to_string(totals.ambiguities) + " ambiguous\n";
}

std::string ledgerJson(const LedgerEntry& entry) {
    rapidjson::StringBuffer buffer;
    jsonLine_t writer(buffer);
    beginObject(writer, kindWord(entry.kind));
    addMember(writer, "file", jsonPath(entry.file));
    addMember(writer, "offset", entry.offset);
    if (entry.kind != LedgerEntry::KIND_UNREAD) {
        addMember(writer, "length", entry.length);
    }
    if (entry.kind == LedgerEntry::KIND_DROPPED) {
        addMember(writer, "reason", gapReasonText(entry.reason));
        addFlag(writer, "ambiguous", entry.ambiguous);
    }
    writer.EndObject();
    return lineOf(buffer);
}

std::string ledgerJson(const LedgerTotals& totals) {
    rapidjson::StringBuffer buffer;
    jsonLine_t writer(buffer);
    beginObject(writer, "total");
    addMember(writer, "records", totals.records);
    addMember(writer, "record_bytes", totals.recordBytes);
    addMember(writer, "gaps", totals.dropped.all.gaps);
    addMember(writer, "gap_bytes", totals.dropped.all.bytes);
    addMember(writer, "ambiguous", totals.ambiguities);
    addReasons(writer, totals.dropped);
    writer.EndObject();
    return lineOf(buffer);
}

}  // namespace vek::program
