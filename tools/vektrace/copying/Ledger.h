/// @file
/// The account of what recovery kept of its inputs and what it dropped.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "tools/vektrace/program/losses.h"

namespace vek::program {

struct LedgerEntry {
    enum kind_t : int {
        KIND_DROPPED = 0,    ///< bytes that are not in the output
        KIND_AMBIGUOUS = 1,  ///< a record in the output that can also be read as several
        KIND_UNREAD = 2,     ///< what the input holds from here on; it could not be read
    };

    kind_t kind = KIND_DROPPED;
    std::string file;  ///< as it was named, "-" for standard input
    uint64_t offset = 0;
    uint64_t length = 0;            ///< not of KIND_UNREAD
    gapReason_t reason = GAP_NONE;  ///< of KIND_DROPPED
    bool ambiguous = false;         ///< also of a gap that can be read as one record
};

struct LedgerTotals {
    uint64_t records = 0;
    uint64_t recordBytes = 0;
    uint64_t ambiguities = 0;
    GapTotals dropped;

    LedgerTotals& operator+=(const LedgerTotals& other);
};

/// One input's part of the account. The pieces of a long gap become one entry.
class Ledger {
public:
    using take_t = std::function<void(const LedgerEntry&)>;

    /// `take` gets the entries in the order of their offsets.
    Ledger(std::string _file, take_t _take);

    /// The next span of the input.
    void add(const TraceSpan& span);
    /// The input ended, or reading failed there.
    void finish(bool failed);

    const LedgerTotals& totals() const { return sum; }

private:
    LedgerEntry entry(LedgerEntry::kind_t kind, const TraceSpan& span) const;
    void addGap(const TraceSpan& gap);
    void addRecord(const TraceSpan& record);
    void takePending();

    std::string file;
    take_t take;
    LedgerTotals sum;
    uint64_t end = 0;  ///< of the last span
    std::optional<LedgerEntry> pending;
};

/// A line of the ledger, with its end.
std::string ledgerText(const LedgerEntry& entry);
std::string ledgerText(const LedgerTotals& totals);
std::string ledgerJson(const LedgerEntry& entry);
std::string ledgerJson(const LedgerTotals& totals);

}  // namespace vek::program
