/// @file
/// Reads the bytes of an output while they are written, as whoever reads the output will.
///
/// Records that stood apart in their inputs stand side by side in an output, and without markers
/// what stands beside a record has a part in how it is read.
#pragma once

#include <cstddef>
#include <cstdint>

#include "libvekstream/RecordScanner.h"
#include "tools/vektrace/copying/RecordDigest.h"

namespace vek::program {

class OutputScan {
public:
    explicit OutputScan(framing_t framing = FRAMING_DETECT) : scanner(framing) {}

    /// One record, as it is written.
    void add(const uint8_t* data, size_t length);
    /// Whether the output that ends here reads as the records that were added, and nothing else.
    bool finish();

private:
    void scan(RecordScanner::inputEnd_t end);

    RecordScanner scanner;
    byteVec_t pending;  ///< what the scanner has not divided yet
    RecordDigest expected;
    RecordDigest found;
    bool gaps = false;
};

/// Takes the next span of the output into `found`; false where it is no record.
bool addRecord(RecordDigest& found, const TraceSpan& span);

}  // namespace vek::program
