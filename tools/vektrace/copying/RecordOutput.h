/// @file
/// An output that holds records and nothing else, and shall read as these.
#pragma once

#include <cstdint>
#include <string>

#include "tools/vektrace/copying/OneFraming.h"
#include "tools/vektrace/copying/OutputScan.h"
#include "tools/vektrace/program/output.h"

namespace vek::program {

class RecordOutput {
public:
    enum scan_t : int {
        /// Records with markers side by side always read as what they are.
        SCAN_UNMARKED = 0,
        SCAN_ALL = 1,
        SCAN_LATER = 2,  ///< not here, but by the caller, who compares what is found with written()
    };

    RecordOutput(Output& _output, scan_t _scanned, framing_t readAs)
        : output(_output), scanned(_scanned), scan(readAs) {}

    /// The record's bytes as they are. Throws Failure as OneFraming::check does.
    void write(const TraceSpan& record, const std::string& input);
    /// With a sync marker in front where there is none.
    void writeMarked(const TraceSpan& record);

    uint64_t records() const { return recordCount; }
    /// Of SCAN_LATER.
    const RecordDigest& written() const { return digest; }
    /// Whether the output that ends here reads as the records, as far as it was scanned. To be
    /// called once.
    bool readsAsWritten() { return scan.finish(); }

private:
    Output& output;
    const scan_t scanned;
    OutputScan scan;
    RecordDigest digest;
    OneFraming framing;
    uint64_t recordCount = 0;
    byteVec_t withMarker;
};

}  // namespace vek::program
