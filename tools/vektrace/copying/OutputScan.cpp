#include "tools/vektrace/copying/OutputScan.h"

#include <cstddef>
#include <cstdint>

namespace vek::program {

namespace {

// Beside what the scanner may want to see at once, enough that moving the rest is rare.
constexpr size_t FULL = RecordScanner::MAX_LOOKAHEAD + 0x80000;

}  // namespace

void OutputScan::add(const uint8_t* data, size_t length) {
    expected.add(data, length);
    pending.insert(pending.end(), data, data + length);
    if (pending.size() >= FULL) {
        scan(RecordScanner::INPUT_CONTINUES);
    }
}

bool OutputScan::finish() {
    scan(RecordScanner::INPUT_ENDS);
    return !gaps && found == expected;
}

void OutputScan::scan(RecordScanner::inputEnd_t end) {
    const uint64_t begin = scanner.position();
    scanner.setInput(pending.data(), pending.size(), end);
    TraceSpan span;
    while (scanner.next(span)) {
        gaps = !addRecord(found, span) || gaps;
    }
    const auto taken = static_cast<byteVec_t::difference_type>(scanner.position() - begin);
    pending.erase(pending.begin(), pending.begin() + taken);
}

bool addRecord(RecordDigest& found, const TraceSpan& span) {
    if (span.isRecord()) {
        found.add(span.data, span.length);
    }
    return span.isRecord();
}

}  // namespace vek::program
