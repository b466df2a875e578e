#include "tools/vektrace/copying/Ledger.h"

#include <utility>

namespace vek::program {

LedgerTotals& LedgerTotals::operator+=(const LedgerTotals& other) {
    records += other.records;
    recordBytes += other.recordBytes;
    ambiguities += other.ambiguities;
    dropped += other.dropped;
    return *this;
}

Ledger::Ledger(std::string _file, take_t _take) : file(std::move(_file)), take(std::move(_take)) {}

void Ledger::add(const TraceSpan& span) {
    end = span.offset + span.length;
    if (span.isRecord()) {
        addRecord(span);
    } else {
        addGap(span);
    }
}

void Ledger::finish(bool failed) {
    takePending();
    if (failed) {
        LedgerEntry unread;
        unread.kind = LedgerEntry::KIND_UNREAD;
        unread.file = file;
        unread.offset = end;
        take(unread);
    }
}

LedgerEntry Ledger::entry(LedgerEntry::kind_t kind, const TraceSpan& span) const {
    LedgerEntry made;
    made.kind = kind;
    made.file = file;
    made.offset = span.offset;
    made.length = span.length;
    made.reason = span.reason;
    made.ambiguous = span.ambiguous;
    return made;
}

void Ledger::addGap(const TraceSpan& gap) {
    sum.dropped.add(gap);
    if (gap.continued && pending) {
        pending->length += gap.length;
        return;
    }
    takePending();
    sum.ambiguities += gap.ambiguous ? 1 : 0;
    pending = entry(LedgerEntry::KIND_DROPPED, gap);
}

void Ledger::addRecord(const TraceSpan& record) {
    takePending();
    ++sum.records;
    sum.recordBytes += record.length;
    if (record.ambiguous) {
        ++sum.ambiguities;
        take(entry(LedgerEntry::KIND_AMBIGUOUS, record));
    }
}

void Ledger::takePending() {
    if (pending) {
        take(*pending);
        pending.reset();
    }
}

}  // namespace vek::program
